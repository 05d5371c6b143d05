#!/bin/sh
# must-not-compile.sh FILE COMPILER...: passes if the compiler refuses the file with the text that its first line expects;
# a file that expects nothing must compile.
file=$1
shift
expected=$(sed -n '1s|^// expects: ||p' "$file")
said=$("$@" -fsyntax-only "$file" 2>&1)
status=$?
if [ -z "$expected" ]; then
   [ "$status" -eq 0 ] && exit 0
   printf 'does not compile:\n%s\n' "$said"
   exit 1
fi
if [ "$status" -eq 0 ]; then
   echo "compiles, and should fail with: $expected"
   exit 1
fi
if ! printf '%s\n' "$said" | grep -qF "$expected"; then
   printf 'fails without the text "%s":\n%s\n' "$expected" "$said"
   exit 1
fi
