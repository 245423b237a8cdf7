#!/usr/bin/env bash
# The idle window on a FUSE mount standing in for a network share without change notices: writes
# the reports into a folder, mounts it with bindfs as the program folder's msg.d, runs
# bench/idle_window on it and unmounts. Installs bindfs (apt) when it is missing.
#   scripts/bench-share.sh [SECONDS] [REPORTS]     (60 and 100000 by default)
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
seconds=${1:-60}
reports=${2:-100000}
bench="$BUILD_DIR/bench/idle_window"
[ -x "$bench" ] || { echo "build $bench first (scripts/build.sh)" >&2; exit 1; }
if ! command -v bindfs >/dev/null; then
  sudo=(); [ "$(id -u)" -eq 0 ] || sudo=(sudo)
  "${sudo[@]}" apt-get install -y bindfs
fi
work=$(mktemp -d)
mounted=""
cleanup() {
  if [ -n "$mounted" ]; then fusermount3 -u "$mounted" 2>/dev/null || fusermount -u "$mounted" 2>/dev/null || umount "$mounted" || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
"$bench" --make "$work/source" --reports "$reports"
mkdir -p "$work/home/msg.d"
bindfs "$work/source/msg.d" "$work/home/msg.d"
mounted="$work/home/msg.d"
echo "msg.d: $(stat -f -c %T "$mounted") (FUSE, bindfs)"
daemon=$(pgrep -n -f "^bindfs $work/source/msg.d " || true)
started=$SECONDS
"$bench" --home "$work/home" --seconds "$seconds"
# The file system's own share (the bindfs process), over the whole run: start-ups included.
if [ -n "$daemon" ] && [ -r "/proc/$daemon/stat" ]; then
  ticks=$(awk '{print $14 + $15}' "/proc/$daemon/stat")
  awk -v t="$ticks" -v hz="$(getconf CLK_TCK)" -v s=$((SECONDS - started)) 'BEGIN { printf "bindfs_cpu_seconds=%.2f over %d s\n", t / hz, s }'
fi
