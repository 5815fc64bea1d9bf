#!/usr/bin/env bash
# Configures and builds one build folder. Usage: scripts/build.sh [release|sanitize]
set -euo pipefail
cd "$(dirname "$0")/.."

flavour=${1:-release}
jobs=${QUVO_JOBS:-2}
case "$flavour" in
  release)  dir=build;      args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  sanitize) dir=build-asan; args=(-DCMAKE_BUILD_TYPE=Debug -DQUVO_SANITIZE=ON -DQUVO_BUILD_BENCH=OFF) ;;
  *) echo "usage: $0 [release|sanitize]" >&2; exit 2 ;;
esac

# A compiler cache, when one is installed, makes rebuilds after a switch of branch or a
# fresh checkout short; the paths are taken relative to the checkout so that copies of it
# in other folders share the cache.
if command -v ccache >/dev/null 2>&1; then
  args+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
  export CCACHE_BASEDIR="$PWD"
fi

if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" "${args[@]}" >/dev/null
fi
log="$dir/build.log"
if ! cmake --build "$dir" -j "$jobs" >"$log" 2>&1; then
  grep -v -E '^\[ *[0-9]+%\]' "$log" | tail -n 80 >&2
  echo "Build failed; the full log is $log" >&2
  exit 1
fi
