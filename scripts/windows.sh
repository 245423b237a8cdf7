#!/usr/bin/env bash
# The Windows programs, built on this Debian machine with MinGW-w64 against a Qt built for
# Windows from Debian's own source (scripts/windows-qt.sh, once, into the cache):
#   scripts/windows.sh          builds into build-win/ (or $BUILD_DIR) and leaves there
#                               Zelvatcts/ (the portable folder), Zelvatcts-VERSION-win64.zip and
#                               Zelvatcts-VERSION-setup.exe (the installer)
#   scripts/windows.sh --test   the same, then every test suite under Wine, and the portable
#                               folder's programs started under Wine from the folder alone
set -euo pipefail
cd "$(dirname "$0")/.."
here=$PWD
mode=${1:-}

./scripts/deps.sh g++-mingw-w64-x86-64-posix wine wine64 nsis
qt=$(./scripts/windows-qt.sh | tail -1)
# The guide is one PDF for every system: the build for this machine renders it.
./scripts/build.sh >/dev/null
guide="${HOST_BUILD_DIR:-build}/docs/ZelvatUG-QuickStart.pdf"

build=${BUILD_DIR:-build-win}
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR="$here" CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
if [ ! -f "$build/build.ninja" ]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "${launcher[@]}" \
    -DCMAKE_TOOLCHAIN_FILE="$here/cmake/mingw-w64-x86_64.cmake" -DZELVAT_WINDOWS_QT="$qt" \
    -DCMAKE_PREFIX_PATH="$qt" -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR=/usr/lib/x86_64-linux-gnu/cmake
fi
cmake --build "$build" --parallel "$(nproc)"

# The portable folder: the three programs, the Qt and MinGW run-time DLLs and the plugins they
# load, the guide. Nothing else is needed on a Windows machine.
version=$(sed -n 's/^    VERSION \([0-9][0-9.]*\)$/\1/p' CMakeLists.txt | head -1)
portable="$build/Zelvatcts"
rm -rf "$portable"
mkdir -p "$portable/platforms" "$portable/styles" "$portable/docs"
# (Qt's project set-up puts a Windows build's programs at the top of the build folder, beside
# their DLLs; found by name wherever they are.)
for exe in Zelvatcts zelvatcts-cli tndirect-sim; do
  found=$(find "$build" -path "$portable" -prune -o -name "$exe.exe" -type f -print | head -1)
  [ -n "$found" ] || { echo "$exe.exe was not built in $build" >&2; exit 1; }
  cp "$found" "$portable/"
done
for dll in Qt6Core Qt6Gui Qt6Widgets Qt6Network Qt6PrintSupport; do cp "$qt/bin/$dll.dll" "$portable/"; done
cp "$qt/plugins/platforms/qwindows.dll" "$portable/platforms/"
cp "$qt/plugins/styles/qwindowsvistastyle.dll" "$portable/styles/"
runtime=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
cp "$runtime/libstdc++-6.dll" "$runtime/libgcc_s_seh-1.dll" /usr/x86_64-w64-mingw32/lib/libwinpthread-1.dll "$portable/"
cp "$guide" "$portable/docs/"
x86_64-w64-mingw32-strip "$portable"/*.exe

# Every DLL a file of the folder imports is in the folder or is one of Windows' own.
missing=$(for f in "$portable"/*.exe "$portable"/*.dll "$portable"/*/*.dll; do
  x86_64-w64-mingw32-objdump -p "$f" | sed -n 's/^\s*DLL Name: //p'
done | sort -u | while read -r dll; do
  [ -f "$portable/$dll" ] || \
    case "${dll,,}" in
      kernel32.dll|user32.dll|gdi32.dll|advapi32.dll|shell32.dll|ole32.dll|oleaut32.dll|comdlg32.dll| \
      ws2_32.dll|winmm.dll|imm32.dll|uxtheme.dll|dwmapi.dll|shlwapi.dll|version.dll|winspool.drv| \
      netapi32.dll|userenv.dll|iphlpapi.dll|dnsapi.dll|crypt32.dll|bcrypt.dll|secur32.dll|mpr.dll| \
      msvcrt.dll|d3d9.dll|d3d11.dll|dxgi.dll|dwrite.dll|d2d1.dll|opengl32.dll|setupapi.dll|wtsapi32.dll| \
      authz.dll|ntdll.dll|api-ms-win-*|comctl32.dll|rpcrt4.dll|shcore.dll|ncrypt.dll|wininet.dll|winhttp.dll) ;;
      *) echo "$dll" ;;
    esac
done)
if [ -n "$missing" ]; then
  echo "The portable folder lacks DLLs its programs import: $missing" >&2
  exit 1
fi

zip="Zelvatcts-$version-win64.zip"
setup="Zelvatcts-$version-setup.exe"
(cd "$build" && rm -f "$zip" && cmake -E tar cf "$zip" --format=zip Zelvatcts)
makensis -V2 -DVERSION="$version" -DSOURCE="$here/$portable" -DOUTFILE="$here/$build/$setup" packaging/windows/zelvatcts.nsi
echo "$build/Zelvatcts/ $(du -sh "$portable" | cut -f1)"
echo "$build/$zip $(du -h "$build/$zip" | cut -f1)"
echo "$build/$setup $(du -h "$build/$setup" | cut -f1)"

if [ "$mode" = "--test" ]; then
  # The portable folder's programs start from the folder alone: no WINEPATH, no QT_PLUGIN_PATH.
  (
    cache="${XDG_CACHE_HOME:-$HOME/.cache}/zelvatcts"
    export WINEPREFIX="${ZELVAT_WINEPREFIX:-$cache/wine}" WINEDEBUG=-all
    scripts/wine-run.sh cmd /c exit 0 # makes the prefix when it is not there yet
    unset WINEPATH QT_PLUGIN_PATH
    out=$(cd "$portable" && wine ./zelvatcts-cli.exe --version | tr -d '\r')
    echo "zelvatcts-cli.exe --version from the portable folder: $out"
    [ -n "$out" ]
  )
  # Every suite, one after another: the suites share the Wine prefix and its registry.
  (cd "$build" && ctest --output-on-failure -j1)
fi
