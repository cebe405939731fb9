#!/usr/bin/env bash
# Whole-process timing of a cold resolve: `grantwright resolve` of a reference whose file
# was renamed since (a new process each time, so nothing is cached in it), against a whole
# `grantwright capture` of the same file. The two run alternately, <runs> times each
# (default 500), and the ratio of their median wall times is printed. Run as root the file
# is found through its kernel handle; as another user, through the scan of its folder.
#   bench/resolve_vs_capture.sh [runs] [build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-500}
build=${2:-build}
cmake --build "$build" --target grantwright spawn_timer >/dev/null
cli=$PWD/$build/grantwright

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config
mkdir "$work/folder"
echo x >"$work/folder/file"
"$cli" reference "$work/folder/file" -o "$work/stored"
mv "$work/folder/file" "$work/folder/renamed"
"$cli" resolve "$work/stored" >/dev/null || { echo "resolve_vs_capture: resolve failed" >&2; exit 1; }
echo "resolve: A, capture: B ($runs runs each, alternating)"
"$PWD/$build/bench/spawn_timer" "$runs" "$cli" resolve "$work/stored" -- \
  "$cli" capture "$work/folder/renamed"
