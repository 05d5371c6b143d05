#!/usr/bin/env bash
# public-headers ROOT: fails where a header of routetrie/ is no fit guest in a user's program. Each has to open
# with `#pragma once` before any code, to leave streams to <iosfwd>, to define no macro but the project's own
# (ROUTETRIE_...), and to open no namespace for the user. X.cpp beside X.h has to include that one before anything else, for
# then its object shows that the header needs nothing before it.
set -euo pipefail
cd "${1:?usage: public-headers.sh ROOT}"

faults=0
fault() {
   printf '%s\n' "$*" >&2
   faults=$((faults + 1))
}

files=0
while IFS= read -r file; do
   files=$((files + 1))
   first=$(grep -vE '^[[:space:]]*(//.*)?$' "$file" | head -n 1 || true)
   [[ $first == '#pragma once' ]] || fault "$file: the first line of code is not #pragma once"
   while IFS= read -r line; do
      fault "$file:$line: <iosfwd> has to do in a header"
   done < <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<(iostream|ostream|istream|sstream|fstream|iomanip|fmt/ostream\.h)>' "$file" || true)
   while IFS= read -r line; do
      fault "$file:$line: a macro that is not named ROUTETRIE_..."
   done < <(grep -nE '^[[:space:]]*#[[:space:]]*define[[:space:]]' "$file" | grep -vE 'define[[:space:]]+ROUTETRIE_[A-Z_]+' || true)
   while IFS= read -r line; do
      fault "$file:$line: opens a namespace for whoever includes it"
   done < <(grep -nE '^using namespace' "$file" || true)
   source=${file%.h}.cpp
   if [[ -f $source ]]; then
      first=$(grep -m 1 -E '^[[:space:]]*#[[:space:]]*include' "$source" || true)
      [[ $first == "#include \"$file\"" ]] || fault "$source: the first include is not \"$file\""
   fi
done < <(find routetrie -type f -name '*.h' | sort)

printf '%d headers, %d faults\n' "$files" "$faults"
((files > 0 && faults == 0))
