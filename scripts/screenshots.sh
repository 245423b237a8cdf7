#!/usr/bin/env bash
# Takes the README's screenshots of the real windows under a virtual X display (Xvfb): the
# station identification, the main window and its File menu, the situation summary, a medical and a law report on the
# report form, the preferences and the about box, a row open at another position, the dialog of a
# report changed by another position; and a picture of a report sheet's first page
# (the client's PDF, rendered by pdftoppm) and of the communications log's first page. Writes
# docs/screenshots/*.png.
set -euo pipefail
[ -n "${TRACE:-}" ] && set -x
cd "$(dirname "$0")/.."
./scripts/deps.sh xvfb xdotool imagemagick
./scripts/build.sh
build=${BUILD_DIR:-build}
out=docs/screenshots
mkdir -p "$out"

home=$(mktemp -d)
app_pid=""; xvfb_pid=""
trap 'kill $app_pid $xvfb_pid 2>/dev/null; rm -rf "$home"' EXIT
# Per-user settings of the run's own: the window at its default place, the default page setup.
export XDG_CONFIG_HOME="$home/config"
mkdir -p "$XDG_CONFIG_HOME"
cp "$build/src/Zelvatcts" "$build/tools/cli/zelvatcts-cli" "$home/"
printf '[GENERAL OPTIONS]\r\nNam=Pat Smith\r\nUid=KN1ABC\r\nLoc=EOC Main\r\nCty=Springfield\r\nLid=SPF\r\n' > "$home/Zelvatcts.ini"
cli="$home/zelvatcts-cli"
"$cli" new --set TYP=MED --set "ISS=Person Down" --set "AD1=12 Oak St" --set CTY=Springfield --set "RPN=Jordan Smith" \
  --set RPP=555-0100 --set LAS=14:05 --set 'DTL=Collapsed on the sidewalk\nBystanders with him\nAwake now, ambulance on scene' --set AGE=70 \
  --set GDR=Male --set CON=1 --set BRE=1 >/dev/null
"$cli" new --set TYP=LAW --set "ISS=Hit And Run" --set "AD1=Main St And 5th" --set CTY=Riverside --set "RPN=Lee Chan" \
  --set RPP=555-0199 --set LAS=13:50 --set 'DTL=Cyclist struck, driver left north' --set 'PDE=Male, 30s\ngrey hoodie' \
  --set WEA=No --set DOT=North --set "VDE=Blue Sedan" --set VDP=7ABC123 --set VDS=CA >/dev/null
