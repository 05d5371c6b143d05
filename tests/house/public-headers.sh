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

# reports TEXT PATTERN: each line that matches, of any header, but for what $exempt matches.
reports() {
   local text=$1 pattern=$2 file line
   while IFS= read -r line; do
      fault "${line}: $text"
   done < <(grep -nHE "$pattern" "${headers[@]}" | grep -vE "${exempt:-^$}" || true)
}

mapfile -t headers < <(find routetrie -type f -name '*.h' | sort)
((${#headers[@]} > 0)) || { echo 'no headers'; exit 1; }

for file in "${headers[@]}"; do
   [[ -s $file ]] || fault "$file: has nothing in it"
done
# A process for each header would take seconds.
while IFS= read -r file; do
   fault "$file: the first line of code is not #pragma once"
done < <(awk '
   function end() { if (file != "" && first != "#pragma once") print file }
   FNR == 1 { end(); file = FILENAME; first = "" }
   first == "" && !/^[[:space:]]*(\/\/.*)?$/ { first = $0 }
   END { end() }' "${headers[@]}")
reports '<iosfwd> has to do in a header' \
   '^[[:space:]]*#[[:space:]]*include[[:space:]]*<(iostream|ostream|istream|sstream|fstream|iomanip|fmt/ostream\.h)>'
exempt='define[[:space:]]+ROUTETRIE_[A-Z_]+' reports 'a macro that is not named ROUTETRIE_...' \
   '^[[:space:]]*#[[:space:]]*define[[:space:]]'
reports 'opens a namespace for whoever includes it' '^using namespace'

sources=()
for file in "${headers[@]}"; do
   [[ ! -f ${file%.h}.cpp ]] || sources+=("${file%.h}.cpp")
done
while IFS= read -r source; do
   fault "$source: the first include is not \"${source%.cpp}.h\""
done < <(((${#sources[@]} == 0)) || awk '
   function end() { if (file != "" && first != "#include \"" substr(file, 1, length(file) - 4) ".h\"") print file }
   FNR == 1 { end(); file = FILENAME; first = "" }
   first == "" && /^[[:space:]]*#[[:space:]]*include/ { first = $0 }
   END { end() }' "${sources[@]}")

printf '%d headers, %d faults\n' "${#headers[@]}" "$faults"
((faults == 0))
