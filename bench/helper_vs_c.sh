#!/usr/bin/env bash
# Whole-process timing: grantwright-helper doing its job (owner, group and mode from a
# configuration) against baseline_helper_job, a plain C program (dynamic glibc) making the
# same calls on the same file: read the configuration, look up the names, chown, chmod.
# The two run alternately, each <runs> times (default 1000, at least 500), and the ratio
# of their median wall times is printed with their median page faults.
#   bench/helper_vs_c.sh [runs] [build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-1000}
build=${2:-build}
[ "$runs" -ge 500 ] || { echo "helper_vs_c: at least 500 runs" >&2; exit 2; }

cmake --build "$build" --target grantwright-helper baseline_helper_job spawn_timer >/dev/null
helper=$PWD/$build/grantwright-helper
baseline=$PWD/$build/bench/baseline_helper_job

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
file=$work/target
echo x >"$file"
owner=$(id -un)
group=$(id -gn)
cat >"$work/job.xml" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<Config>
  <Owner datatype="String">$owner</Owner>
  <Group datatype="String">$group</Group>
  <UnixFilePath datatype="String">${file//\//%2F}</UnixFilePath>
  <PermsOwner datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">write</array_1><array_2 datatype="String">execute</array_2></PermsOwner>
  <PermsGroup datatype="Array"><array_0 datatype="String">read</array_0><array_1 datatype="String">execute</array_1></PermsGroup>
</Config>
XML

"$helper" -f "$work/job.xml" || { echo "helper_vs_c: the helper failed" >&2; exit 1; }
echo "helper: A, C baseline: B ($runs runs each, alternating)"
"$PWD/$build/bench/spawn_timer" "$runs" "$helper" -f "$work/job.xml" -- \
  "$baseline" "$work/job.xml" "$file" "$owner" "$group" 0750
