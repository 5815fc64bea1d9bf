#!/usr/bin/env bash
# Packs the Debian package of a build folder into a temporary folder and checks it:
#   check_package.sh BUILD_FOLDER "ICON SIZES" "MAN PAGES"
# - the three programs and quvolink-cli's chart helper (libexec), the desktop entry, the
#   AppStream metadata, the icon at every size
#   (a PNG of exactly that size) and as SVG, the man pages, the licence; nothing else;
# - the Depends line: the package of every library the programs link, and the SVG plug-ins;
# - desktop-file-validate and appstreamcli validate --no-net pass; the man pages format
#   without a warning;
# - the unpacked command-line program runs, draws a chart through its helper, and writes
#   nothing into the package's folders (its files go to the per-user folder).
set -euo pipefail

build=$1
read -r -a sizes <<<"$2"
read -r -a pages <<<"$3"
app_id=org.quvolink.Quvolink

failures=0
fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

if ! (cd "$build" && cpack -G DEB -B "$tmp/out") >"$tmp/cpack.log" 2>&1; then
  cat "$tmp/cpack.log" >&2
  echo "FAILED: cpack" >&2
  exit 1
fi
debs=("$tmp"/out/quvolink_*.deb)
if [ "${#debs[@]}" -ne 1 ] || [ ! -f "${debs[0]}" ]; then
  ls -l "$tmp/out" >&2
  echo "FAILED: expected one quvolink_*.deb" >&2
  exit 1
fi
deb=${debs[0]}
echo "package: $(basename "$deb")"

# --- Files -------------------------------------------------------------------------------
dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./|/|' | sort >"$tmp/files"
expected=(
  /usr/bin/quvolink
  /usr/bin/quvolink-cli
  /usr/bin/quvolink-metersim
  /usr/libexec/quvolink/quvolink-plot
  "/usr/share/applications/$app_id.desktop"
  "/usr/share/metainfo/$app_id.metainfo.xml"
  "/usr/share/icons/hicolor/scalable/apps/$app_id.svg"
  /usr/share/doc/quvolink/copyright
)
for size in "${sizes[@]}"; do
  expected+=("/usr/share/icons/hicolor/${size}x${size}/apps/$app_id.png")
done
for page in "${pages[@]}"; do
  expected+=("/usr/share/man/man1/$page.1.gz")
done
printf '%s\n' "${expected[@]}" | sort >"$tmp/expected"
if ! diff -u "$tmp/expected" "$tmp/files" >"$tmp/files.diff"; then
  cat "$tmp/files.diff" >&2
  fail "the package's files differ from the list above (- missing, + unexpected)"
fi
for program in bin/quvolink bin/quvolink-cli bin/quvolink-metersim libexec/quvolink/quvolink-plot; do
  mode=$(dpkg-deb -c "$deb" | awk -v p="./usr/$program" '$6 == p { print $1 }')
  [ "$mode" = "-rwxr-xr-x" ] || fail "/usr/$program has mode '$mode'"
done

# --- Control fields --------------------------------------------------------------------------
[ "$(dpkg-deb -f "$deb" Package)" = quvolink ] || fail "Package is not quvolink"
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
# The package names in Depends, without version conditions.
IFS=',' read -r -a entries <<<"$depends"
names=()
for entry in "${entries[@]}"; do
  names+=("$(sed -E 's/^ *//; s/[ (].*//' <<<"$entry")")
