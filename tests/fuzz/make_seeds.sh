#!/usr/bin/env bash
# Regenerates the generated seeds (gen-*) of the fuzz corpora in tests/fuzz/corpus/:
# workbooks written by libxlsxwriter (seeds/make_workbook_seeds.c) and by openpyxl, crafted
# packages (zip bomb, "../" entries, DOCTYPE and entities, Strict Open XML, ...), meter
# lines, receive streams, data files and settings files (seeds/make_seeds.py).
# Seeds that fuzzing found are kept; only gen-* files are replaced.
# Usage: tests/fuzz/make_seeds.sh [BUILD_DIR]   (default: build)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=${1:-$root/build}

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S "$root" -B "$build" >/dev/null
fi
cmake --build "$build" --target fuzz_workbook_seeds -j "${QUVO_JOBS:-2}" >/dev/null
find "$here/corpus" -name 'gen-*' -delete
mkdir -p "$here/corpus/workbook_graft"
"$build/tests/fuzz/fuzz_workbook_seeds" "$here/corpus/workbook_graft"
# The system interpreter: it has openpyxl.
/usr/bin/python3 "$here/seeds/make_seeds.py"
