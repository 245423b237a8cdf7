#!/usr/bin/env bash
# Configures (once) and builds the project into build/ (or $BUILD_DIR).
# Where ccache is installed it is used, with paths taken relative to the checkout so that
# several checkouts of the project share one cache.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo}
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="$BUILD_TYPE" "${launcher[@]}" ${CMAKE_ARGS:-}
fi
cmake --build "$BUILD_DIR" --parallel "$(nproc)"
