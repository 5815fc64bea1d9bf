#!/usr/bin/env bash
# Starts the real program under a virtual display, shows a sample realtime document (with
# a reading the meter did not answer and an overload), the Monitor and every dialog, and
# saves a picture of each into docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
bash scripts/build.sh release

home=$(mktemp -d)
broker_pid=
cleanup() {
  if [ -n "$broker_pid" ]; then kill "$broker_pid" 2>/dev/null || true; wait "$broker_pid" 2>/dev/null || true; fi
  rm -rf "$home"
}
trap cleanup EXIT
mkdir -p docs/screenshots

# A broker of our own on 127.0.0.1, for the status bar of publishing.
port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
printf 'listener %s 127.0.0.1\nallow_anonymous true\nuser %s\n' "$port" "$(id -un)" > "$home/mosquitto.conf"
/usr/sbin/mosquitto -c "$home/mosquitto.conf" 2>/dev/null &
broker_pid=$!
sleep 0.5

QUVOLINK_HOME="$home" XDG_RUNTIME_DIR="$home" QUVOLINK_SCREENSHOT_BROKER="mqtt://127.0.0.1:$port" \
  xvfb-run -a -s "-screen 0 1280x800x24" \
  build/src/app/quvolink --simulate --screenshots docs/screenshots

# The same windows as a high-DPI screen shows them (everything drawn at twice the scale)
# and in the colours of a dark desktop theme.
mkdir -p docs/screenshots/scale2 docs/screenshots/dark
QUVOLINK_HOME="$home" XDG_RUNTIME_DIR="$home" QT_SCALE_FACTOR=2 \
  xvfb-run -a -s "-screen 0 2560x1600x24" \
  build/src/app/quvolink --simulate --screenshots docs/screenshots/scale2
QUVOLINK_HOME="$home" XDG_RUNTIME_DIR="$home" \
  xvfb-run -a -s "-screen 0 1280x800x24" \
  build/src/app/quvolink --simulate --dark --screenshots docs/screenshots/dark

# A workbook with limits as LibreOffice Calc prints it (the whole sheet on one page): a
# recording from the simulated meter, forwarded with limits.
QUVOLINK_HOME="$home" build/src/cli/quvolink-cli --simulate record --interval 1 --period 12 \
  --out "$home/ramp.csv" --lower -14.5 --upper -8 >/dev/null || [ $? -eq 3 ]
QUVOLINK_HOME="$home" build/src/cli/quvolink-cli forward "$home/ramp.csv" --xlsx "$home/ramp.xlsx" \
  --title "Ramp" --lower -14.5 --upper -8 >/dev/null
soffice --headless --norestore -env:UserInstallation="file://$home/office" \
  --convert-to 'pdf:calc_pdf_Export:{"SinglePageSheets":{"type":"boolean","value":"true"}}' \
  --outdir "$home" "$home/ramp.xlsx" >/dev/null
pdftoppm -r 80 -png -singlefile "$home/ramp.pdf" docs/screenshots/workbook-limits
echo docs/screenshots/workbook-limits.png
