#!/usr/bin/env bash
# Builds the Debian package: a Release build in its own folder (build-package) for the
# prefix /usr, packed by CPack with dependencies found by dpkg-shlibdeps. The package is
# copied to the top folder and its name printed, ready for
#   sudo apt-get install ./quvolink_<version>_<arch>.deb
# Usage: scripts/package.sh [BUILD_FOLDER]
# With a folder that is already configured (such as build), that folder is built and
# packed instead, which saves a second build of everything. Packages install under /usr
# whatever the folder's install prefix.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=${QUVO_JOBS:-2}
dir=${1:-build-package}
if [ $# -gt 0 ] && [ ! -f "$dir/CMakeCache.txt" ]; then
  echo "$dir is not a configured build folder." >&2
  exit 2
fi
if [ -f "$dir/CMakeCache.txt" ] && grep -q '^QUVO_SANITIZE:BOOL=ON' "$dir/CMakeCache.txt"; then
  echo "$dir is built with sanitizers; it cannot be packed." >&2
  exit 2
fi

if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DQUVO_BUILD_TESTS=OFF -DQUVO_BUILD_BENCH=OFF >/dev/null
fi
log="$dir/build.log"
if ! cmake --build "$dir" -j "$jobs" >"$log" 2>&1; then
  grep -v -E '^\[ *[0-9]+%\]' "$log" | tail -n 80 >&2
  echo "Build failed; the full log is $log" >&2
  exit 1
fi

rm -f "$dir"/package/quvolink_*.deb
if ! (cd "$dir" && cpack -G DEB) >"$dir/cpack.log" 2>&1; then
  tail -n 40 "$dir/cpack.log" >&2
  echo "Packing failed; the full log is $dir/cpack.log" >&2
  exit 1
fi
shopt -s nullglob
debs=("$dir"/package/quvolink_*.deb)
if ((${#debs[@]} != 1)); then
  echo "Expected one package in $dir/package, found ${#debs[@]}." >&2
  exit 1
fi
cp "${debs[0]}" .
deb=$(basename "${debs[0]}")
echo "$deb"
echo "Depends: $(dpkg-deb -f "$deb" Depends)" >&2
