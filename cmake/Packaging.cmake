# Installation and the Debian package.
#   cmake --install build --prefix /usr      installs the programs, the guide, the menu entry and icon
#   cd build && cpack                         builds zelvatcts_VERSION_ARCH.deb
include(GNUInstallDirs)

install(TARGETS zelvatcts-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(optional Zelvatcts tndirect-sim)
    if(TARGET ${optional})
        install(TARGETS ${optional} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endforeach()
install(FILES ${ZELVAT_GUIDE_PDF} DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/zelvatcts.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/zelvatcts.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/256x256/apps)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelvatcts)
set(CPACK_PACKAGE_VENDOR "Zelvatcts developers")
set(CPACK_PACKAGE_CONTACT "Zelvatcts developers <dev@zelvatcts.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Zelvat Call Taking System: incident reports for packet-radio stations")
set(CPACK_PACKAGE_DESCRIPTION "Takes incident calls (medical, fire, law, local government) as reports, keeps them
as .911 files and submits them to the packet message suite's message server.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION hamradio)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-crosextra-carlito, fonts-liberation")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
