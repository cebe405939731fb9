#!/usr/bin/env bash
# Where a helper run's time goes, next to the static C program doing the same job
# (bench/helper_job.c): the system calls of one run of each, side by side (strace -c), the
# page faults, context switches and CPU time of <runs> runs (perf stat), the split of the
# run into its start (the image, the libraries' start-up, the preference load, exit) and its
# job, each against its C counterpart (bench/start_and_exit.c), and the functions, user and
# kernel, that the samples of <runs> helper runs land in (perf record).
#   bench/helper_breakdown.sh [runs] [build folder] [-a]
# Needs strace and perf (Debian's linux-perf); a machine without hardware counters still
# gives the software ones.
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-500}
build=${2:-build}
branch=${3:-}
cmake --build "$build" --target grantwright-helper baseline_helper_job_static \
  baseline_helper_acl_job_static baseline_start_and_exit_static spawn_timer >/dev/null
source bench/job_scene.sh
helper=$(installed "$build/grantwright-helper")
for program in baseline_helper_job_static baseline_helper_acl_job_static baseline_start_and_exit_static; do
  installed "$build/bench/$program" >/dev/null
done
bench=$work/bin
timer=$PWD/$build/bench/spawn_timer
if [ "$branch" = "-a" ]; then
  a=("$helper" -a -f "$work/job.xml")
  b=("$bench/baseline_helper_acl_job_static" "$work/job.xml" "$file" "$acl")
else
  a=("$helper" -f "$work/job.xml")
  b=("$bench/baseline_helper_job_static" "$work/job.xml" "$file" "$owner" "$group" 0750)
fi
"${a[@]}" >/dev/null || { echo "helper_breakdown: the helper failed" >&2; exit 1; }

calls() {  # <trace file> <command...>: how many times the command makes each system call
  local trace=$1; shift
  strace -f -o "$trace" "$@" >/dev/null 2>&1
  grep -v -E '^([0-9]+ +)?(\+\+\+|---)' "$trace" | sed -E 's/^[0-9]+ +//; s/\(.*//' | sort | uniq -c | sort -k2
}
echo "== system calls of one run: helper | static C"
join -1 2 -2 2 -a 1 -a 2 -e 0 -o 0,1.1,2.1 <(calls "$work/a.trace" "${a[@]}") <(calls "$work/b.trace" "${b[@]}") |
  awk '{printf "  %-20s %4d %4d\n", $1, $2, $3; x += $2; y += $3} END {printf "  %-20s %4d %4d\n", "total", x, y}'

loop() { for ((i = 0; i < runs; ++i)); do "$@" >/dev/null; done; }
export -f loop
for side in helper C; do
  if [ "$side" = helper ]; then cmd=("${a[@]}"); else cmd=("${b[@]}"); fi
  echo "== perf stat, $runs runs of the $side"
  perf stat -x, -e task-clock,page-faults,context-switches -r "$runs" "${cmd[@]}" 2>&1 >/dev/null |
    awk -F, '{printf "  %-18s %12s %s  (+- %s)\n", $3, $1, $2, $4}'
done

# The helper given no arguments loads its preferences, refuses the command line and exits:
# everything of a run but the job.
echo "== the start alone: the helper with no arguments | a static C program that only exits"
"$timer" "$runs" "$helper" -- "$bench/baseline_start_and_exit_static" | sed 's/^/  /'
echo "== the job alone: the run | the start alone, for the helper and for C"
"$timer" "$runs" "${a[@]}" -- "$helper" | sed 's/^/  helper /'
"$timer" "$runs" "${b[@]}" -- "$bench/baseline_start_and_exit_static" | sed 's/^/  C      /'

echo "== where the helper's samples land ($runs runs, cpu-clock), top 30"
perf record -q -e cpu-clock -F 20000 -o "$work/perf.data" -- bash -c "$(declare -f loop); runs=$runs; loop $(printf '%q ' "${a[@]}")" >/dev/null 2>&1
perf report -i "$work/perf.data" --comm grantwright-hel --no-children --sort dso,sym --stdio 2>/dev/null |
  grep -v "^#" | grep . | cut -c1-120 | head -30
