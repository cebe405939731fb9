#!/usr/bin/env bash
# Whole-process timing of grantwright-helper against plain C programs doing the same job on
# the same file, on both of the helper's branches:
#   owner branch (-f):  read the configuration, look up owner and group, chown, chmod
#                       (bench/helper_job.c)
#   list branch (-a):   read the configuration, turn the list's text into a list, set it
#                       (bench/helper_acl_job.c)
# The bar is each C program linked fully static, as the helper is; the same program linked
# as usual is printed for reference. Each pair runs alternately, <runs> times each (default
# 1000, at least 500), and the ratio of median wall times is printed with median page
# faults; the system calls of one run of each come from strace -c. Every program is timed as
# an installed copy (bench/job_scene.sh says why).
#   bench/helper_vs_c.sh [runs] [build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-1000}
build=${2:-build}
[ "$runs" -ge 500 ] || { echo "helper_vs_c: at least 500 runs" >&2; exit 2; }

cmake --build "$build" --target grantwright-helper spawn_timer baseline_helper_job \
  baseline_helper_job_static baseline_helper_acl_job baseline_helper_acl_job_static >/dev/null
source bench/job_scene.sh
helper=$(installed "$build/grantwright-helper")
for base in baseline_helper_job baseline_helper_acl_job; do
  for variant in _static ""; do installed "$build/bench/$base$variant" >/dev/null; done
done
bench=$work/bin
timer=$PWD/$build/bench/spawn_timer

syscalls() { strace -f -c -U calls,name -o "$work/strace" "$@" >/dev/null 2>&1; awk '$2 == "total" {print $1}' "$work/strace"; }

compare() {  # <label> <helper args...> -- <baseline name> <baseline args...>
  local label=$1; shift
  local helper_args=() base
  while [ "$1" != "--" ]; do helper_args+=("$1"); shift; done
  shift; base=$1; shift
  "$helper" "${helper_args[@]}" || { echo "helper_vs_c: the helper failed ($label)" >&2; exit 1; }
  echo "== $label: helper A, C B ($runs runs each, alternating)"
  for variant in _static ""; do
    echo "-- against $base$variant"
    "$timer" "$runs" "$helper" "${helper_args[@]}" -- "$bench/$base$variant" "$@"
  done
  if command -v strace >/dev/null; then
    echo "system calls: helper $(syscalls "$helper" "${helper_args[@]}"), static C $(syscalls "$bench/${base}_static" "$@"), C $(syscalls "$bench/$base" "$@")"
  fi
}

compare "owner branch" -f "$work/job.xml" -- baseline_helper_job "$work/job.xml" "$file" "$owner" "$group" 0750
compare "list branch" -a -f "$work/job.xml" -- baseline_helper_acl_job "$work/job.xml" "$file" "$acl"
