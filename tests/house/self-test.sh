#!/usr/bin/env bash
# self-test HOUSE: plants one fault of each kind in a scratch tree, and fails if the checks of the folder HOUSE do not
# name it. A check that lets its own fault pass checks nothing.
set -euo pipefail
house=$(cd "${1:?usage: self-test.sh HOUSE}" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

tree() {
   rm -rf "$scratch/tree"
   mkdir -p "$scratch"/tree/{routetrie/{platform/Corvid,trie/{patricia,multibit,intrusive,front}},examples,bench,tools/rtrie,tests}
   cd "$scratch/tree"
   printf '#pragma once\n\n#include <fmt/core.h>\n#include <iosfwd>\n' >routetrie/platform/Corvid/Node.h
   printf '// Trie: a header.\n#pragma once\n\n#include "routetrie/platform/Corvid/Node.h"\n' >routetrie/trie/patricia/Trie.h
   printf '#include "routetrie/trie/patricia/Trie.h"\n// #include "tools/Spoken.h"\nvoid f() { ROUTETRIE_ASSERT(word  <\n 4); }\n' >routetrie/trie/patricia/Trie.cpp
   printf '#include <routetrie/trie/patricia/Trie.h>\nint main() {}\n' >examples/example.cpp
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
tree; echo '#include "routetrie/trie/patricia/Trie.h"' >>routetrie/platform/Corvid/Node.h
catches 'routetrie/platform/Corvid/Node.h:5: may not include "routetrie/trie/patricia/Trie.h"' $arrows
tree; echo '  #  include "tools/rtrie/Table.h"' >>routetrie/trie/patricia/Trie.cpp
catches 'routetrie/trie/patricia/Trie.cpp:5: may not include "tools/rtrie/Table.h"' $arrows
tree; echo '#include "bench/Bench.h"' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5: may not include "bench/Bench.h"' $arrows
tree; echo '#include "Node.h"' >>routetrie/platform/Corvid/Node.h
catches 'routetrie/platform/Corvid/Node.h:5: may not include "Node.h"' $arrows
tree; echo '#include "routetrie/platform/Corvid/Absent.h"' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5: no file "routetrie/platform/Corvid/Absent.h"' $arrows
tree; echo '#include <routetrie/trie/patricia/Trie.h>' >>routetrie/platform/Corvid/Node.h
catches 'routetrie/platform/Corvid/Node.h:5: may not include <routetrie/trie/patricia/Trie.h>' $arrows
for arrow in patricia:multibit patricia:front patricia:intrusive multibit:patricia multibit:intrusive multibit:front \
   intrusive:patricia intrusive:multibit intrusive:front front:intrusive; do
   from=routetrie/trie/${arrow%:*}/From.h to=routetrie/trie/${arrow#*:}/To.h
   tree; echo '#pragma once' >"$to"; echo "#include \"$to\"" >"$from"
   catches "$from:1: may not include \"$to\"" $arrows
done
tree; echo '#pragma once' >routetrie/trie/patricia/PatriciaTrieWalkCb.h
echo '#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"' >routetrie/trie/multibit/TrieWalkCallback.h
passes $arrows
tree; echo '#include "routetrie/trie/patricia/Trie.h"' >routetrie/table.h
catches 'routetrie/table.h:1: may not include "routetrie/trie/patricia/Trie.h"' $arrows
tree; echo '#include "routetrie/trie/patricia/Trie.h"' >>examples/example.cpp
catches 'examples/example.cpp:3: an example includes <routetrie/trie/patricia/Trie.h>, as a user does' $arrows
tree; echo '#include "tools/rtrie/Table.h"' >>examples/example.cpp
catches 'examples/example.cpp:3: may not include' $arrows
tree; mkdir tools/tables; echo '#pragma once' | tee tools/rtrie/Engine.h >tools/tables/Loader.h
echo '#include "tools/tables/Loader.h"' | tee bench/Table.h >>tools/rtrie/Engine.h
passes $arrows
echo '#include "tools/rtrie/Engine.h"' | tee -a bench/Table.h >>tools/tables/Loader.h
catches 'bench/Table.h:2: may not include "tools/rtrie/Engine.h"' $arrows
catches 'tools/tables/Loader.h:2: may not include "tools/rtrie/Engine.h"' $arrows
tree; echo '#include SOME_HEADER' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5: an include that this check cannot read' $arrows
tree; rm -r routetrie examples; mkdir routetrie examples
catches '0 files' $arrows

headers=public-headers.sh
tree; sed -i '1i #include <vector>' routetrie/trie/patricia/Trie.cpp
catches 'routetrie/trie/patricia/Trie.cpp: the first include is not "routetrie/trie/patricia/Trie.h"' $headers
tree; echo '#include <ostream>' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5:#include <ostream>: <iosfwd> has to do' $headers
tree; echo '#include <iostream>' >>routetrie/platform/Corvid/Node.h
catches 'routetrie/platform/Corvid/Node.h:5:#include <iostream>' $headers
tree; echo '#define MAX_LEN 32' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5:#define MAX_LEN 32: a macro' $headers
tree; echo 'using namespace std;' >>routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h:5:using namespace std;: opens' $headers
tree; sed -i 2d routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h: the first line of code is not #pragma once' $headers
tree; : >routetrie/trie/patricia/Empty.h
catches 'routetrie/trie/patricia/Empty.h: has nothing in it' $headers

language=language.sh
tree; printf '#pragma once\n' >routetrie/platform/Language.h
echo '#include "routetrie/platform/Language.h"' >>routetrie/platform/Corvid/Node.h
passes $language
printf '#pragma once\n#include <concepts>\n' >routetrie/trie/patricia/Trie.h
catches 'routetrie/trie/patricia/Trie.h: includes none of the library' $language
# With a compiler it needs to be refused, and in one line.
language+=$' with a compiler'
judged() {
   checks=$((checks + 1))
   "$house/language.sh" . "${CXX:-c++}" >"$scratch/out" 2>&1
}
echo '#include "routetrie/platform/Language.h"' >routetrie/trie/patricia/Trie.h
printf '#include "routetrie/platform/Language.h"\n' >routetrie/platform/Door.h
if judged || ! grep -qF 'routetrie/platform/Door.h: compiles with -std=c++17' "$scratch/out"; then
   printf 'NOT CAUGHT by %s: a door that compiles\n' "$language"
   cat "$scratch/out"
   exit 1
fi
cp "$house/../../routetrie/platform/Language.h" routetrie/platform/
judged || { printf 'FAILED on a sound tree: %s\n' "$language"; cat "$scratch/out"; exit 1; }
sed -i 's/^#include <\(.*\)>/#error \1/' routetrie/platform/Language.h
echo 'concept = 1; int x = unknown;' >>routetrie/platform/Door.h
if judged || ! grep -qF 'Door.h: with -std=c++17 the compiler says' "$scratch/out"; then
   printf 'NOT CAUGHT by %s: errors behind the first\n' "$language"
   cat "$scratch/out"
   exit 1
fi

# global NAME CODE: the code, in a header, brings this name.
global() {
   checks=$((checks + 1))
   printf '#pragma once\n%s\n' "$2" >routetrie/platform/Door.h
   if "$house/global-names.pl" . routetrie/platform/Door.h "${CXX:-c++}" -std=c++20 >"$scratch/out" 2>&1; then
      [[ ! $1 ]] && return
   elif [[ $1 ]] && grep -qF "at global scope: $1" "$scratch/out"; then
      return
   fi
   printf 'MISJUDGED by global-names.pl: %s\n' "$2"
   cat "$scratch/out"
   exit 1
}
tree
global '' 'namespace A::B { using U8 = int; inline int f() { return 0; } struct S {}; }'
global '' 'namespace A { struct T {}; } template <> struct fmt::formatter<A::T> { int x; }; static_assert(true);'
global '' 'extern "C" void __assert_fail(const char*, const char*, unsigned, const char*) noexcept;'
global 'using U8 = unsigned char' 'namespace A {} using U8 = unsigned char;'
global 'inline int word()' 'inline int word() { return '"'}'"'; }'
global 'struct Word' 'namespace A { int x; } struct Word { int x; };'
global 'enum Bits' 'enum Bits { one };'
global 'extern int word' 'extern int word;'
global 'template <class T> class Word' 'template <class T> class Word;'
global 'using A::x' 'namespace A { int x(); } using A::x;'
global 'using namespace A' 'namespace A { int x(); } using namespace A;'

texts=assertion-texts.pl
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }' >>routetrie/trie/patricia/Trie.cpp
catches 'routetrie/trie/patricia/Trie.cpp:5: no death test quotes this assertion: len <= 32' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }  // cannot fail: it is masked' >>routetrie/trie/patricia/Trie.cpp
passes $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(len <= 32); }  // cannot fail:' >>routetrie/trie/patricia/Trie.cpp
catches 'routetrie/trie/patricia/Trie.cpp:5: no death test quotes this assertion: len <= 32' $texts
tree; echo 'EXPECT_DEATH(f(), "word");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo '// EXPECT_DEATH(f(), "word < 4");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo 'EXPECT_EQ(f(), "word < 4");' >tests/TrieTest.cpp
catches 'no death test quotes this assertion: word < 4' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(ok, text); }' >>routetrie/trie/patricia/Trie.cpp
catches 'routetrie/trie/patricia/Trie.cpp:5: the text of this assertion is neither' $texts
tree; echo 'void g() { ROUTETRIE_ASSERT(set(a, b), "set( \"a\", b )"); }' >>routetrie/trie/patricia/Trie.cpp
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
