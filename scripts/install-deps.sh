#!/usr/bin/env bash
# Installs the Debian packages Lichtwart needs to build, test and run, and only those that are
# missing. With everything present it does nothing and returns at once.
set -euo pipefail

packages=(
  cmake ninja-build make g++ ccache pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libgl-dev qt6-serialport-dev
  qt6-tools-dev qt6-l10n-tools qt6-translations-l10n
  libarchive-dev libssl-dev libxml2-dev libpcap-dev
  g++-mingw-w64-x86-64 wine64
  clang libclang-rt-14-dev
  srecord
  xvfb xauth
  tshark
  dpkg-dev file lintian desktop-file-utils appstream man-db util-linux
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Abbrev}' "$p" 2>/dev/null || true)
  [[ "$status" == ii* ]] || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: missing Debian packages: ${missing[*]}"
if ! command -v apt-get >/dev/null 2>&1; then
  echo "install-deps: apt-get is not available on this machine; install the packages above by hand." >&2
  exit 1
fi
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    sudo_cmd=(sudo -n)
  else
    echo "install-deps: installing packages needs root; run 'sudo $0' or install them by hand." >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "install-deps: installed ${#missing[@]} package(s)."
