#!/usr/bin/env bash
# Builds the Debian package in build-pkg/ (Release, installed under /usr) and checks it: the
# package's files are unpacked into a scratch root and the headless client run from there.
#   scripts/package.sh            build and check
#   scripts/package.sh --install  also install it on this machine with apt-get (pulls its dependencies)
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/deps.sh dpkg-dev
BUILD_DIR=build-pkg
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
fi
cmake --build "$BUILD_DIR" --parallel "$(nproc)"
(cd "$BUILD_DIR" && cpack >/dev/null)
deb=$(ls -t "$BUILD_DIR"/zelvatcts_*.deb | head -1)
echo "package: $deb"
dpkg-deb --info "$deb" | sed -n 's/^ \(Package\|Version\|Depends\):/\1:/p'

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"
home=$(mktemp -d -p "$root")
"$root/usr/bin/zelvatcts-cli" --home "$home" new --set TYP=MED --set ISS=Check >/dev/null
"$root/usr/bin/zelvatcts-cli" --home "$home" list draft | tail -1
# The window starts (it waits at the station identification until the time limit ends it).
set +e
HOME="$home" QT_QPA_PLATFORM=offscreen timeout 5 "$root/usr/bin/Zelvatcts" >/dev/null 2>&1
rc=$?
set -e
if [ "$rc" -eq 124 ]; then echo "window: started and ran until stopped"; else echo "window: exited with $rc"; exit 1; fi
if [ "${1:-}" = "--install" ]; then
  apt-get install -y "./$deb"
fi
