#!/usr/bin/env bash
# Configures (once) and builds the project into build/ (or $BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo}
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="$BUILD_TYPE" ${CMAKE_ARGS:-}
fi
cmake --build "$BUILD_DIR" --parallel "$(nproc)"
