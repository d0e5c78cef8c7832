#!/usr/bin/env bash
# Writes the demo's firmware packages for the simulated head (a strelo-002 running software 1.4.2):
# one newer (1.5.0) and one older (1.3.0, which the upgrade dialog warns about) than its software.
# The images are S-records with CR LF line ends, as the loader reads them. Each image carries the text STRELO-SWV:<version>, so the head reports that version after it has
# been flashed. Used by `make run` and by the test that flashes them into strelo-sim.
#   scripts/make-demo-firmware.sh OUTPUT-FOLDER BIN-FOLDER
set -euo pipefail

out_dir="$1"
bin_dir="$2"
product="strelo-002"
mkdir -p "$out_dir"

for version in 1.5.0 1.3.0; do
  base="$out_dir/$product-$version"
  # 16 KiB of image: enough for the upload to show its progress for a moment.
  { printf 'STRELO-SWV:%s demo firmware for the simulated head. ' "$version"
    head -c 16384 /dev/zero | tr '\0' '\125'; } >"$base.bin"
  srec_cat "$base.bin" -binary -offset 0x010000 -o "$base.mhx" -motorola -address-length=3 \
    -disable=data-count -obs=32 -execution-start-address=0 -line-termination=crlf
  "$bin_dir/lichtwart-cli" pack "$base.mhx" --version "$version" --date 2026-11-23 --product "$product" \
    --release-notes "Demo firmware $version for the simulated head." -o "$base.fwp" >/dev/null
  rm -f "$base.bin" "$base.mhx"
  echo "$base.fwp"
done