for name in $("$cli" list draft | cut -f1 | grep -v '^Items'); do "$cli" delete "$name" >/dev/null; done
"$cli" new --set TYP=FIRE --set "ISS=Smoke In Building" --set "AD1=400 Elm Rd" --set CTY=Fairview >/dev/null
# Put the first two back where the list shows them: Ready. Deleting kept the Draft of each among
# its earlier versions; the medical one's details as the list shows them end before the last line,
# which only that kept Draft holds (a second position puts it back below, for the conflict dialog).
for f in "$home"/msg.d/*.911; do grep -q 'AST=8' "$f" && sed -i 's/^AST=8\r$/AST=2\r/' "$f"; done
sed -i 's/^\(DTL=Collapsed on the sidewalk\\nBystanders with him\)\\nAwake now, ambulance on scene\r$/\1\r/' "$home"/msg.d/*.911

# The report sheet of the medical report, its first page as the operator gets it on A4.
medical=$(grep -l '^TYP=MED' "$home"/msg.d/*.911 | head -1)
"$cli" pdf "$(basename "$medical" .911)" --out "$home/sheet.pdf" >/dev/null
pdftoppm -png -r 80 -f 1 -l 1 -singlefile "$home/sheet.pdf" "$out/report-sheet"
echo "$out/report-sheet.png"

# The communications log's first page: a few tries of the last hours, the incident name kept.
for i in 5 4 3 2 1; do
  when=$(date -d "-$((i * 37)) min" '+%Y-%m-%d %H:%M:%S')
  case $i in 4) outcome='not sent'; why=refused ;; 3) outcome='not sent'; why='no answer' ;; *) outcome=sent; why= ;; esac
  printf '%s\tSPF%s.10%s\tSPF-10%s\tSPF-10%s / MED / Springfield\t127.0.0.1:9334\t%s\t%s\tPat Smith\tKN1ABC\tEOC Main\r\n' \
    "$when" "$(date '+%y%j')" "$i" "$i" "$i" "$outcome" "$why" >> "$home/Zelvatcts.comms"
done
printf '[CommLog]\nIncident=Riverside flood, November 2026\n' >> "$XDG_CONFIG_HOME/Zelvat Call Taking System.conf"
"$cli" commlog --pdf "$home/commlog.pdf" >/dev/null
pdftoppm -png -r 80 -f 1 -l 1 -singlefile "$home/commlog.pdf" "$out/comm-log"
echo "$out/comm-log.png"

# Xvfb picks a free display number and writes it once it accepts clients.
Xvfb -displayfd 5 -screen 0 1024x768x24 5>"$home/display" >/dev/null 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do [ -s "$home/display" ] && break; sleep 0.1; done
[ -s "$home/display" ] || { echo "Xvfb did not start" >&2; exit 1; }
export DISPLAY=":$(head -1 "$home/display")"
"$home/Zelvatcts" >/dev/null 2>&1 &
app_pid=$!

window() { xdotool search --sync --onlyvisible --name "$1" | tail -1; }
press() { xdotool windowfocus --sync "$(window "$1")"; shift; xdotool key "$@"; }
shot() { sleep 0.7; import -window "$(window "$1")" "$out/$2.png"; echo "$out/$2.png"; }

shot "Zelvat Station ID" station-id
press "Zelvat Station ID" Return
main=$(window "Zelvat Call Taking System v")
shot "Zelvat Call Taking System v" main-window

# The File menu with a report selected: Export, Import, Print Setup..., Print...
xdotool mousemove --window "$main" 300 119 click 1
press "Zelvat Call Taking System v" alt+f
sleep 0.7
eval "$(xdotool getwindowgeometry --shell "$main")"
import -window root -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" "$out/main-window-file-menu.png"
echo "$out/main-window-file-menu.png"
xdotool key Escape
sleep 0.3

# The situation summary of the reports just written, with its chart (F9).
press "Zelvat Call Taking System v" F9
shot "Summary" summary
press "Summary" Escape
sleep 0.3

# The law report and the medical report: the rows of the Ready list, ordered by City (Riverside, Springfield).
xdotool mousemove --window "$main" 300 119 click --repeat 2 --delay 80 1
shot "Zelvat - Report form" report-form-law
press "Zelvat - Report form" Escape
sleep 0.5
xdotool mousemove --window "$main" 300 135 click --repeat 2 --delay 80 1
shot "Zelvat - Report form" report-form-medical
press "Zelvat - Report form" Escape
sleep 0.5

press "Zelvat Call Taking System v" alt+s
sleep 0.3
xdotool key Down Return
shot "Preferences" preferences
press "Preferences" Escape
sleep 0.3
press "Zelvat Call Taking System v" alt+h
sleep 0.3
xdotool key Up Return
shot "About Zelvat" about
press "About Zelvat" Return

# A second position: a program folder and station file of its own, the message folder shared (a
# link to the first one's msg.d here; a network share mounted as msg.d at a real site).
second="$home/second"
mkdir -p "$second"
printf '[GENERAL OPTIONS]\r\nNam=Lee Chan\r\nUid=KD2XYZ\r\nLoc=EOC Annex\r\nCty=Springfield\r\nLid=ANX\r\n' > "$second/Zelvatcts.ini"
ln -s "$home/msg.d" "$second/msg.d"

# The law report open in a form at the second position: its mark, as that program writes it
# (station name, user ID, location ID, host, process; since when), on another host. Selected,
# its row names the position in the status bar once the list has looked (every 2.5 s).
law=$(basename "$(grep -l '^TYP=LAW' "$home"/msg.d/*.911 | head -1)" .911)
mkdir -p "$home/msg.d/.inuse"
printf 'Lee Chan\tKD2XYZ\tANX\tannex-pc\t4242\n%s\n' "$(date -u -d '-3 min' '+%Y-%m-%dT%H:%M:00.000Z')" \
  > "$home/msg.d/.inuse/$law@4242@annex-pc.mark"
xdotool windowsize --sync "$main" 1000 480 # room in the status bar for every panel
xdotool mousemove --window "$main" 300 119 click 1
sleep 3
shot "Zelvat Call Taking System v" in-use-mark
xdotool windowsize --sync "$main" 749 480
rm "$home/msg.d/.inuse/$law@4242@annex-pc.mark"

# The medical report open in the form here; the operator changes the age. Meanwhile the second
# position puts back the report's kept Draft, whose details go further; Submit then finds the
# file changed and asks before anything is written.
medical_name=$(basename "$medical" .911)
xdotool mousemove --window "$main" 300 135 click --repeat 2 --delay 80 1
form=$(window "Zelvat - Report form")
xdotool mousemove --window "$form" 450 471 click --repeat 3 --delay 80 1
xdotool type --delay 50 72
version=$("$cli" --home "$second" history "$medical_name" | grep -P '\tDraft\t' | tail -1 | cut -f1)
"$cli" --home "$second" restore "$medical_name" "$version" >/dev/null
sleep 2.5
press "Zelvat - Report form" ctrl+Return
shot "Zelvat - The report was changed elsewhere" conflict-dialog
press "Zelvat - The report was changed elsewhere" Escape
sleep 0.3
press "Zelvat - Report form" Escape
