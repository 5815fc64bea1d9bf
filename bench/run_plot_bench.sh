#!/usr/bin/env bash
# Times `quvolink-cli plot` end to end, as a script that calls it waits for it: the whole
# process, from its start to the picture on the disk, for a full realtime data file (32767
# readings of a day-long recording, every reading across the chart) to a PNG image of
# 960 x 540 pixels, and to SVG and PDF. Timed with hyperfine when it is installed, else
# with a loop of runs.
#
# Usage: bash bench/run_plot_bench.sh [runs]   (default 30)
# Needs the release build (bash scripts/build.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

cli=${QUVO_CLI:-build/src/cli/quvolink-cli}
if [ ! -x "$cli" ]; then
  echo "No $cli: build first (bash scripts/build.sh)." >&2
  exit 1
fi
runs=${1:-30}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QUVOLINK_HOME="$work/home" XDG_RUNTIME_DIR="$work"
mkdir -p "$QUVOLINK_HOME"

# A realtime recording of 32767 readings every 5 seconds: millivolts of a slow wave with
# ripple, an "ERROR" where the meter did not answer now and then, all 32767 points across
# the chart (line 5).
/usr/bin/python3 - "$work/full.CSV" <<'PY'
import math, sys
lines = ["21,0", "9000,6000,0", "00,00,00,05", "True,00,01,00,00", "32767", "True,1,1", "True,0,10,1,1"]
for i in range(32767):
    t = i * 5
    value = "ERROR" if i % 997 == 500 else "%.3f" % (2.5 + 2 * math.sin(i / 300) + 0.3 * math.sin(i / 7))
    raw = value if value == "ERROR" else value + "E-3"
    lines.append("%02d:%02d:%02d,%s,VDC,%s" % (t // 3600 % 24, t // 60 % 60, t % 60, value, raw))
open(sys.argv[1], "wb").write(("\r\n".join(lines) + "\r\n").encode("latin-1"))
PY

for format in png svg pdf; do
  command="$cli plot $work/full.CSV --out $work/chart.$format"
  $command # once, so that the file and the program are in the page cache
  if command -v hyperfine >/dev/null 2>&1; then
    hyperfine --style basic --warmup 3 --runs "$runs" "$command"
  else
    total=0; worst=0
    for ((i = 0; i < runs; i++)); do
      start=$(date +%s%N); $command; end=$(date +%s%N)
      ms=$(((end - start) / 1000000)); total=$((total + ms)); ((ms > worst)) && worst=$ms
    done
    echo "$format: mean $((total / runs)) ms, slowest $worst ms over $runs runs"
  fi
done
