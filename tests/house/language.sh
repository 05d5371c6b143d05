#!/usr/bin/env bash
# language ROOT [COMPILER...]: fails unless the headers of routetrie/ tell in one line what they need of the compiler. Each
# header has to include one of the library's, if only routetrie/platform/Language.h, which is then the first of their lines
# that a compiler meets. With a compiler, the doors are compiled as they may not be: it has to print one error.
set -euo pipefail
cd "${1:?usage: language.sh ROOT [COMPILER...]}"
shift

faults=0
fault() {
   printf '%s\n' "$*" >&2
   faults=$((faults + 1))
}

files=0
while IFS= read -r file; do
   files=$((files + 1))
   grep -qE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"routetrie/' "$file" || [[ $file == routetrie/platform/Language.h ]] ||
      fault "$file: includes none of the library's headers, so it has to include \"routetrie/platform/Language.h\""
done < <(find routetrie -type f -name '*.h' | sort)

# refuses TEXT DOOR OPTION...: the compiler prints one error, which has the text.
refuses() {
   local text=$1 door=$2 said
   shift 2
   said=$(printf '#include <%s>\n' "$door" | "${compiler[@]}" -I. "$@" -x c++ -fsyntax-only - 2>&1) &&
      { fault "$door: compiles with $*"; return; }
   [[ $(grep -c 'error: ' <<<"$said") == 1 ]] && grep 'error: ' <<<"$said" | grep -qF "$text" ||
      fault "$door: with $* the compiler says, and not \"$text\" alone: $(grep -m 3 'error: ' <<<"$said")"
}

# Each door with one of the three, in turns, at full size; else one of four, and of clang, which reads on after an error, a few.
compiler=("$@")
if ((${#compiler[@]})); then
   turn=0
   every=12
   [[ ${ROUTETRIE_FULL:-} != 1 ]] || every=3
   ! "${compiler[0]}" --version | grep -q clang || every=60
   isTurn() { ((turn % every == every / 3 * $1)); }
   while IFS= read -r door; do
      ! isTurn 0 || refuses 'routetrie needs C++20: compile with -std=c++20' "$door" -std=c++17
      ! isTurn 1 || refuses 'routetrie needs exceptions: compile without -fno-exceptions' "$door" -std=c++20 -fno-exceptions
      ! isTurn 2 || refuses 'routetrie needs run-time type information: compile without -fno-rtti' "$door" -std=c++20 -fno-rtti
      turn=$((turn + 1))
   done < <(find routetrie -maxdepth 2 -name '*.h' | sort)
fi

printf '%d headers, %d faults\n' "$files" "$faults"
((files > 0 && faults == 0))
