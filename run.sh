#!/usr/bin/env bash
# Installs what is missing, builds, and starts the program.
# Until the main window exists this builds a demo program folder with a few sample reports in
# demo/ and shows its report list through the headless client.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/deps.sh
./scripts/build.sh

cli=build/tools/cli/zelvatcts-cli
home=demo
mkdir -p "$home"
if [ -z "$(ls -A "$home/msg.d" 2>/dev/null)" ]; then
  printf '[GENERAL OPTIONS]\r\nNam=Pat Smith\r\nUid=KN1ABC\r\nLoc=EOC Main\r\nCty=Springfield\r\nLid=SPF\r\n' > "$home/Zelvatcts.ini"
  "$cli" --home "$home" new --set TYP=MED --set "ISS=Person Down" --set "AD1=12 Oak St" --set CTY=Springfield \
    --set "RPN=Jordan Smith" --set RPP=555-0100 --set LAS=-10 --set "DTL=Collapsed on the sidewalk" \
    --set AGE=70 --set GDR=Male --set CON=1 --set BRE=1 >/dev/null
  "$cli" --home "$home" new --set TYP=FIRE+LAW --set "ISS=Car Fire" --set "AD1=Main St And 5th" --set CTY=Riverside \
    --set "RPN=Lee Chan" --set LAS=14:05 --set 'DTL=Sedan burning\nDriver left on foot' --set PIN=No \
    --set "VDE=Blue Sedan" --set VDP=7ABC123 --set VDS=CA >/dev/null
  third=$("$cli" --home "$home" new --set TYP=LGOV --set "ISS=Water Main Break" --set "AD1=400 Elm Rd" \
    --set CTY=Fairview --set "RPN=Sam Ortiz" --set LAS=13:30 --set "DTL=Street flooding")
  "$cli" --home "$home" delete "$third" >/dev/null
fi
echo "Program folder: $home"
echo "== zelvatcts-cli --home $home list all =="
"$cli" --home "$home" list all
