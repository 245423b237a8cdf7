#!/usr/bin/env bash
# Runs a program of the Windows build under Wine, as CTest and the build do on this machine
# (the toolchain file names this script as the emulator of cross-built programs). One Wine prefix,
# made once in the cache, serves every run; the Qt and MinGW run-time DLLs are found through
# WINEPATH, Qt's plugins through QT_PLUGIN_PATH, so the programs run from the build tree as built.
set -euo pipefail
# The account's own home, not $HOME: CTest gives each suite a home of its own, and a Wine prefix
# made there would be made again for every suite.
home=$(getent passwd "$(id -u)" | cut -d: -f6)
cache="${XDG_CACHE_HOME:-${home:-$HOME}/.cache}/zelvatcts"
qt="${ZELVAT_WINDOWS_QT:-$cache/qt-6.4.2-mingw64}"
export WINEPREFIX="${ZELVAT_WINEPREFIX:-$cache/wine}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}" # no Mono or Gecko installer prompts
# A Unix path as Windows sees it under Wine: the Z: drive is the root.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
runtime="$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")"
export WINEPATH="$(windows_path "$qt/bin");$(windows_path "$runtime");$(windows_path /usr/x86_64-w64-mingw32/lib)"
export QT_PLUGIN_PATH="$(windows_path "$qt/plugins")"
# Qt Test writes to the debugger rather than to a standard output that is no console (a pipe, a
# file: as under CTest) unless told otherwise.
export QT_FORCE_STDERR_LOGGING=1
# Qt's own font database (the offscreen platform's) reads the fonts of this machine, as on Debian.
if [ -z "${QT_QPA_FONTDIR:-}" ] && [ -d /usr/share/fonts/truetype/dejavu ]; then
  export QT_QPA_FONTDIR="$(windows_path /usr/share/fonts/truetype/dejavu)"
fi
# Wine keeps the host's own QT_* variables from its programs, and passes WINEQT_* on as QT_*.
while IFS='=' read -r name _; do
  case "$name" in QT_*) export "WINE$name=${!name}" ;; esac
done < <(env)
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  mkdir -p "$WINEPREFIX"
  wineboot --init >/dev/null 2>&1 || true
  wineserver -w
fi
exec wine "$@"
