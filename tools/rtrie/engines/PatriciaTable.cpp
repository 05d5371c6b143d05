#include "tools/rtrie/engines/PatriciaTable.h"

#include <vector>

#include "tools/rtrie/engines/RouteVisitor.h"

namespace Rtrie {
namespace {

using Corenet::CompactIpPrefix;

// The trie answers a zero-length query for a parent with a prefix of length 255: nothing is above it.
constexpr U8 noParentLength = 255;

RouteTable::Prefix parentOrNone(const RouteTable::Prefix& found) {
   return found.len() == noParentLength ? RouteTable::Prefix() : found;
}

// What getNext() does, which no trie with whole addresses in its IPv6 nodes has. The trie's own search goes through a
// subtree from its beginning, so only those are searched that are not before the query as a whole.
CompactIpPrefix nextInLegacyTrie(const Routing::PatriciaTrie& trie, const RouteTable::Prefix& query) {
   using V6Node = PatriciaTrieImpl::PatriciaTrieV6Node;
   const auto bits = query.bits<128>();
   std::vector<Routing::PatriciaTrieNode*> subtrees;  // the first in order at the back
   const auto* node = static_cast<const V6Node*>(trie.root());
   while (node != nullptr && node->len() < query.len() && node->bits().sharesFirst(bits, node->len())) {
      if (!bits.bit(node->len())) {
         subtrees.push_back(node->right_);
      }
      node = static_cast<const V6Node*>(bits.bit(node->len()) ? node->right_ : node->left_);
   }
   if (node != nullptr && !(node->bits() < bits)) {
      subtrees.push_back(const_cast<V6Node*>(node));
   }
   for (CompactIpPrefix found; !subtrees.empty(); subtrees.pop_back()) {
      if (trie.getNextImpl(subtrees.back(), CompactIpPrefix(query), found)) {
         return found;
      }
   }
   return CompactIpPrefix::getNull(trie.af());
}

}  // namespace

RouteTable::Prefix PatriciaTrieTable::next(const Prefix& query) const {
   const auto found = trie_->paf() == Routing::nodeTypeIpv6Legacy() ? nextInLegacyTrie(*trie_, query)
                                                                    : trie_->getNext(CompactIpPrefix(query));
   return found == CompactIpPrefix::getNull(trie_->af()) ? Prefix() : found.genPrefix();
}

PatriciaTable::PatriciaTable(Corenet::AddressFamily af)
   : PatriciaTrieTable(Routing::patriciaTrieFactory(af, false)) {}
void PatriciaTable::routeIs(const Prefix& route) { trie_->updateRoute(route, nullptr); }
RouteTable::Prefix PatriciaTable::longestMatch(const Prefix& query) const {
   return trie_->longestMatchCommon(query, nullptr, nullptr);
}
RouteTable::Prefix PatriciaTable::parent(const Prefix& query) const {
   return parentOrNone(trie_->findParentCommon(query, nullptr, nullptr));
}
bool PatriciaTable::longerPresent(const Prefix& query) const {
   return query.len() == 0 ? hasLongerThanDefault(query) : trie_->longerRoutePresentCommon(query);
}
void PatriciaTable::subtree(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalk(query, Corvid::ptrIsImpl<GenVisitor>(query, visit).get());
}
void PatriciaTable::children(const Prefix& query, const Visit& visit) const {
   if (query.len() == 0) {
      trie_->preOrderWalk(query, Corvid::ptrIsImpl<GenTopVisitor>(visit).get());
   } else {
      trie_->findImmediateChildren(query, Corvid::ptrIsImpl<GenVisitor>(query, visit).get());
   }
}

CompactPatriciaTable::CompactPatriciaTable(Corenet::AddressFamily af)
   : PatriciaTrieTable(Routing::patriciaTrieFactory(af, true)) {}
void CompactPatriciaTable::routeIs(const Prefix& route) {
   trie_->updateRouteCompact(CompactIpPrefix(route), nullptr);
}
RouteTable::Prefix CompactPatriciaTable::longestMatch(const Prefix& query) const {
   return trie_->longestMatchCommonCompact(CompactIpPrefix(query), nullptr, nullptr).genPrefix();
}
RouteTable::Prefix CompactPatriciaTable::parent(const Prefix& query) const {
   return parentOrNone(trie_->findParentCommonCompact(CompactIpPrefix(query), nullptr, nullptr).genPrefix());
}
bool CompactPatriciaTable::longerPresent(const Prefix& query) const {
   return query.len() == 0 ? hasLongerThanDefault(query)
                           : trie_->longerRoutePresentCommonCompact(CompactIpPrefix(query));
}
void CompactPatriciaTable::subtree(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalkCompact(CompactIpPrefix(query), Corvid::ptrIsImpl<CompactVisitor>(query, visit).get());
}
void CompactPatriciaTable::children(const Prefix& query, const Visit& visit) const {
   if (query.len() == 0) {
      trie_->preOrderWalkCompact(CompactIpPrefix(query), Corvid::ptrIsImpl<CompactTopVisitor>(visit).get());
   } else {
      trie_->findImmediateChildrenCompact(CompactIpPrefix(query),
                                          Corvid::ptrIsImpl<CompactVisitor>(query, visit).get());
   }
}

}  // namespace Rtrie
