#!/usr/bin/env bash
# Installs what is missing, builds the program and runs it. Without a meter attached (or
# when asked with --simulate) it talks to the built-in simulated meter.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
bash scripts/build.sh release

if [ -x build/src/app/quvolink ]; then
  exec build/src/app/quvolink "$@"
fi
echo "The desktop program is not part of this build yet." >&2
exit 1
