#!/usr/bin/env bash
# Builds the libFuzzer programs (clang, AddressSanitizer + UndefinedBehaviorSanitizer) in
# build-fuzz and fuzzes one target or all of them, one after another.
#
# Usage: scripts/fuzz.sh [TARGET|all] [SECONDS] [extra libFuzzer options...]
#   TARGET   meter_answer, receive_stream, data_file, settings_file, workbook_graft or all
#            (default all)
#   SECONDS  run time of each target (default 60)
#
# Each target starts from its seed corpus tests/fuzz/corpus/<target> and its dictionary
# tests/fuzz/<target>.dict. New interesting inputs go to a scratch corpus outside the
# repository ($QUVO_FUZZ_SCRATCH/<target>, default /tmp/quvolink-fuzz); crashes, time-outs
# and leaks to fuzz-crashes/<target>/. The log of each run is kept beside the scratch
# corpus ($QUVO_FUZZ_SCRATCH/<target>.log); its last lines (executions, coverage) are printed.
# Exit status 1 when a target found something.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

targets_all=(meter_answer receive_stream data_file settings_file workbook_graft)
target=${1:-all}
seconds=${2:-60}
shift $(( $# > 2 ? 2 : $# ))
extra=("$@")
jobs=${QUVO_JOBS:-2}
scratch_root=${QUVO_FUZZ_SCRATCH:-/tmp/quvolink-fuzz}

if [ "$target" = all ]; then
  targets=("${targets_all[@]}")
else
  case " ${targets_all[*]} " in
    *" $target "*) targets=("$target") ;;
    *) echo "unknown target '$target'; one of: ${targets_all[*]} all" >&2; exit 2 ;;
  esac
fi

# Longest input each target is given: real inputs are short lines and files of a few
# kilobytes; longer ones only make every run slower.
declare -A max_len=([meter_answer]=512 [receive_stream]=4096 [data_file]=16384 [settings_file]=2048
                    [workbook_graft]=32768)

bash scripts/install-deps.sh --fuzz
dir=build-fuzz
if [ ! -f "$dir/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUVO_FUZZ=ON \
    -DQUVO_BUILD_BENCH=OFF >/dev/null
fi
log="$dir/build.log"
if ! cmake --build "$dir" -j "$jobs" --target "${targets[@]/#/fuzz_}" >"$log" 2>&1; then
  grep -v -E '^\[ *[0-9]+%\]' "$log" | tail -n 80 >&2
  echo "Build failed; the full log is $log" >&2
  exit 1
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:detect_stack_use_after_return=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
export QT_QPA_PLATFORM=offscreen QUVOLINK_NO_DESKTOP_OPEN=1

status=0
for t in "${targets[@]}"; do
  corpus="$scratch_root/$t"
  crashes="$root/fuzz-crashes/$t"
  mkdir -p "$corpus" "$crashes"
  dict=()
  [ -f "tests/fuzz/$t.dict" ] && dict=(-dict="tests/fuzz/$t.dict")
  echo "== $t: ${seconds}s" >&2
  set +e
  "$dir/tests/fuzz/fuzz_$t" "$corpus" "tests/fuzz/corpus/$t" "${dict[@]}" \
    -max_total_time="$seconds" -max_len="${max_len[$t]}" -timeout=60 -print_final_stats=1 \
    -artifact_prefix="$crashes/" "${extra[@]}" >"$scratch_root/$t.log" 2>&1
  rc=$?
  set -e
  grep -E '^#[0-9]+ +(DONE|INITED)|^stat::|^Done |ERROR:|Invariant broken|SUMMARY' "$scratch_root/$t.log" | tail -n 12 >&2
  if [ $rc -ne 0 ]; then
    echo "$t: found something (exit $rc); see $scratch_root/$t.log and $crashes/" >&2
    status=1
  fi
done
exit $status
