#!/usr/bin/env bash
# Whole-process timing of `grantwright info --icon 64` on a text file against `gio info` on
# the same file (GIO's own command: the file's attributes, its content type and icon names,
# but no icon drawn), alternately, <runs> times each (default 300); prints the ratio of
# their medians with their page faults.
#   bench/info_vs_gio.sh [runs] [build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-300}
build=${2:-build}
cmake --build "$build" --target grantwright spawn_timer >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "some words" >"$work/notes.txt"
"$PWD/$build/grantwright" info "$work/notes.txt" --icon 64 -o "$work/icon.png" >/dev/null
echo "== grantwright info --icon 64 A, gio info B ($runs runs each, alternating)"
"$PWD/$build/bench/spawn_timer" "$runs" "$PWD/$build/grantwright" info "$work/notes.txt" --icon 64 \
  -o "$work/icon.png" -- /usr/bin/gio info "$work/notes.txt"
