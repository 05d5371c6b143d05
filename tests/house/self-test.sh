#!/usr/bin/env bash
# self-test HOUSE: plants one fault of each kind in a scratch tree, and fails if the checks of the folder HOUSE do not
# name it. A check that lets its own fault pass checks nothing.
set -euo pipefail
house=$(cd "${1:?usage: self-test.sh HOUSE}" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

tree() {
   rm -rf "$scratch/tree"
   mkdir -p "$scratch"/tree/{platform/Corvid,trie,examples,tests}
   cd "$scratch/tree"
   printf '#pragma once\n\n#include <fmt/core.h>\n#include <iosfwd>\n' >platform/Corvid/Node.h
   printf '// Trie: a header.\n#pragma once\n\n#include "platform/Corvid/Node.h"\n' >trie/Trie.h
   printf '#include "trie/Trie.h"\n// #include "tools/Spoken.h"\nvoid f() { ROUTETRIE_ASSERT(word  <\n 4); }\n' >trie/Trie.cpp
   printf '#include "trie/Trie.h"\nint main() {}\n' >examples/example.cpp
   printf 'EXPECT_DEATH(f(), "word < 4");\n' >tests/TrieTest.cpp
}

checks=0
# passes CHECK; catches WORDS CHECK: the check must pass; must fail and print the words.
passes() {
   checks=$((checks + 1))
   "$house/$1" . >"$scratch/out" 2>&1 || { printf 'FAILED on a sound tree: %s\n' "$1"; cat "$scratch/out"; exit 1; }
}
catches() {
   checks=$((checks + 1))
   if "$house/$2" . >"$scratch/out" 2>&1 || ! grep -qF -- "$1" "$scratch/out"; then
      printf 'NOT CAUGHT by %s: %s\n' "$2" "$1"
      cat "$scratch/out"
      exit 1
   fi
}

tree
passes include-arrows.sh
passes public-headers.sh
passes assertion-texts.pl

arrows=include-arrows.sh
tree; echo '#include "trie/Trie.h"' >>platform/Corvid/Node.h
catches 'platform/Corvid/Node.h:5: may not include "trie/Trie.h"' $arrows
tree; echo '  #  include "tools/rtrie/Table.h"' >>trie/Trie.cpp
catches 'trie/Trie.cpp:5: may not include "tools/rtrie/Table.h"' $arrows
tree; echo '#include "bench/Bench.h"' >>trie/Trie.h
catches 'trie/Trie.h:5: may not include "bench/Bench.h"' $arrows
tree; echo '#include "Node.h"' >>platform/Corvid/Node.h
catches 'platform/Corvid/Node.h:5: may not include "Node.h"' $arrows
tree; echo '#include "platform/Corvid/Absent.h"' >>trie/Trie.h
catches 'trie/Trie.h:5: no file "platform/Corvid/Absent.h"' $arrows
tree; echo '#include <trie/Trie.h>' >>platform/Corvid/Node.h
catches 'platform/Corvid/Node.h:5: may not include <trie/Trie.h>' $arrows
tree; echo '#include "tools/rtrie/Table.h"' >>examples/example.cpp
catches 'examples/example.cpp:3: may not include' $arrows
tree; echo '#include SOME_HEADER' >>trie/Trie.h
catches 'trie/Trie.h:5: an include that this check cannot read' $arrows
tree; rm -r platform trie examples; mkdir platform trie examples
catches '0 files' $arrows

headers=public-headers.sh
tree; echo '#include <ostream>' >>trie/Trie.h
catches 'trie/Trie.h:5:#include <ostream>: <iosfwd> has to do' $headers
tree; echo '#include <iostream>' >>platform/Corvid/Node.h
catches 'platform/Corvid/Node.h:5:#include <iostream>' $headers
tree; echo '#define MAX_LEN 32' >>trie/Trie.h
catches 'trie/Trie.h:5:#define MAX_LEN 32: a macro' $headers
tree; echo 'using namespace std;' >>trie/Trie.h
catches 'trie/Trie.h:5:using namespace std;: opens' $headers
tree; sed -i 2d trie/Trie.h
catches 'trie/Trie.h: the first line of code is not #pragma once' $headers

texts=assertion-texts.pl
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }' >>trie/Trie.cpp
catches 'trie/Trie.cpp:5: no death test quotes this assertion: len <= 32' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }  // cannot fail: it is masked' >>trie/Trie.cpp
passes $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }  // cannot fail:' >>trie/Trie.cpp
catches 'trie/Trie.cpp:5: no death test quotes this assertion: len <= 32' $texts
tree; echo 'EXPECT_DEATH(f(), "word");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo '// EXPECT_DEATH(f(), "word < 4");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo 'EXPECT_EQ(f(), "word < 4");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(ok, text); }' >>trie/Trie.cpp
catches 'trie/Trie.cpp:5: the text of this assertion is neither' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(set(a, b), "set( \"a\", b )"); }' >>trie/Trie.cpp
catches 'no death test quotes this assertion: set( "a", b )' $texts
echo 'EXPECT_DEATH(g(), "set\\( \"a\", " "b \\)");' >>tests/TrieTest.cpp
passes $texts
echo 'EXPECT_DEATH(f(), "Assertion `word < 4'"'"' failed"); EXPECT_DEATH(g(), R"(set\( "a", b \))");' >tests/TrieTest.cpp
passes $texts
echo 'EXPECT_DEATH(f(), "word < 4'"'"' failed"); EXPECT_DEATH(g(), "set\\( \"a\", b \\)'"'"' failed");' >tests/TrieTest.cpp
passes $texts
echo 'EXPECT_DEATH(f(), "d < 4'"'"' failed"); EXPECT_DEATH(g(), "set\\( \"a\", b \\)");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts

# The list of symbols, with any shared library for the one that changed.
checks=$((checks + 1))
cd "$scratch"
printf 'void first() {}\nvoid second(int) {}\n' | "${CXX:-c++}" -shared -fPIC -x c++ - -o library.so
"$house/exported-symbols.sh" --update library.so list >out
grep -qxF 'second(int)' list
"$house/exported-symbols.sh" library.so list >>out
sed -i /first/d list
if "$house/exported-symbols.sh" library.so list >>out 2>&1 || ! grep -qxF '+first()' out; then
   printf 'NOT CAUGHT: a new exported symbol\n'
   cat out
   exit 1
fi

printf '%d planted cases, each judged as it should be\n' "$checks"
