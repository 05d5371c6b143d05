#include "tools/rtrie/engines/PatriciaTable.h"

namespace Rtrie {
namespace {

using Corenet::CompactIpPrefix;

// The trie answers a zero-length query for a parent with a prefix of length 255: nothing is above it.
constexpr U8 noParentLength = 255;

RouteTable::Prefix parentOrNone(const RouteTable::Prefix& found) {
   return found.len() == noParentLength ? RouteTable::Prefix() : found;
}

}  // namespace

PatriciaTable::PatriciaTable(Corenet::AddressFamily af) : trie_(Routing::patriciaTrieFactory(af, false)) {}
void PatriciaTable::routeIs(const Prefix& route) { trie_->updateRoute(route, nullptr); }
U64 PatriciaTable::routes() const { return trie_->routes(); }
U64 PatriciaTable::nodes() const { return static_cast<U64>(trie_->nodes()); }
RouteTable::Prefix PatriciaTable::longestMatch(const Prefix& query) const {
   return trie_->longestMatchCommon(query, nullptr, nullptr);
}
RouteTable::Prefix PatriciaTable::parent(const Prefix& query) const {
   return parentOrNone(trie_->findParentCommon(query, nullptr, nullptr));
}
bool PatriciaTable::longerPresent(const Prefix& query) const { return trie_->longerRoutePresentCommon(query); }

CompactPatriciaTable::CompactPatriciaTable(Corenet::AddressFamily af)
   : trie_(Routing::patriciaTrieFactory(af, true)) {}
void CompactPatriciaTable::routeIs(const Prefix& route) {
   trie_->updateRouteCompact(CompactIpPrefix(route), nullptr);
}
U64 CompactPatriciaTable::routes() const { return trie_->routes(); }
U64 CompactPatriciaTable::nodes() const { return static_cast<U64>(trie_->nodes()); }
RouteTable::Prefix CompactPatriciaTable::longestMatch(const Prefix& query) const {
   return trie_->longestMatchCommonCompact(CompactIpPrefix(query), nullptr, nullptr).genPrefix();
}
RouteTable::Prefix CompactPatriciaTable::parent(const Prefix& query) const {
   return parentOrNone(trie_->findParentCommonCompact(CompactIpPrefix(query), nullptr, nullptr).genPrefix());
}
bool CompactPatriciaTable::longerPresent(const Prefix& query) const {
   return trie_->longerRoutePresentCommonCompact(CompactIpPrefix(query));
}

}  // namespace Rtrie
