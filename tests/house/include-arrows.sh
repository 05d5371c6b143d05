#!/usr/bin/env bash
# include-arrows ROOT: fails where an include of the tree under ROOT points the wrong way.
#
#    tools/  bench/  examples/        may include trie/ and platform/
#           trie/                     may include platform/
#         platform/                   includes only itself, fmt and the system
#
# In platform/ and trie/ every include is spelled from the root, as a user of the installed headers spells it.
set -euo pipefail
cd "${1:?usage: include-arrows.sh ROOT}"

# mayInclude FOLDER: the folders that quoted includes in FOLDER may name; empty means any.
mayInclude() {
   case $1 in
      platform) echo platform ;;
      trie) echo 'platform|trie' ;;
      examples) echo 'platform|trie|examples' ;;
   esac
}

faults=0
fault() {
   printf '%s\n' "$*" >&2
   faults=$((faults + 1))
}

checkFile() {
   local file=$1 allowed line number name
   allowed=$(mayInclude "${file%%/*}")
   while IFS=: read -r number line; do
      if [[ $line =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*\"([^\"]*)\" ]]; then
         name=${BASH_REMATCH[1]}
         [[ $name =~ ^($allowed)/ ]] || fault "$file:$number: may not include \"$name\" (only $allowed/)"
         [[ -f $name ]] || fault "$file:$number: no file \"$name\" under the root"
      elif [[ $line =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*\<([^\>]*)\> ]]; then
         name=${BASH_REMATCH[1]}
         if [[ $name == */* && ! $name =~ ^(fmt|sys|arpa|netinet|sanitizer)/ ]]; then
            fault "$file:$number: may not include <$name> (of folders only fmt/ and those of the system)"
         fi
      else
         fault "$file:$number: an include that this check cannot read: $line"
      fi
   done < <(grep -nE '^[[:space:]]*#[[:space:]]*(include|import)' "$file" || true)
}

files=0
while IFS= read -r file; do
   checkFile "$file"
   files=$((files + 1))
done < <(find platform trie examples -type f \( -name '*.h' -o -name '*.cpp' \) | sort)

printf '%d files, %d includes that point the wrong way\n' "$files" "$faults"
((files > 0 && faults == 0))
