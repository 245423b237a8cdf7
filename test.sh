#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test with CTest.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/deps.sh
./scripts/build.sh
cd "${BUILD_DIR:-build}"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure --timeout 300 "$@"
