#!/usr/bin/env bash
# install BUILD SCRATCH: installs the build into SCRATCH/prefix, moves it, and uses it from there through find_package,
# through pkg-config and as a command. Moved, because nothing installed may lean on the folder it was built for.
# The environment names the tools: CMAKE, CXX, PKG_CONFIG; LIBDIR is the prefix's folder of libraries, VERSION what was built.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=${1:?usage: install.sh BUILD SCRATCH}
scratch=${2:?usage: install.sh BUILD SCRATCH}

rm -rf "$scratch"
mkdir -p "$scratch"
cd "$scratch"

"$CMAKE" --install "$build" --prefix "$scratch/prefix" >install.log
mv prefix moved
prefix=$scratch/moved

expect() {
   local got
   got=$("${@:2}")
   [[ $got == "$1" ]] || { printf 'expected "%s" of: %s\ngot "%s"\n' "$1" "${*:2}" "$got" >&2; exit 1; }
}

"$CMAKE" -S "$here/consumer" -B consumer -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" >consumer.log
"$CMAKE" --build consumer >>consumer.log || { cat consumer.log >&2; exit 1; }
expect 10.0.0.0/8 consumer/consumer

export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
expect "$VERSION" "$PKG_CONFIG" --modversion routetrie
read -ra flags < <("$PKG_CONFIG" --cflags --libs routetrie)
"$CXX" -std=c++20 "$here/consumer/consumer.cpp" -o plain "${flags[@]}"
LD_LIBRARY_PATH=$prefix/$LIBDIR expect 10.0.0.0/8 ./plain

if [[ -x $build/tools/rtrie/rtrie ]]; then
   printf '10.0.0.0/8 ten\n' >table
   expect $'10.1.2.3/32\t10.0.0.0/8' "$prefix/bin/rtrie" lookup --table table --format tsv 10.1.2.3
fi
printf 'installed, moved and used through find_package, pkg-config and the command\n'
