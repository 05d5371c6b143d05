// PatriciaTrieAnswer: what a descent of a Patricia trie comes back with, and the answers that come from the trie object
// and not from a node.
// Tested by tests/trie/patricia/PatriciaTrieSearchTest.cpp.
#pragma once

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"

namespace Routing {

// The default route, in the family of the query.
template <RoutePrefix PrefixType>
PrefixType defaultAnswer(Corenet::AddressFamily af) {
   switch (af) {
      case Corenet::AddressFamily::ipv4: return Corenet::Prefix();
      case Corenet::AddressFamily::ipv6: return Corenet::Ip6Prefix();
      default: ROUTETRIE_ASSERT(false, "false && \"Unexpected address family\""); return PrefixType();
   }
}

// What a prefix of length 0 has for a parent.
template <RoutePrefix PrefixType>
PrefixType noParentAnswer(Corenet::AddressFamily af) {
   switch (af) {
      case Corenet::AddressFamily::ipv4: return Corenet::Prefix::nullPrefix();
      case Corenet::AddressFamily::ipv6: return Corenet::Ip6Prefix::nullPrefix();
      default: ROUTETRIE_ASSERT(false, "false && \"Unexpected address family\""); return PrefixType();
   }
}

// A route as a search finds it: a black length on a node.
template <class NodeClass>
struct Found {
   NodeClass* node = nullptr;  // null: none but the default route
   U32 length = 0;             // bits

   // Requires: there is a node.
   template <RoutePrefix PrefixType>
   PrefixType prefix() const {
      return PrefixType(NodeClass::KeyPrefix::cut(node->bits(), length));
   }
};

// The longest route of a node that is passed by the query; every one of them covers it. None if `passed` is null.
template <class NodeClass>
Found<NodeClass> longestOfPassed(NodeClass* passed) {
   return passed == nullptr ? Found<NodeClass>() : Found<NodeClass>{passed, passed->lastBlack()};
}

}  // namespace Routing
