#!/usr/bin/env bash
# Whole-process timing of the round trip on <files> files (default 1000), each with a list
# of named entries: per file, `grantwright capture` then `grantwright-helper -a -f` (and,
# for scale, `-f`), against `getfacl` then `setfacl --restore`, one process each per file.
# Prints the time per file of each and the ratio of the -a round trip to getfacl/setfacl.
#   bench/capture_restore.sh [files] [build folder]
set -euo pipefail
cd "$(dirname "$0")/.."
files=${1:-1000}
build=${2:-build}
cmake --build "$build" --target grantwright grantwright-helper >/dev/null
cli=$PWD/$build/grantwright
helper=$PWD/$build/grantwright-helper

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/files" "$work/configs" "$work/lists"
for ((i = 0; i < files; i++)); do
  f="$work/files/f$i"
  echo x >"$f"
  chmod 0640 "$f"
done
setfacl -m u:daemon:r--,g:nogroup:rw- "$work"/files/*

now() { date +%s%N; }

# Both sides write their text through standard output into a file, with no fsync; capture
# -o, which replaces its file durably (fsync of the file and the folder), is timed apart.
t0=$(now)
for ((i = 0; i < files; i++)); do
  "$cli" capture "$work/files/f$i" >"$work/configs/f$i.xml"
done
t1=$(now)
for ((i = 0; i < files; i++)); do
  "$helper" -a -f "$work/configs/f$i.xml"
done
t2=$(now)
for ((i = 0; i < files; i++)); do
  "$helper" -f "$work/configs/f$i.xml"
done
t3=$(now)
for ((i = 0; i < files; i++)); do
  getfacl -p "$work/files/f$i" >"$work/lists/f$i.acl" 2>/dev/null
done
t4=$(now)
(cd / && for ((i = 0; i < files; i++)); do
  setfacl --restore="$work/lists/f$i.acl"
done)
t5=$(now)
for ((i = 0; i < files; i++)); do
  "$cli" capture "$work/files/f$i" -o "$work/configs/f$i.xml" 2>/dev/null
done
t6=$(now)

per() { awk -v ns="$1" -v n="$files" 'BEGIN { printf "%.3f ms", ns / n / 1e6 }'; }
echo "per file ($files files):"
echo "  grantwright capture       $(per $((t1 - t0)))"
echo "  grantwright capture -o    $(per $((t6 - t5)))  (durable: fsync of file and folder)"
echo "  grantwright-helper -a -f  $(per $((t2 - t1)))"
echo "  grantwright-helper -f     $(per $((t3 - t2)))"
echo "  getfacl                   $(per $((t4 - t3)))"
echo "  setfacl --restore         $(per $((t5 - t4)))"
awk -v a=$((t1 - t0)) -v b=$((t2 - t1)) -v c=$((t4 - t3)) -v d=$((t5 - t4)) -v e=$((t2 - t1)) \
  'BEGIN { printf "ratio, capture + helper -a to getfacl + setfacl --restore: %.2f\n", (a + b) / (c + d);
           printf "ratio, helper -a to setfacl --restore: %.2f\n", e / d }'
