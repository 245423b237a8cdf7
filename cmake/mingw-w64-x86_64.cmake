# Cross build for 64-bit Windows with Debian's MinGW-w64 (the posix thread model, which
# std::thread and Qt need). Used for Qt itself and for the project (scripts/windows.sh).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ZELVAT_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ZELVAT_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZELVAT_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${ZELVAT_MINGW_PREFIX}-windres)
# The Qt built for Windows (scripts/windows-qt.sh) is searched as a second root beside the MinGW one.
set(CMAKE_FIND_ROOT_PATH /usr/${ZELVAT_MINGW_PREFIX} ${ZELVAT_WINDOWS_QT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The programs built run under Wine on this machine: CTest and the build's own steps start them
# through this script.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run.sh)
