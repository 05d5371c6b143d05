// TwoLpmLen: two lengths of longest matches, a value for clients; no trie makes or reads one. As text:
//
//    Routing::TwoLpmLen(lpm1=24,lpm2=16)
//
// Tested by tests/trie/front/TwoLpmLenTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/CharRange.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/TrieGenModule.h"

namespace Routing {

struct ROUTETRIE_EXPORT TwoLpmLen {
   TwoLpmLen() noexcept = default;
   TwoLpmLen(U32 first, U32 second) noexcept : lpm1(first), lpm2(second) {}
   // Takes the text from the front of the range. Raises Corvid::RangeException that names the attribute and quotes the text.
   explicit TwoLpmLen(Tesk::CharRange& range);

   // Compares two values behind untyped pointers.
   static bool isEq(const void* a, const void* b) noexcept {
      return *static_cast<const TwoLpmLen*>(a) == *static_cast<const TwoLpmLen*>(b);
   }
   friend bool operator==(const TwoLpmLen&, const TwoLpmLen&) noexcept = default;

   U32 lpm1 = 0;  // bits
   U32 lpm2 = 0;  // bits
};

}  // namespace Routing
