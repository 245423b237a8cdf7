#!/usr/bin/env bash
# Installs what is missing, builds, and starts the program on a program folder of its own
# (demo/), with the loopback message server on 127.0.0.1:9334 unless something listens there
# already, so that a report can be written and submitted end to end at once.
# Without a display it says so and runs a short headless drill instead.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/deps.sh
./scripts/build.sh

build=${BUILD_DIR:-build}
cli=$build/tools/cli/zelvatcts-cli
home=demo
mkdir -p "$home/docs"
# A portable installation: the program keeps its data beside its executable.
cp -f "$build/src/Zelvatcts" "$cli" "$home/"
cp -f "$build/docs/ZelvatUG-QuickStart.pdf" "$home/docs/"
if [ ! -f "$home/Zelvatcts.ini" ]; then
  printf '[GENERAL OPTIONS]\r\nNam=Pat Smith\r\nUid=KN1ABC\r\nLoc=EOC Main\r\nCty=Springfield\r\nLid=SPF\r\n' > "$home/Zelvatcts.ini"
fi

sim_pid=""
if (exec 3<>/dev/tcp/127.0.0.1/9334) 2>/dev/null; then
  echo "Something already listens on 127.0.0.1:9334; using it as the message server."
else
  mkdir -p "$home/outbox"
  "$build/tools/loopback/tndirect-sim" --port 9334 --outbox "$home/outbox" > "$home/tndirect-sim.log" 2>&1 &
  sim_pid=$!
  trap '[ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null' EXIT
  sleep 0.5
  echo "Loopback message server on 127.0.0.1:9334; what it receives goes to $home/outbox/."
fi

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  echo "Starting Zelvatcts in $home/ ..."
  "$home/Zelvatcts"
  exit 0
fi

echo "No display (neither DISPLAY nor WAYLAND_DISPLAY is set): running a headless drill instead."
echo
echo "== a new medical report"
eid=$("$home/zelvatcts-cli" new --set TYP=MED --set "ISS=Person Down" --set "AD1=12 Oak St" --set CTY=Springfield \
  --set "RPN=Jordan Smith" --set RPP=555-0100 --set LAS=14:05 --set "DTL=Collapsed on the sidewalk" \
  --set AGE=70 --set GDR=Male --set CON=1 --set BRE=1)
echo "$eid"
echo "== zelvatcts-cli list draft"
"$home/zelvatcts-cli" list draft
echo "== zelvatcts-cli submit $eid"
"$home/zelvatcts-cli" submit "$eid" --wait 10 || true
echo "== zelvatcts-cli list submitted"
"$home/zelvatcts-cli" list submitted
if [ -n "$sim_pid" ]; then
  echo "== what the message server received (the newest message in $home/outbox/)"
  newest=$(ls -t "$home/outbox" | head -1)
  [ -n "$newest" ] && cat "$home/outbox/$newest" && echo
fi
