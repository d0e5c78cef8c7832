#!/usr/bin/env bash
# Starts Lichtwart against a simulated Strelo head: `make run` calls this with the build folder.
# The session keeps settings of its own in a temporary folder, so the user's settings stay
# untouched. Without a display the same session runs through the command-line tool instead.
set -euo pipefail

build_dir="${1:-build}"
[[ $# -gt 0 ]] && shift # the rest goes to the program, e.g. --allow-raw-hex
bin_dir="$(cd "$build_dir/bin" && pwd)"
script_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
for program in lichtwart lichtwart-cli strelo-sim; do
  if [[ ! -x "$bin_dir/$program" ]]; then
    echo "run-demo: $bin_dir/$program is missing; build first (make build)." >&2
    exit 1
  fi
done

session_dir="$(mktemp -d "${TMPDIR:-/tmp}/lichtwart-demo.XXXXXX")"
device="$session_dir/strelo-tty"
sim_pid=""

stop_simulator() {
  if [[ -n "$sim_pid" ]] && kill -0 "$sim_pid" 2>/dev/null; then
    kill -TERM "$sim_pid" 2>/dev/null || true
    wait "$sim_pid" 2>/dev/null || true
  fi
  rm -rf "$session_dir"
}
trap stop_simulator EXIT
trap 'exit 130' INT TERM

"$bin_dir/strelo-sim" --link "$device" >"$session_dir/strelo-sim.log" 2>&1 &
sim_pid=$!
for _ in $(seq 1 100); do
  [[ -e "$device" ]] && break
  if ! kill -0 "$sim_pid" 2>/dev/null; then
    echo "run-demo: the simulator did not start:" >&2
    cat "$session_dir/strelo-sim.log" >&2
    exit 1
  fi
  sleep 0.05
done
if [[ ! -e "$device" ]]; then
  echo "run-demo: the simulator did not create $device in time." >&2
  exit 1
fi

# Firmware packages to try the upgrade with: one newer and one older than the head's software.
firmware_dir="$session_dir/firmware"
if ! "$script_dir/make-demo-firmware.sh" "$firmware_dir" "$bin_dir" >"$session_dir/firmware.log" 2>&1; then
  echo "run-demo: the demo firmware packages could not be made:" >&2
  cat "$session_dir/firmware.log" >&2
  exit 1
fi

# The settings of this session: the simulator's terminal as the device, the trace on at OSI 2,
# the firmware chooser opening in the folder of the demo packages.
export XDG_CONFIG_HOME="$session_dir/config"
mkdir -p "$XDG_CONFIG_HOME/Varnholt GmbH"
cat >"$XDG_CONFIG_HOME/Varnholt GmbH/Lichtwart.conf" <<CONF
[interface]
device=$device
baudrate=9600

[trace]
enabled=true
level=1
lines=1000

[firmware]
directory=$firmware_dir
CONF

echo "Simulated Strelo head on $device (settings of this session in $XDG_CONFIG_HOME)."
echo "Firmware packages for it in $firmware_dir:"
echo "  strelo-002-1.5.0.fwp (newer than the head's software 1.4.2)"
echo "  strelo-002-1.3.0.fwp (older: the upgrade dialog warns before a downgrade)"

if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  echo "Starting Lichtwart; press Connect to reach the head. Closing the window ends the demo."
  "$bin_dir/lichtwart" "$@" || true
  exit 0
fi

echo "No display found (DISPLAY and WAYLAND_DISPLAY are empty): running the same session"
echo "through lichtwart-cli instead."
cli=("$bin_dir/lichtwart-cli" --device "$device")
run() {
  echo
  echo "\$ lichtwart-cli $*"
  "${cli[@]}" "$@"
}
run identify
for image in red red-yellow green yellow-steady yellow off; do
  run --settle 600 lamp "$image"
done
run upgrade "$firmware_dir/strelo-002-1.5.0.fwp"
