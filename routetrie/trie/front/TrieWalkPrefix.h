// TrieWalkPrefix: a prefix with its place in a walk, a value for clients; no walk makes one. As text:
//
//    Routing::TrieWalkPrefix(key=10.0.0.0/8,position=7)
//
// Tested by tests/trie/front/TrieWalkPrefixTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/CharRange.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/TrieWalkPrefixModule.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieWalkPrefix {
  public:
   explicit TrieWalkPrefix(const Corenet::IpGenPrefix& key) noexcept : key_(key) {}
   // Takes the text from the front of the range. Raises Corvid::RangeException that names the attribute and quotes the text.
   explicit TrieWalkPrefix(Tesk::CharRange& range);

   const Corenet::IpGenPrefix& key() const noexcept { return key_; }
   U32 position() const noexcept { return position_; }
   void positionIs(U32 position) noexcept { position_ = position; }

   // Compares two values behind untyped pointers.
   static bool isEq(const void* a, const void* b) noexcept {
      return a == b || *static_cast<const TrieWalkPrefix*>(a) == *static_cast<const TrieWalkPrefix*>(b);
   }
   friend bool operator==(const TrieWalkPrefix&, const TrieWalkPrefix&) noexcept = default;

  private:
   template <class T>
   friend struct Corvid::Description;

   U32 position_ = 0;
   Corenet::IpGenPrefix key_;
};

}  // namespace Routing
