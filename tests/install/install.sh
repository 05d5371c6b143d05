#!/usr/bin/env bash
# install BUILD SCRATCH SOURCE: the ways in which a project comes by the library, each tried with the one in consumer/.
#  - installed from BUILD into SCRATCH, moved, and used through find_package, through pkg-config and as a command. Moved,
#    because nothing installed may lean on the folder it was built for;
#  - SOURCE as a part of the project, by add_subdirectory and by FetchContent: what that sets up is checked, with ROUTETRIE_FULL=1;
#  - with ROUTETRIE_INSTALL_ALL=1 these two are built as well, one shared and one static, and a static library is built, installed and
#    used: three times the whole library.
# The environment names the tools: CMAKE, CXX, PKG_CONFIG; LIBDIR is the prefix's folder of libraries, VERSION what was built.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
usage='usage: install.sh BUILD SCRATCH SOURCE'
build=${1:?$usage}
scratch=${2:?$usage}
source=${3:?$usage}

rm -rf "$scratch"
mkdir -p "$scratch"
cd "$scratch"
modules=$(find "$source/tests/golden/modules" -name '*.txt' | wc -l)

expect() {
   local got
   got=$("${@:2}")
   [[ $got == "$1" ]] || { printf 'expected "%s" of: %s\ngot "%s"\n' "$1" "${*:2}" "$got" >&2; exit 1; }
}

# logged LOG COMMAND...: prints the log where the command fails.
logged() {
   "${@:2}" >>"$1" 2>&1 || { cat "$1" >&2; exit 1; }
}

# consumer FOLDER CMAKE-OPTION...: configures the consumer's project there; built FOLDER: builds and runs it.
consumer() {
   logged "$1.log" "$CMAKE" -S "$here/consumer" -B "$1" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" "${@:2}"
}
built() {
   logged "$1.log" "$CMAKE" --build "$1"
   expect "10.0.0.0/8 $modules 7" "$1/consumer"
   expect '10.0.0.0/8 8' "$1/values"
   expect 9 "$1/shared"
}

# package PREFIX: uses what is installed there, by find_package and by pkg-config.
package() {
   consumer "$1-consumer" -DFROM=package -DCMAKE_PREFIX_PATH="$PWD/$1"
   built "$1-consumer"
   local flags
   export PKG_CONFIG_PATH=$PWD/$1/$LIBDIR/pkgconfig
   expect "$VERSION" "$PKG_CONFIG" --modversion routetrie
   read -ra flags < <("$PKG_CONFIG" --cflags --libs routetrie)
   "$CXX" -std=c++20 "$here/consumer/consumer.cpp" -o "$1-plain" "${flags[@]}" -I"$here/consumer/own"
   LD_LIBRARY_PATH=$PWD/$1/$LIBDIR expect "10.0.0.0/8 $modules 7" "./$1-plain"
   [[ " ${flags[*]} " != *urcu* ]] || { printf 'who wants the library alone gets liburcu\n' >&2; exit 1; }
   read -ra flags < <("$PKG_CONFIG" --cflags --libs routetrie-shared)
   "$CXX" -std=c++20 "$here/consumer/shared.cpp" -o "$1-shared" "${flags[@]}"
   LD_LIBRARY_PATH=$PWD/$1/$LIBDIR expect 9 "./$1-shared"
}

#--- installed ---

logged install.log "$CMAKE" --install "$build" --prefix "$PWD/prefix"
mv prefix moved
soname=$(readelf -d "moved/$LIBDIR/libroutetrie.so" | sed -n 's/.*(SONAME).*\[\(.*\)\].*/\1/p')
expect "libroutetrie.so.${VERSION%.*}" echo "$soname"
[[ -e moved/$LIBDIR/$soname ]] || { printf 'no %s is installed\n' "$soname" >&2; exit 1; }
expect routetrie ls moved/include
package moved
if [[ -x $build/tools/rtrie/rtrie ]]; then
   printf '10.0.0.0/8 ten\n' >table
   expect $'10.1.2.3/32\t10.0.0.0/8' moved/bin/rtrie lookup --table table --format tsv 10.1.2.3
   # Of each command that its help lists there is a page, and both shells' completion knows it.
   read -rd '' -a commands < <(moved/bin/rtrie --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p') || true
   ((${#commands[@]} > 10)) || { printf 'the help lists %d commands\n' "${#commands[@]}" >&2; exit 1; }
   expect "$({ echo rtrie.1 && printf 'rtrie-%s.1\n' "${commands[@]}"; } | LC_ALL=C sort)" env LC_ALL=C \
      ls moved/share/man/man1
   for completion in bash-completion/completions/rtrie zsh/site-functions/_rtrie; do
      for command in "${commands[@]}"; do
         grep -q "^ *$command)$" "moved/share/$completion" ||
            { printf '%s does not know %s\n' "$completion" "$command" >&2; exit 1; }
      done
   done
fi

#--- a part of another project ---

if [[ ${ROUTETRIE_FULL:-} != 1 && ${ROUTETRIE_INSTALL_ALL:-} != 1 ]]; then
   printf 'used: installed (ROUTETRIE_FULL=1 configures it as a part of another project, ROUTETRIE_INSTALL_ALL=1 builds that and more)\n'
   exit
fi
consumer subdirectory -DFROM=subdirectory -DSOURCE="$source"
consumer fetch -DFROM=fetch -DSOURCE="$source" -DBUILD_SHARED_LIBS=OFF

if [[ ${ROUTETRIE_INSTALL_ALL:-} != 1 ]]; then
   printf 'used: installed; configured: as a part of another project (ROUTETRIE_INSTALL_ALL=1 builds it, and a static one)\n'
   exit
fi
built subdirectory
built fetch
"$CMAKE" --install subdirectory --prefix "$PWD/nothing" >install.log
[[ ! -e nothing ]] || { printf 'a part of another project is installed with it:\n' >&2; find nothing >&2; exit 1; }

#--- static ---

logged static.log "$CMAKE" -S "$source" -B static -G Ninja -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_BUILD_TYPE=Debug \
   -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DBUILD_SHARED_LIBS=OFF -DROUTETRIE_BUILD_TESTS=OFF -DROUTETRIE_BUILD_TOOL=OFF
logged static.log "$CMAKE" --build static
logged static.log "$CMAKE" --install static --prefix "$PWD/static-prefix"
mv static-prefix static-moved
[[ -e static-moved/$LIBDIR/libroutetrie.a ]] || { printf 'no static library is installed\n' >&2; exit 1; }
package static-moved
printf 'used: installed, shared and static; as a part of another project, by add_subdirectory and FetchContent\n'
