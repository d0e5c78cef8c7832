#!/usr/bin/env bash
# The link program identifies strelo-sim twice, built for Linux and built for Windows (under
# wine), each against a simulator of its own; the telegrams each sent first must be the same,
# byte for byte.
#
#   link-matches-linux.sh LINUX_PROGRAM WINDOWS_PROGRAM RUN_UNDER_WINE PREFIX SIM COM SECONDS
set -euo pipefail
linux=$1 windows=$2
shift 2
run=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "== Linux build"
LICHTWART_LINK_TRANSCRIPT="$work/linux.txt" "${run[@]}" "$linux"
echo "== Windows build under wine"
LICHTWART_LINK_TRANSCRIPT="Z:$work/windows.txt" "${run[@]}" "$windows"
if ! cmp -s "$work/linux.txt" "$work/windows.txt"; then
  echo "link-matches-linux: the first telegrams differ (Linux, then Windows):"
  diff "$work/linux.txt" "$work/windows.txt" || true
  exit 1
fi
echo "link-matches-linux: the first $(wc -l <"$work/linux.txt") telegrams are the same on both builds"
