#!/usr/bin/env bash
# Runs one Windows test program under wine, in a wine prefix of the build folder, with a COM port
# that is a strelo-sim pseudo-terminal.
#
#   run-under-wine.sh PREFIX SIM COM SECONDS PROGRAM [ARGUMENTS...]
#
# PREFIX is made once (wineboot -i; no display is needed). SIM is the strelo-sim program, or "-"
# when the program needs no port. COM is the number n of the port "COMn" the program finds in
# LICHTWART_W32_PORT; the prefix's dosdevices/comn points at the simulator's terminal. A program
# that wants the simulator to die mid-link writes a line to the pipe named in LICHTWART_SIM_KILL
# and the simulator gets SIGKILL. The program is ended after SECONDS. A PROGRAM that is not a
# Windows program (no .exe) runs natively with the terminal's path as its port: the Linux twin of
# a test, under the same conditions.
set -euo pipefail
prefix=$1 sim=$2 com=$3 seconds=$4
shift 4
wine=${WINE64:-wine64}
wineserver=${WINESERVER:-$(dirname "$(command -v "$wine")")/wineserver}
wineboot_dir=$(dirname "$prefix")

export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C
unset DISPLAY WAYLAND_DISPLAY

# One wineboot per build folder, also when ctest starts several programs at once.
mkdir -p "$wineboot_dir"
exec 9>"$prefix.lock"
flock 9
if [ ! -f "$prefix/system.reg" ]; then
  echo "run-under-wine: creating the wine prefix $prefix"
  "$wine" wineboot -i >"$prefix.log" 2>&1 || { cat "$prefix.log"; exit 1; }
fi
flock -u 9
# The server outlives the programs for a few seconds, detached, so that its end (and what it
# prints then) is no part of any test.
setsid "$wineserver" -p5 </dev/null >/dev/null 2>&1 || true

sim_pid= watcher_pid=
work=$(mktemp -d "$wineboot_dir/run-com$com.XXXXXX")
cleanup() {
  [ -n "$watcher_pid" ] && kill "$watcher_pid" 2>/dev/null || true
  if [ -n "$sim_pid" ]; then
    kill "$sim_pid" 2>/dev/null || true
    wait "$sim_pid" 2>/dev/null || true
  fi
  rm -f "$prefix/dosdevices/com$com"
  rm -rf "$work"
}
trap cleanup EXIT

if [ "$sim" != "-" ]; then
  "$sim" --link "$work/tty" >"$work/sim.log" 2>&1 &
  sim_pid=$!
  for _ in $(seq 100); do
    [ -e "$work/tty" ] && break
    sleep 0.05
  done
  [ -e "$work/tty" ] || { echo "run-under-wine: strelo-sim did not start"; cat "$work/sim.log"; exit 1; }
  ln -sfn "$work/tty" "$prefix/dosdevices/com$com"
  mkfifo "$work/kill"
  ( read -r _ <"$work/kill" && kill -KILL "$sim_pid" ) &
  watcher_pid=$!
  export LICHTWART_W32_PORT=COM$com LICHTWART_SIM_KILL="Z:$work/kill"
fi

runner=("$wine")
if [[ "$1" != *.exe ]]; then
  runner=()
  export LICHTWART_W32_PORT="$work/tty"
fi
status=0
began=$(date +%s%N)
timeout -k 5 "$seconds" "${runner[@]}" "$@" || status=$?
elapsed=$(( ($(date +%s%N) - began) / 1000000 ))
if [ "$status" -eq 124 ]; then
  echo "run-under-wine: $(basename "$1") did not end within $seconds s"
else
  echo "run-under-wine: $(basename "$1") ended after $elapsed ms with $status"
fi
exit "$status"
