#!/usr/bin/env bash
# Starts the real program under a virtual display, shows a sample realtime document (with
# a reading the meter did not answer and an overload), the Monitor and every dialog, and
# saves a picture of each into docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
bash scripts/build.sh release

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p docs/screenshots
QUVOLINK_HOME="$home" XDG_RUNTIME_DIR="$home" \
  xvfb-run -a -s "-screen 0 1280x800x24" \
  build/src/app/quvolink --simulate --screenshots docs/screenshots
