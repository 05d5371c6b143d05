#include "tools/rtrie/engines/PatriciaTable.h"

#include "tools/rtrie/engines/RouteVisitor.h"

namespace Rtrie {
namespace {

using Corenet::CompactIpPrefix;

// The trie answers a zero-length query for a parent with a prefix of length 255: nothing is above it.
constexpr U8 noParentLength = 255;

RouteTable::Prefix parentOrNone(const RouteTable::Prefix& found) {
   return found.len() == noParentLength ? RouteTable::Prefix() : found;
}

}  // namespace

PatriciaTable::PatriciaTable(Corenet::AddressFamily af)
   : PatriciaTrieTable(Routing::patriciaTrieFactory(af, false)) {}
void PatriciaTable::routeIs(const Prefix& route) { trie_->updateRoute(route, nullptr); }
RouteTable::Prefix PatriciaTable::longestMatch(const Prefix& query) const {
   return trie_->longestMatchCommon(query, nullptr, nullptr);
}
RouteTable::Prefix PatriciaTable::parent(const Prefix& query) const {
   return parentOrNone(trie_->findParentCommon(query, nullptr, nullptr));
}
bool PatriciaTable::longerPresent(const Prefix& query) const { return trie_->longerRoutePresentCommon(query); }
void PatriciaTable::subtree(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalk(query, Corvid::ptrIsImpl<GenVisitor>(query, visit).get());
}
void PatriciaTable::children(const Prefix& query, const Visit& visit) const {
   trie_->findImmediateChildren(query, Corvid::ptrIsImpl<GenVisitor>(query, visit).get());
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
   return trie_->longerRoutePresentCommonCompact(CompactIpPrefix(query));
}
void CompactPatriciaTable::subtree(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalkCompact(CompactIpPrefix(query), Corvid::ptrIsImpl<CompactVisitor>(query, visit).get());
}
void CompactPatriciaTable::children(const Prefix& query, const Visit& visit) const {
   trie_->findImmediateChildrenCompact(CompactIpPrefix(query), Corvid::ptrIsImpl<CompactVisitor>(query, visit).get());
}
RouteTable::Prefix CompactPatriciaTable::next(const Prefix& query) const {
   const auto found = trie_->getNext(CompactIpPrefix(query));
   return found == CompactIpPrefix::getNull(trie_->af()) ? Prefix() : found.genPrefix();
}

}  // namespace Rtrie
