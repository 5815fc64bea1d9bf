#!/usr/bin/env bash
# Installs the Debian 12 packages that building, running and testing Quvolink need.
# Idempotent: when everything is present it prints nothing and changes nothing.
# Usage: scripts/install-deps.sh [--fuzz]   (--fuzz: also clang and its libFuzzer runtime)
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  qt6-base-dev qt6-serialport-dev qt6-qpa-plugins libgl-dev
  qt6-svg-dev libqt6svg6 libqcustomplot-dev libxlsxwriter-dev libzip-dev libpugixml-dev qcoro-qt6-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth socat python3-openpyxl locales fonts-dejavu-core
  librsvg2-bin desktop-file-utils appstream file groff-base
  libmosquitto-dev mosquitto mosquitto-clients openssl
  libreoffice-calc-nogui poppler-utils libxml2-utils
)
if [ "${1:-}" = --fuzz ]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
  echo "Installing: ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq >/dev/null
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The locale tests switch to a decimal-comma locale; make sure it exists.
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
  if ! grep -q '^de_DE.UTF-8 UTF-8' /etc/locale.gen 2>/dev/null; then
    echo 'de_DE.UTF-8 UTF-8' | "${sudo_cmd[@]}" tee -a /etc/locale.gen >/dev/null
  fi
  "${sudo_cmd[@]}" locale-gen >/dev/null 2>&1
fi
