// CallCheck: whether a field can be reached by name without harm. The library asserts its rules, since a program that
// breaks one is wrong; whoever types a path at a prompt has only mistyped, and is told so.
//
// What is refused follows from the record of the field and from the object's own attributes:
//
//    1  a handler (`handleDeletion`): by these an object drops or makes its own memory, and the library alone calls them
//    2  a null object, since as text there is no other: an operation works on it, unless a row here says what null means
//    3  a prefix of another family than the object's `af`, and one that is no prefix of a route: `none`, length 255
//    4  a prefix in the form that a trie with that `useCompactIpPrefix` does not take
//    5  the front of an empty queue
//
// and from a short list of operations of which no record can tell. Bad text, too few arguments and the like are left to
// Corvid::Inspect, which knows them.
//
// Tested by tests/tools/rtrie/CallCheckTest.cpp, which reaches every field of every class with every kind of argument.
#pragma once

#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"

namespace Rtrie {

// arguments: of an operation, or the key of a keyed field. Raises Corvid::RangeException that says why not.
void requireHarmless(const Corvid::Node& node, const Corvid::Inspect::Field& field,
                     const std::vector<Corvid::Inspect::Given>& arguments);

}  // namespace Rtrie
