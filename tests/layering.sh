#!/usr/bin/env bash
# Fails when a file under src/ includes a header of a floor above its own, or of a folder
# that stands on no floor.
#   layering.sh <src folder> <floor>...
# Floors come top first; each is one argument naming its folders, separated by blanks.
set -euo pipefail
src=$1
shift
declare -A level
i=0
for floor in "$@"; do
  for dir in $floor; do level[$dir]=$i; done
  i=$((i + 1))
done

status=0
for folder in "$src"/*/; do
  dir=${folder%/}
  dir=${dir##*/}
  if [ -z "${level[$dir]+set}" ]; then
    echo "$folder stands on no floor"
    status=1
  fi
done
# One line per file and folder it includes from: "src/xml/XMLData.cpp:#include "platform/".
while IFS= read -r hit; do
  file=${hit%%:*}
  dir=${file%/*}
  dir=${dir##*/}
  target=${hit#*:#include \"}
  target=${target%/}
  if [ -z "${level[$target]+set}" ]; then
    echo "$file includes from $target/, which stands on no floor"
    status=1
  elif [ -n "${level[$dir]+set}" ] && [ "${level[$target]}" -lt "${level[$dir]}" ]; then
    echo "$file includes from $target/, a floor above its own"
    status=1
  fi
done < <(grep -roE '^#include "[A-Za-z_]+/' "$src" | sort -u)
exit $status
