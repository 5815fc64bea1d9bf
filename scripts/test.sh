#!/usr/bin/env bash
# Installs what is missing, builds the program twice (plain, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite in both through CTest.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=${QUVO_JOBS:-2}

bash scripts/build.sh release
(cd build && ctest --output-on-failure -j "$jobs")

bash scripts/build.sh sanitize
(cd build-asan && ctest --output-on-failure -j "$jobs" -LE no-sanitize)
