#!/usr/bin/env bash
# exported-symbols LIBRARY LIST: fails if what LIBRARY exports differs from the committed LIST, which `./dev symbols`
# rewrites (exported-symbols --update LIBRARY LIST).
#
# The list holds functions and data alone, strong ones, in plain C++, sorted: that is the same whatever the compiler.
# Inline functions and instantiated templates are weak, and come and go with its choices; tables of virtual functions and
# type information are weak to one compiler and strong to another.
set -euo pipefail

update=
if [[ ${1:-} == --update ]]; then
   update=1
   shift
fi
library=${1:?usage: exported-symbols.sh [--update] LIBRARY LIST}
list=${2:?usage: exported-symbols.sh [--update] LIBRARY LIST}

exported() {
   nm --dynamic --defined-only --demangle "$library" | sed -nE 's/^[0-9a-f]+ [TDBR] //p' |
      grep -vE '^((construction )?vtable|VTT|typeinfo( name)?) for ' | LC_ALL=C sort -u
}

if [[ $update ]]; then
   exported >"$list"
   printf '%d exported symbols\n' "$(wc -l <"$list")"
   exit
fi
now=$(exported)
if ! diff --label "$list" --label "$library" -u "$list" <(printf '%s\n' "$now") >&2; then
   printf 'the exported symbols changed; if that is meant, run ./dev symbols and commit the list\n' >&2
   exit 1
fi
printf '%d exported symbols, as listed\n' "$(wc -l <"$list")"
