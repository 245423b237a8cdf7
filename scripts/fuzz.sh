#!/usr/bin/env bash
# Builds the fuzz targets with clang's libFuzzer and runs each for SECONDS (default 60).
# Prints, per target, the executions done and what was found; findings are kept in
# build-fuzz/findings/TARGET/. Exit 1 when any target found a crash or did not build.
# FUZZ_SEED=N starts every target from the same random seed (CI's short run uses one), so that a
# run can be repeated.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
./scripts/deps.sh clang libclang-rt-14-dev
BUILD_DIR=build-fuzz
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZELVAT_FUZZ=ON >/dev/null
fi
targets=$(sed -n 's/^foreach(target \(.*\))$/\1/p' fuzz/CMakeLists.txt)
if ! cmake --build "$BUILD_DIR" --parallel "$(nproc)" --target $targets >"$BUILD_DIR/build.log" 2>&1; then
  tail -40 "$BUILD_DIR/build.log"
  echo "the fuzz targets do not build"
  exit 1
fi

status=0
for t in $targets; do
  corpus="$BUILD_DIR/corpus/$t"; findings="$BUILD_DIR/findings/$t"
  mkdir -p "$corpus" "$findings"
  [ -d "fuzz/seeds/$t" ] && cp -n fuzz/seeds/$t/* "$corpus"/ 2>/dev/null || true
  log="$BUILD_DIR/$t.log"
  set +e
  "$BUILD_DIR/fuzz/$t" ${FUZZ_SEED:+-seed=$FUZZ_SEED} -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
    -artifact_prefix="$findings/" "$corpus" >"$log" 2>&1
  rc=$?
  set -e
  execs=$(grep -Eo 'stat::number_of_executed_units: *[0-9]+' "$log" | grep -Eo '[0-9]+$' || true)
  [ -n "$execs" ] || execs=$(grep -Eo '^#[0-9]+' "$log" | tail -1 | tr -d '#')
  found=$(find "$findings" -type f | wc -l)
  echo "$t: executions=${execs:-0} findings=$found exit=$rc"
  if [ "$rc" -ne 0 ] || [ "$found" -ne 0 ]; then status=1; tail -30 "$log"; fi
done
exit $status