done
depends_on() {
  local wanted=$1 name
  for name in "${names[@]}"; do
    [ "$name" = "$wanted" ] && return 0
  done
  return 1
}
# Every library a program of the package links directly must come from a package that
# Depends names: the library's path as the loader finds it, and the package holding it.
owner_of() {
  local path=$1 candidate
  for candidate in "$path" "$(readlink -f "$path")" "/usr$path" "${path#/usr}"; do
    if owner=$(dpkg-query -S "$candidate" 2>/dev/null | head -n 1); then
      echo "${owner%%:*}"
      return 0
    fi
  done
  return 1
}
mkdir "$tmp/root"
dpkg-deb -x "$deb" "$tmp/root"
for program in bin/quvolink bin/quvolink-cli bin/quvolink-metersim libexec/quvolink/quvolink-plot; do
  binary=$tmp/root/usr/$program
  needed=$(readelf -d "$binary" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  resolved=$(ldd "$binary")
  [ -n "$needed" ] || fail "$program links no library at all (readelf found no NEEDED entry)"
  for lib in $needed; do
    path=$(awk -v n="$lib" '$1 == n && $2 == "=>" && !seen { print $3; seen = 1 }' <<<"$resolved")
    if [ -z "$path" ] || [ "$path" = "not" ]; then
      fail "$program: $lib is not found on this system"
      continue
    fi
    if ! package=$(owner_of "$path"); then
      fail "$program: no installed package holds $path"
      continue
    fi
    depends_on "$package" || fail "$program links $lib (package $package), which Depends does not name"
  done
done
# The SVG icons are drawn by the plug-ins of libqt6svg6, which Qt loads at run time.
depends_on libqt6svg6 || fail "Depends does not name libqt6svg6 (the SVG image format and icon engine)"
# Every package named must exist here (the names dpkg-shlibdeps found are real ones).
for name in "${names[@]}"; do
  dpkg-query -W "$name" >/dev/null 2>&1 || fail "Depends names $name, which is not installed here"
done

# --- Desktop entry, metadata, man pages, icons ----------------------------------------------
share=$tmp/root/usr/share
if ! desktop-file-validate "$share/applications/$app_id.desktop" >"$tmp/desktop.log" 2>&1 || [ -s "$tmp/desktop.log" ]; then
  cat "$tmp/desktop.log" >&2
  fail "desktop-file-validate"
fi
if ! appstreamcli validate --no-net "$share/metainfo/$app_id.metainfo.xml" >"$tmp/appstream.log" 2>&1; then
  cat "$tmp/appstream.log" >&2
  fail "appstreamcli validate"
fi
grep -q "^Exec=quvolink " "$share/applications/$app_id.desktop" || fail "the desktop entry does not start quvolink"
grep -q "^Icon=$app_id$" "$share/applications/$app_id.desktop" || fail "the desktop entry's icon is not $app_id"
for page in "${pages[@]}"; do
  warnings=$(zcat "$share/man/man1/$page.1.gz" | groff -man -ww -z 2>&1 || true)
  [ -z "$warnings" ] || fail "man page $page: $warnings"
  zcat "$share/man/man1/$page.1.gz" | grep -q "^\.SH EXAMPLES" || fail "man page $page has no EXAMPLES"
done
for size in "${sizes[@]}"; do
  png="$share/icons/hicolor/${size}x${size}/apps/$app_id.png"
  if [ ! -f "$png" ]; then
    fail "icon $size is missing"
    continue
  fi
  got=$(/usr/bin/python3 -c 'import struct,sys
d=open(sys.argv[1],"rb").read(24)
print("%dx%d" % struct.unpack(">II", d[16:24]) if d[:8]==b"\x89PNG\r\n\x1a\n" else "not a PNG")' "$png")
  [ "$got" = "${size}x${size}" ] || fail "icon $size: $got"
done

# --- The unpacked program runs and keeps its files out of /usr -------------------------------
find "$tmp/root" -printf '%P %s %T@\n' | sort >"$tmp/before"
home=$tmp/home
mkdir -p "$home"
if ! out=$(env -u QUVOLINK_HOME HOME="$home" XDG_DATA_HOME= LD_LIBRARY_PATH= \
    "$tmp/root/usr/bin/quvolink-cli" --simulate info 2>&1); then
  fail "quvolink-cli --simulate info: $out"
fi
[ "$out" = "model 1" ] || fail "quvolink-cli --simulate info printed '$out'"
"$tmp/root/usr/bin/quvolink-cli" --version | grep -q "^quvolink-cli " || fail "quvolink-cli --version"
"$tmp/root/usr/bin/quvolink-metersim" --version | grep -q "^quvolink-metersim " || fail "quvolink-metersim --version"
"$tmp/root/usr/bin/quvolink" --version | grep -q "^quvolink " || fail "quvolink --version"
printf '21,0\r\n9000,6000,0\r\n00,00,00,05\r\nTrue,00,01,00,00\r\n20\r\nTrue,1,1\r\nTrue,0,10,1,1\r\n%s\r\n%s\r\n' \
  12:00:00,1.5,VDC,1.5 12:00:05,2.5,VDC,2.5 >"$tmp/data.csv"
if ! out=$(env -u QUVOLINK_HOME HOME="$home" XDG_DATA_HOME= LD_LIBRARY_PATH= \
    "$tmp/root/usr/bin/quvolink-cli" plot "$tmp/data.csv" --out "$tmp/chart.png" 2>&1); then
  fail "quvolink-cli plot: $out"
fi
[ -s "$tmp/chart.png" ] || fail "quvolink-cli plot wrote no picture"
find "$tmp/root" -printf '%P %s %T@\n' | sort >"$tmp/after"
if ! diff -u "$tmp/before" "$tmp/after" >&2; then
  fail "running the programs changed the package's own folders"
fi
[ -d "$home/.local/share/Quvolink" ] || fail "the per-user program folder ~/.local/share/Quvolink was not made"

if [ "$failures" -ne 0 ]; then
  echo "$failures check(s) failed" >&2
  exit 1
fi
echo "package checks passed"
