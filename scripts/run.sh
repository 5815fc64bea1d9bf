#!/usr/bin/env bash
# Installs what is missing, builds the program and runs it. When no USB serial adapter is
# plugged in (no /dev/ttyUSB* or /dev/ttyACM*) and no --port is given, it talks to the
# built-in simulated meter. Other arguments are passed on (see: scripts/run.sh --help).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
bash scripts/build.sh release

args=("$@")
if [[ " ${args[*]-} " != *" --port"* && " ${args[*]-} " != *" --simulate "* ]]; then
  shopt -s nullglob
  adapters=(/dev/ttyUSB* /dev/ttyACM*)
  if ((${#adapters[@]} == 0)); then
    echo "No meter adapter found: using the built-in simulated meter (Monitor › Start shows its readings)." >&2
    args+=(--simulate)
  fi
fi

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "There is no display here. Try the command-line program instead, for example:" >&2
  echo "  build/src/cli/quvolink-cli monitor --simulate --count 5" >&2
  echo "  build/src/cli/quvolink-cli --help" >&2
  exit 1
fi

exec build/src/app/quvolink "${args[@]}"
