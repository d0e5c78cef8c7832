#!/usr/bin/env bash
# How long `lichtwart-cli scan` takes: the time until a head at address 1 is reported, at each of
# the seven rates of the options dialog (the stored settings left at their defaults, 9600 baud and
# address 1); the same for a head at the stored address (37, given with --osi2) at each rate; and
# the time of the whole search (7 rates x 199 addresses) on a line where no head answers. Prints
# figures; never fails on one.
set -euo pipefail
bin_dir=${LICHTWART_BIN_DIR:-$(dirname "$0")/../bin}
work=$(mktemp -d)
export XDG_CONFIG_HOME=$work/config
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

now_ms() { date +%s%3N; }

start_sim() {
  "$bin_dir/strelo-sim" --link "$work/head" "$@" > "$work/sim.out" 2>/dev/null &
  sim=$!
  for _ in $(seq 50); do [ -e "$work/head" ] && return; sleep 0.1; done
}

# time_to_report ADDRESS RATE [CLI OPTIONS...]: a head at ADDRESS listening at RATE.
time_to_report() {
  local address=$1 rate=$2
  shift 2
  start_sim --baud "$rate" --osi2 "$address"
  : > "$work/found"
  start=$(now_ms)
  "$bin_dir/lichtwart-cli" --device "$work/head" "$@" scan > "$work/found" 2>/dev/null &
  cli=$!
  while ! grep -q '^head:' "$work/found" && kill -0 $cli 2>/dev/null; do sleep 0.02; done
  echo "scan: head at $rate baud, address $address reported after $(( $(now_ms) - start )) ms"
  kill -INT $cli 2>/dev/null || true; wait $cli 2>/dev/null || true
  kill $sim; wait $sim 2>/dev/null || true
}

for rate in 2400 4800 9600 19200 38400 57600 115200; do
  time_to_report 1 "$rate"
done
for rate in 2400 4800 9600 19200 38400 57600 115200; do
  time_to_report 37 "$rate" --osi2 37
done

start_sim --silent
start=$(now_ms)
"$bin_dir/lichtwart-cli" --device "$work/head" scan > /dev/null 2>&1 || true
echo "scan: whole search, 7 rates x 199 addresses, no head: $(( $(now_ms) - start )) ms"
kill $sim; wait $sim 2>/dev/null || true
