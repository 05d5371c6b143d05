// GenericIfImpl: what reflection raises where a set is written like a map.
// Tested by tests/trie/front/TrieGenWalkTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"

namespace Tesk::GenericIfImpl {

// Raises Corvid::RangeException: a member of a set is taken out by delete, and not by giving it the value false.
[[noreturn]] ROUTETRIE_EXPORT void throwSetFalseValueException();

}  // namespace Tesk::GenericIfImpl
