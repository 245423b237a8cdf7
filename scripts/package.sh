#!/usr/bin/env bash
# Builds the Debian package in build-pkg/ (Release, installed under /usr, with Debian's hardening
# flags) and checks it: lintian must find no error and no warning, and the package's files are
# unpacked into a scratch root where the headless client and the window program are run.
#   scripts/package.sh            build and check
#   scripts/package.sh --install  also install it on this machine with apt-get (pulls its dependencies)
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/deps.sh dpkg-dev lintian
BUILD_DIR=build-pkg

# The compiler and linker flags a Debian package is built with, hardening included; the dates in
# the manual pages are the changelog's, so that the same sources give the same package.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
export SOURCE_DATE_EPOCH
SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l packaging/changelog -S Timestamp)
# The documentation folder is named after the package (also in trees configured before it was).
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DCMAKE_INSTALL_DOCDIR=share/doc/zelvatcts \
  -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
  -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" >/dev/null
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

# Debian's own checks of the package; what lintian says is shown as it says it.
echo "lintian:"
set +e
lintian --fail-on error,warning "$deb"
rc=$?
set -e
if [ "$rc" -ne 0 ]; then echo "lintian: the package has errors or warnings (exit $rc)"; exit 1; fi
echo "lintian: no errors, no warnings"

if [ "${1:-}" = "--install" ]; then
  apt-get install -y "./$deb"
fi
