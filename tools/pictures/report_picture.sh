#!/usr/bin/env bash
# Takes the picture of a report box that the README shows: runs examples/report.vbs on a display of
# its own and cuts the box out of a screenshot. Needs the packages imagemagick and xvfb.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"
command -v import >/dev/null || fail "'import' is missing: install the package imagemagick"

host_pid=
cleanup() {
  [[ -z $host_pid ]] || kill "$host_pid" || true # it may have ended by itself
  kill "$display_pid"
}

mkdir -p "$root/build"
export XAUTHORITY=$root/build/picture.authority
python3 "$root/tools/make_authority.py" "$XAUTHORITY"
exec {number}< <(exec Xvfb -displayfd 3 -auth "$XAUTHORITY" -screen 0 800x600x24 3>&1 >/dev/null 2>&1)
display_pid=$!
read -r -u "$number" display
trap cleanup EXIT
export DISPLAY=:$display

"$root/dev" host "$root/examples/report.vbs" &
host_pid=$!
# The box is there once the screen shows more than its background.
for ((second = 0; second < 120; ++second)); do
  sleep 1
  colours=$(import -window root txt:- | awk 'NR > 1 { seen[$3] } END { print length(seen) }')
  [[ $colours -le 8 ]] || break
done
[[ $colours -gt 8 ]] || fail "no box came up"
import -window root -trim +repage "$root/docs/images/report.png"
say "docs/images/report.png is new"
