#!/usr/bin/env bash
# dev-interrupt DEV: presses Ctrl-C while a copy of DEV installs packages, which stand-ins on the PATH only pretend to. The
# installation has to finish, and nothing has to come after it.
set -euo pipefail
dev=$(realpath "${1:?usage: dev-interrupt.sh DEV}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
mkdir bin
cp "$dev" dev

printf '#!/bin/sh\nexit 1\n' >bin/dpkg-query  # nothing is installed
cat >bin/apt-get <<'END'
#!/bin/bash
[[ " $* " == *" install "* ]] || exit 0
echo begun >>SCRATCH/installation
sleep 1
echo finished >>SCRATCH/installation
END
cat >bin/sudo <<'END'
#!/bin/bash
[[ $1 != -n ]] || shift
exec "$@"
END
printf '#!/bin/sh\ntouch SCRATCH/built\n' >bin/cmake
sed -i "s#SCRATCH#$scratch#" bin/*
chmod +x bin/*

# A process group of its own stands for the terminal's foreground, which is whom Ctrl-C reaches.
PATH=$scratch/bin:$PATH perl -e 'setpgrp; $SIG{INT} = "DEFAULT"; exec @ARGV' bash ./dev test >out 2>&1 &
pid=$!
for _ in {1..600}; do
   [[ ! -e installation ]] || break
   sleep 0.1
done
kill -INT -- "-$pid"
status=0
wait "$pid" || status=$?

faults=0
fault() {
   printf '%s\n' "$*" >&2
   faults=$((faults + 1))
}
[[ $(tr '\n' ' ' <installation) == "begun finished " ]] || fault "the installation was cut off"
[[ $status == 130 ]] || fault "exit status $status, not 130"
[[ ! -e built ]] || fault "the build began"
grep -q '^dev: interrupted$' out || fault "no word of the interruption"
((faults == 0)) || { cat out >&2; exit 1; }
printf 'the installation finished, and nothing came after it\n'
