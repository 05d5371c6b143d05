#!/usr/bin/env bash
# include-arrows ROOT: fails where an include of the tree under ROOT points the wrong way.
#
#    tools/rtrie/  bench/             may include tools/tables/
#    tools/tables/  examples/         may include the library
#       |
#    routetrie/*.h  table/            the table and its faces: platform/, and nothing of trie/; shared_table.h alone, shared/ too
#    routetrie/shared/                what readers on other threads are known by: platform/, and its sources liburcu
#    routetrie/trie/front/            multibit/, patricia/
#    routetrie/trie/multibit/         of patricia/ one callback type, which its walks take too (and its place in a module record)
#    routetrie/trie/patricia/         no other room
#    routetrie/trie/intrusive/        no other room
#    routetrie/trie/BulkDescent.h ... what the engines share
#    routetrie/trie/Patricia.h ...    the doors: each includes the room behind it
#       |
#    routetrie/platform/              only itself, fmt and the system
#
# In the library every include is spelled from the root, with the package's name, as a user of the installed headers
# spells it. Examples are such users: <routetrie/...>.
set -euo pipefail
cd "${1:?usage: include-arrows.sh ROOT}"

# findAllowed FILE: the paths that includes in FILE may name, as an extended regular expression, in `allowed`.
findAllowed() {
   local platform='routetrie/platform/.*|routetrie/platform/[A-Za-z]+\.h' shared='routetrie/trie/(BulkDescent|WalkGuard)\.h'
   local doors='routetrie/trie/(Patricia|Multibit|Intrusive|Fronts)\.h'
   case $1 in
      routetrie/platform/*) allowed="$platform" ;;
      routetrie/trie/front/*) allowed="$platform|$shared|routetrie/trie/(front|multibit|patricia)/.*" ;;
      routetrie/trie/multibit/*)
         allowed="$platform|$shared|routetrie/trie/multibit/.*|routetrie/trie/patricia/PatriciaTrie(WalkCb|Module)\.h" ;;
      routetrie/trie/patricia/*) allowed="$platform|$shared|routetrie/trie/patricia/.*" ;;
      routetrie/trie/intrusive/*) allowed="$platform|$shared|routetrie/trie/intrusive/.*" ;;
      routetrie/trie/Patricia.h) allowed='routetrie/trie/patricia/.*' ;;
      routetrie/trie/Multibit.h) allowed='routetrie/trie/multibit/.*' ;;
      routetrie/trie/Intrusive.h) allowed='routetrie/trie/intrusive/.*' ;;
      routetrie/trie/Fronts.h) allowed="routetrie/trie/front/.*|$doors" ;;
      routetrie/trie/*) allowed="$platform" ;;
      routetrie/shared/*) allowed="$platform|routetrie/shared/.*" ;;
      routetrie/shared_table.h) allowed="$platform|routetrie/[a-z_0-9]+\.h|routetrie/(table|shared)/.*" ;;
      routetrie/*) allowed="$platform|routetrie/[a-z_0-9]+\.h|routetrie/table/.*" ;;
      examples/*) allowed='routetrie/.*' ;;
      bench/*) allowed='routetrie/.*|bench/.*|tools/tables/.*' ;;
      tools/tables/*) allowed='routetrie/.*|tools/tables/.*' ;;
      tools/*) allowed='routetrie/.*|tools/.*' ;;
   esac
}

faults=0
fault() {
   printf '%s\n' "$*" >&2
   faults=$((faults + 1))
}

checkLine() {
   local file=$1 number=$2 line=$3 name
   if [[ $line =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*\"([^\"]*)\" ]]; then
      name=${BASH_REMATCH[1]}
      [[ $name =~ ^($allowed)$ ]] || fault "$file:$number: may not include \"$name\""
      [[ $file != examples/* ]] || fault "$file:$number: an example includes <$name>, as a user does"
      [[ -f $name ]] || fault "$file:$number: no file \"$name\" under the root"
   elif [[ $line =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*\<([^\>]*)\> ]]; then
      name=${BASH_REMATCH[1]}
      if [[ $file == examples/* && $name == routetrie/* ]]; then
         [[ -f $name ]] || fault "$file:$number: no file \"$name\" under the root"
      elif [[ ($file == routetrie/* || $file == examples/*) && $name == */* ]]; then
         [[ $name =~ ^(fmt|sys|arpa|netinet|sanitizer)/ || ($file == routetrie/shared/*.cpp && $name == urcu/*) ]] ||
            fault "$file:$number: may not include <$name> (of folders only fmt/ and those of the system)"
      fi
   else
      fault "$file:$number: an include that this check cannot read: $line"
   fi
}

# One search for all of them: a process for each file would take seconds.
mapfile -t files < <(find routetrie examples bench tools -type f \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null | sort)
last=
while IFS=: read -r file number line; do
   [[ $file == "$last" ]] || findAllowed "$file"
   last=$file
   checkLine "$file" "$number" "$line"
done < <(grep -nHE '^[[:space:]]*#[[:space:]]*(include|import)' "${files[@]}" </dev/null || true)

printf '%d files, %d includes that point the wrong way\n' "${#files[@]}" "$faults"
((${#files[@]} > 0 && faults == 0))
