#!/usr/bin/env bash
# Builds Qt 6.4.2 for 64-bit Windows (x86_64-w64-mingw32) once, from Debian's own source package
# of qtbase (the version of the host tools in qt6-base-dev-tools, which a Qt cross build runs),
# into a cache outside the tree that every later run reuses:
#   ${XDG_CACHE_HOME:-$HOME/.cache}/zelvatcts/qt-6.4.2-mingw64
# The build tree is kept beside it, so that a build cut short goes on where it stopped.
# Prints the prefix of the finished Qt on its last line.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
cache="${XDG_CACHE_HOME:-$HOME/.cache}/zelvatcts"
prefix="$cache/qt-6.4.2-mingw64"
jobs=${JOBS:-$(nproc)}

if [ -f "$prefix/lib/cmake/Qt6/Qt6Config.cmake" ] && [ -f "$prefix/.complete" ]; then
  echo "$prefix"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
# The source packages come from the same archive as the binary ones: a deb-src entry made from
# the system's own deb entries, once.
if ! apt-cache showsrc qt6-base >/dev/null 2>&1 || [ -z "$(apt-cache showsrc qt6-base 2>/dev/null)" ]; then
  src_list=/etc/apt/sources.list.d/zelvatcts-deb-src.sources
  if [ -f /etc/apt/sources.list.d/debian.sources ]; then
    sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources | $SUDO tee "$src_list" >/dev/null
  elif [ -f /etc/apt/sources.list ]; then
    grep '^deb ' /etc/apt/sources.list | sed 's/^deb /deb-src /' | $SUDO tee /etc/apt/sources.list.d/zelvatcts-deb-src.list >/dev/null
  fi
  $SUDO apt-get update -qq
fi
"$here/scripts/deps.sh" g++-mingw-w64-x86-64-posix dpkg-dev cmake ninja-build qt6-base-dev-tools perl python3

mkdir -p "$cache/src"
# The unpacked source of a Debian source package of Qt 6.4.2.
source_of() {
  local dir
  dir=$(find "$cache/src" -maxdepth 1 -type d -name "$1-6.4.2*" | head -1)
  if [ -z "$dir" ]; then
    (cd "$cache/src" && apt-get source -qq "$1" >/dev/null)
    dir=$(find "$cache/src" -maxdepth 1 -type d -name "$1-6.4.2*" | head -1)
  fi
  [ -n "$dir" ] || { echo "the source of $1 6.4.2 could not be had (apt-get source $1)" >&2; exit 1; }
  echo "$dir"
}
srcdir=$(source_of qt6-base)

build="$cache/qtbase-build"
if [ ! -f "$build/build.ninja" ]; then
  # Core, Gui, Widgets, Network, PrintSupport and Test, the windows platform plugin and the print
  # support; no SQL, no D-Bus. Debian's source leaves out wintab.h, so no tablet events; the
  # windows plugin of 6.4.2 needs OpenGL, so Qt's default (dynamic OpenGL) stays.
  cmake -S "$srcdir" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$here/cmake/mingw-w64-x86_64.cmake" \
    -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR=/usr/lib/x86_64-linux-gnu/cmake \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_BUILD_TYPE=Release \
    -DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_TESTS=OFF -DQT_BUILD_BENCHMARKS=OFF \
    -DFEATURE_sql=OFF -DFEATURE_dbus=OFF -DFEATURE_tabletevent=OFF \
    -DFEATURE_sql_sqlite=OFF -DFEATURE_printsupport=ON
fi
if [ ! -f "$prefix/lib/cmake/Qt6/Qt6Config.cmake" ]; then
  cmake --build "$build" --parallel "$jobs"
  cmake --install "$build" >/dev/null
fi

touch "$prefix/.complete"
echo "$prefix"
