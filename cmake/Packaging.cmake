# Installation and the Debian package.
#   cmake --install build --prefix /usr      installs the programs, the guide, the manual pages,
#                                             the menu entry and icon
#   cd build && cpack                         builds zelvatcts_VERSION_ARCH.deb
# scripts/package.sh builds the package with Debian's hardening flags and checks it with lintian.
include(GNUInstallDirs)

set(ZELVAT_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(ZELVAT_PACKAGING_OUT ${CMAKE_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${ZELVAT_PACKAGING_OUT}/man)

install(TARGETS zelvatcts-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(optional Zelvatcts tndirect-sim)
    if(TARGET ${optional})
        install(TARGETS ${optional} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endforeach()
install(FILES ${ZELVAT_GUIDE_PDF} DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${ZELVAT_PACKAGING}/zelvatcts.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${ZELVAT_PACKAGING}/zelvatcts.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/256x256/apps)

# The package's own documentation: the licence in machine-readable form, the changelog, and the
# guide's registration with the documentation index.
install(FILES ${ZELVAT_PACKAGING}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${ZELVAT_PACKAGING}/zelvatcts.doc-base DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base
        RENAME zelvatcts.quickstart)

# The changelog's newest entry names the version being packaged: a new project version needs
# its entry first.
file(STRINGS ${ZELVAT_PACKAGING}/changelog changelog_head LIMIT_COUNT 1)
if(NOT changelog_head MATCHES "^zelvatcts \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/changelog begins with \"${changelog_head}\"; "
                        "add an entry for version ${PROJECT_VERSION} at its top")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ZELVAT_PACKAGING}/changelog)

# Debian wants compressed documentation and manual pages, gzip at its best with no time stamp,
# so that the same sources give the same package.
find_program(ZELVAT_GZIP gzip REQUIRED)
set(zelvat_packaged_docs)
function(zelvat_gzip source output)
    add_custom_command(
        OUTPUT ${output}
        COMMAND ${ZELVAT_GZIP} -9n -c ${source} > ${output}
        DEPENDS ${source} ${ARGN}
        COMMENT "Compressing ${output}")
    set(zelvat_packaged_docs ${zelvat_packaged_docs} ${output} PARENT_SCOPE)
endfunction()

zelvat_gzip(${ZELVAT_PACKAGING}/changelog ${ZELVAT_PACKAGING_OUT}/changelog.gz)
install(FILES ${ZELVAT_PACKAGING_OUT}/changelog.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Manual pages. The window program takes no options, so its page is written by hand; the
# client's and the loopback server's come from their own --help and --version through help2man.
# The date honours SOURCE_DATE_EPOCH.
string(TIMESTAMP ZELVAT_MAN_DATE "%B %Y" UTC)
set(zelvat_manpages)
if(TARGET Zelvatcts)
    configure_file(${ZELVAT_PACKAGING}/man/Zelvatcts.1.in ${ZELVAT_PACKAGING_OUT}/man/Zelvatcts.1 @ONLY)
    zelvat_gzip(${ZELVAT_PACKAGING_OUT}/man/Zelvatcts.1 ${ZELVAT_PACKAGING_OUT}/man/Zelvatcts.1.gz)
    list(APPEND zelvat_manpages ${ZELVAT_PACKAGING_OUT}/man/Zelvatcts.1.gz)
endif()

find_program(ZELVAT_HELP2MAN help2man)
set(zelvat_help2man_targets zelvatcts-cli tndirect-sim)
set(zelvatcts-cli_summary "reports of the Zelvat Call Taking System and their submission, without a window")
set(tndirect-sim_summary "loopback stand-in for the packet message server, for drills and tests")
if(ZELVAT_HELP2MAN)
    foreach(program IN LISTS zelvat_help2man_targets)
        if(NOT TARGET ${program})
            continue()
        endif()
        set(page ${ZELVAT_PACKAGING_OUT}/man/${program}.1)
        set(include ${ZELVAT_PACKAGING}/man/${program}.h2m)
        # The program runs from its own folder so that its help names it without the build path.
        add_custom_command(
            OUTPUT ${page}
            COMMAND ${ZELVAT_HELP2MAN} --no-info --no-discard-stderr --section=1
                    "--name=${${program}_summary}" --include=${include} --output=${page}
                    ./$<TARGET_FILE_NAME:${program}>
            WORKING_DIRECTORY $<TARGET_FILE_DIR:${program}>
            DEPENDS ${program} ${include}
            COMMENT "Writing the manual page of ${program}"
            VERBATIM)
        zelvat_gzip(${page} ${page}.gz)
        list(APPEND zelvat_manpages ${page}.gz)
    endforeach()
else()
    message(WARNING "help2man not found (scripts/deps.sh installs it): "
                    "the package will lack the manual pages of ${zelvat_help2man_targets}")
endif()
install(FILES ${zelvat_manpages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
add_custom_target(packaged_docs ALL DEPENDS ${zelvat_packaged_docs})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelvatcts)
set(CPACK_PACKAGE_VENDOR "Zelvatcts developers")
set(CPACK_PACKAGE_CONTACT "Zelvatcts developers <dev@zelvatcts.invalid>")
# The synopsis (at most 80 characters) and the extended description, wrapped under 80; CPack
# indents the lines and turns the blank line between paragraphs into " .".
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "incident call taking and reporting for packet-radio stations")
set(CPACK_PACKAGE_DESCRIPTION "The Zelvat Call Taking System helps the operator of an emergency-communications
station on an amateur-radio packet network: incident calls (medical, fire, law
enforcement, local government) are taken on a form and kept as .911 report
files, then submitted to the packet message suite's message server.

The package holds the window program Zelvatcts, the headless client
zelvatcts-cli for scripts and for resending after an outage, the loopback
message server tndirect-sim for drills and tests, and the operator's
quick-start guide.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION hamradio)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-crosextra-carlito, fonts-liberation")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Installed programs carry no symbols or debugging sections.
set(CPACK_STRIP_FILES ON)
include(CPack)
