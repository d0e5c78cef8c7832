#!/usr/bin/env bash
# Tries the Debian package as it will be installed: unpacks build/lichtwart_<version>_amd64.deb
# into a temporary root, runs the installed programs from there (the CLI's version, firmware-info
# on a sample package, the GUI offscreen for a few seconds, the manual pages), and checks the
# package with lintian (no error) and its menu entry and software-centre data with their validators.
set -euo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
version=$(sed -n 's/^project(Lichtwart VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
deb="$build/lichtwart_${version}_amd64.deb"
[ -f "$deb" ] || { echo "check-package: $deb is missing (run make package)" >&2; exit 1; }

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"
bin="$root/usr/bin"

fail() { echo "check-package: $*" >&2; exit 1; }

# The links in /usr/bin lead to the real programs, and the style sheet lies beside them.
[ "$(readlink "$bin/lichtwart")" = ../lib/lichtwart/lichtwart ] || fail "/usr/bin/lichtwart is not the link into /usr/lib/lichtwart"
[ -f "$(dirname "$(readlink -f "$bin/lichtwart")")/lichtwart.qss" ] || fail "lichtwart.qss is not beside the program"

[ "$("$bin/lichtwart-cli" --version)" = "lichtwart-cli $version" ] || fail "lichtwart-cli --version"
[ "$("$bin/strelo-sim" --version)" = "strelo-sim $version" ] || fail "strelo-sim --version"

"$build/tests/lichtwart-sample-package" "$root/sample.fwp"
info=$("$bin/lichtwart-cli" firmware-info "$root/sample.fwp")
grep -qx 'version: 1.2.3' <<<"$info" || fail "firmware-info printed: $info"
grep -qx 'block: 0x00001000 64' <<<"$info" || fail "firmware-info printed: $info"

# The GUI comes up and keeps running until it is ended (timeout's 124).
set +e
XDG_CONFIG_HOME="$root/config" QT_QPA_PLATFORM=offscreen timeout 4 "$bin/lichtwart"
status=$?
set -e
[ $status -eq 124 ] || fail "the GUI ended by itself with status $status"

for page in lichtwart lichtwart-cli strelo-sim; do
  out=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$root/usr/share/man/man1/$page.1.gz" 2>&1 >/dev/null)
  [ -z "$out" ] || fail "manual page $page: $out"
done

lintian --fail-on error --suppress-tags executable-in-usr-lib "$deb"
desktop-file-validate "$root"/usr/share/applications/*.desktop
appstreamcli validate --no-net "$root"/usr/share/metainfo/*.metainfo.xml
echo "check-package: $(basename "$deb") ($(stat -c %s "$deb") bytes) unpacks, runs and validates"
