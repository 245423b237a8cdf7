#!/usr/bin/env bash
# Puts in, one at a time, each deliberate fault listed in scripts/mutants.txt (or the file given),
# rebuilds, runs the suite, and prints which test caught it, or SURVIVED. Works on a scratch
# copy of the committed tree in build-mutants/, never on the checkout itself.
# MUTANTS_TESTS=REGEX runs only the test executables it matches (ctest -R), MUTANTS_ONLY=TEXT only
# the mutants whose rule holds TEXT. Each fault is first tried on the suites of its own layer (the
# table below), built alone; only a fault they miss is tried on every suite.
set -euo pipefail
cd "$(dirname "$0")/.."
list=$(realpath "${1:-scripts/mutants.txt}")
scratch=$PWD/build-mutants
rm -rf "$scratch/tree"; mkdir -p "$scratch/tree"
# -m: the files take the time of extraction, so that objects of an earlier run are rebuilt.
git archive HEAD | tar -x -m -C "$scratch/tree"
cd "$scratch/tree"
# Only the suites and the programs they start are built, for the tree and after each fault.
./scripts/deps.sh >/dev/null
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
if [ ! -f "$scratch/build/build.ninja" ]; then
  cmake -S . -B "$scratch/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    $(command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache) >/dev/null
fi
cmake --build "$scratch/build" --target zelvat_suites >/dev/null
python3 - "$list" "$scratch" <<'PY'
import subprocess, sys, os
lst, scratch = sys.argv[1], sys.argv[2]
os.chdir(os.path.join(scratch, "tree"))
caught = survived = 0
# The suites that hold the rules of each folder: tried first, built alone.
first = {"src/support": ["tst_support", "tst_store"], "src/store": ["tst_store", "tst_catalog"],
         "src/settings": ["tst_store"], "src/link": ["tst_link"], "src/sheet": ["tst_sheet"],
         "tools/cli": ["tst_cli"], "tools/loopback": ["tst_link"], "src/app": ["tst_app"],
         "src/report_form": ["tst_report_form"], "src/dialogs": ["tst_dialogs"], "src/ui": ["tst_dialogs", "tst_app"]}
env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
def run_suites(targets, regex):
    b = subprocess.run(["cmake", "--build", scratch + "/build", "--target"] + targets, capture_output=True, text=True)
    if b.returncode != 0:
        return None, []
    only = ["-R", regex] if regex else []
    t = subprocess.run(["ctest", "--test-dir", scratch + "/build", "--stop-on-failure", "--timeout", "120"] + only,
                       capture_output=True, text=True, env=env)
    failed = [l.split()[3] for l in t.stdout.splitlines() if "***" in l or ("Test #" in l and "Failed" in l)]
    return t.returncode != 0, failed
for raw in open(lst):
    if not raw.strip() or raw.startswith("#"):
        continue
    parts = [p.strip() for p in raw.replace("\\|", "\x00").split(" | ")]
    path, old, new, rule = [p.replace("\x00", "|").replace("<NL>", "\n") for p in parts]
    if os.environ.get("MUTANTS_ONLY", "") not in rule:
        continue
    text = open(path).read()
    if old not in text:
        print(f"NOT FOUND  {rule}  ({path})", flush=True)
        continue
    open(path, "w").write(text.replace(old, new, 1))
    try:
        regex = os.environ.get("MUTANTS_TESTS", "")
        suites = first.get("/".join(path.split("/")[:2]), []) if not regex else []
        result, failed = (None, [])
        if suites:
            result, failed = run_suites(suites, "^(" + "|".join(suites) + ")$")
        if not result:
            result, failed = run_suites(["zelvat_suites"], regex)
        if result is None:
            print(f"NO BUILD   {rule}", flush=True)
        elif result:
            caught += 1
            print(f"caught     {rule}  by {failed[0] if failed else '?'}", flush=True)
        else:
            survived += 1
            print(f"SURVIVED   {rule}  ({path})", flush=True)
    finally:
        open(path, "w").write(text)
print(f"{caught} caught, {survived} survived", flush=True)
PY
