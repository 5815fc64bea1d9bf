#!/usr/bin/env bash
# Runs the document benchmarks, then compares opening a full realtime data file (32767 rows)
# into a document with a plain Python reader of the same file.
#
# The comparison times the two in alternation: one open (in the benchmark program, which
# waits for a request on its standard input), then one Python read, and so on, a few
# milliseconds apart. Each pair gives a ratio, and the median of the pairs' ratios is the
# result. This virtual machine's speed drifts by tens of percent within seconds; timed a
# few milliseconds apart, both sides of a pair see the same speed.
#
# Usage: bash bench/run_document_bench.sh [pairs] [extra Google Benchmark options]
#   pairs: pairs of the comparison (default 400); 0 runs only the benchmarks.
#   QUVO_BENCH_ONLY_COMPARE=1 skips the benchmark run.
# Needs the release build (bash scripts/build.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

bench=${QUVO_DOCUMENT_BENCH:-build/bench/document_bench}
if [ ! -x "$bench" ]; then
  echo "No $bench: build first (bash scripts/build.sh)." >&2
  exit 1
fi
python=/usr/bin/python3
pairs=400
if [ $# -gt 0 ] && [[ $1 =~ ^[0-9]+$ ]]; then
  pairs=$1
  shift
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ "${QUVO_BENCH_ONLY_COMPARE:-0}" != 1 ]; then
  "$bench" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true "$@"
fi
[ "$pairs" -gt 0 ] || exit 0

# The benchmark program writes the file it generates to QUVO_BENCH_FILE, so both read the
# same bytes.
QUVO_BENCH_FILE="$work/full.CSV" "$python" - "$bench" "$work/full.CSV" "$pairs" <<'PY'
import math, os, statistics, subprocess, sys, time

bench, path, pairs = sys.argv[1], sys.argv[2], int(sys.argv[3])

def read(p):
    """A plain reader: the seven header lines, then every row split into its fields and
    its value converted to a number (NaN when it is not one)."""
    rows = []
    with open(p, encoding="latin-1", newline="") as f:
        header = [next(f) for _ in range(7)]
        for line in f:
            fields = line.rstrip("\r\n").split(",")
            try:
                value = float(fields[1])
            except ValueError:
                value = math.nan
            rows.append((fields[0], fields[1], fields[2], fields[3] if len(fields) > 3 else "", value))
    return header, rows

opener = subprocess.Popen([bench, "--open-on-request"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True, bufsize=1)
if opener.stdout.readline().strip() != "ready":
    sys.exit("the benchmark program did not start")

def open_ms():
    opener.stdin.write("open\n")
    answer = opener.stdout.readline()
    if not answer:
        sys.exit("the benchmark program stopped")
    return float(answer)

def python_ms():
    start = time.perf_counter()
    header, rows = read(path)
    took = (time.perf_counter() - start) * 1000
    assert len(rows) == 32767, len(rows)
    return took

for _ in range(20):  # warm both up: caches, the file's pages, the allocator
    open_ms()
    python_ms()

opens, reads, ratios = [], [], []
for _ in range(pairs):
    o = open_ms()
    p = python_ms()
    opens.append(o)
    reads.append(p)
    ratios.append(p / o)
opener.stdin.close()
opener.wait()

def quartiles(values):
    q = statistics.quantiles(values, n=4)
    return f"median {q[1]:6.2f}, quartiles {q[0]:6.2f} to {q[2]:6.2f}, lowest {min(values):6.2f}"

print(f"\nOpen of the 32767-row file and the Python reader ({sys.executable}) in alternation, {pairs} pairs:")
print(f"Open (OpenNew + OpenFile), ms:     {quartiles(opens)}")
print(f"Python plain reader, ms:           {quartiles(reads)}")
print(f"Ratio (Python / open) per pair:    {quartiles(ratios)}")
print(f"Pairs at 5x or more: {sum(r >= 5 for r in ratios)} of {pairs} (goal: 5x or more)")
PY
