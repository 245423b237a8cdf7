#!/usr/bin/env bash
# Line and branch coverage of src/ and tools/ by the whole test suite, per folder.
# Builds an instrumented tree in build-cov/ (gcovr from Debian, installed when missing), runs
# every test with CTest and prints one line per folder and the total.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/deps.sh gcovr
export BUILD_DIR=build-cov BUILD_TYPE=Debug CMAKE_ARGS="-DZELVAT_COVERAGE=ON"
./scripts/build.sh >/dev/null
find build-cov -name '*.gcda' -delete
(cd build-cov && QT_QPA_PLATFORM=offscreen ctest --timeout 300 -j1 >/dev/null) || echo "(some tests failed; coverage is of what ran)"
gcovr --root . --object-directory build-cov --filter 'src/' --filter 'tools/' \
  --exclude-throw-branches --exclude-unreachable-branches --json-summary build-cov/coverage.json >/dev/null
python3 - build-cov/coverage.json <<'PY'
import json, sys, collections
data = json.load(open(sys.argv[1]))
acc = collections.defaultdict(lambda: [0, 0, 0, 0])
for f in data["files"]:
    parts = f["filename"].split("/")
    folder = "/".join(parts[:2]) if len(parts) > 2 else parts[0]
    for key in (folder, "total"):
        a = acc[key]
        a[0] += f["line_covered"]; a[1] += f["line_total"]
        a[2] += f["branch_covered"]; a[3] += f["branch_total"]
pct = lambda c, t: 100.0 * c / t if t else 100.0
print(f"{'folder':<22}{'lines':>16}{'branches':>18}")
for key in sorted(k for k in acc if k != "total") + ["total"]:
    l, lt, b, bt = acc[key]
    print(f"{key:<22}{pct(l, lt):7.1f}% {l:>4}/{lt:<5}{pct(b, bt):7.1f}% {b:>5}/{bt:<5}")
PY
