#include "tools/rtrie/engines/IntrusiveTable.h"

#include <cstdint>
#include <vector>

#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace {

using Node = Sprig::Ipv6Trie::Engine::NodeBase;
using Sprig::Ipv6TrieRoute;
using Sprig::Intrusive::ParentPtrType;

RouteTable::Prefix prefixOf(const Ipv6TrieRoute* route) {
   return route == nullptr ? RouteTable::Prefix() : RouteTable::Prefix(route->prefix());
}

RouteTable::Prefix prefixOf(const Node& node) {
   const auto view = Node::prefixOf(node);
   std::array<U8, 16> bytes{};
   std::copy_n(view.data, (view.length + 7) / 8, bytes.begin());
   return Corenet::Ip6Prefix::cut(Corenet::Ip6Addr(bytes).bits(), view.length);
}

}  // namespace

IntrusiveTable::IntrusiveTable(Corenet::AddressFamily) {}

void IntrusiveTable::routeIs(const Prefix& route) {
   if (trie_->route(route.v6Prefix()) == nullptr) {
      trie_->routeIs(Sprig::ipv6TrieRouteFactory(route.v6Prefix()));
      ++routes_;
   }
}

RouteTable::Shape IntrusiveTable::shape() const {
   std::uint64_t count = 0;
   for (const Node* node = trie_->trie().root(); node != nullptr; node = node->nextNode(false, 0)) {
      ++count;
   }
   return {count, {}, std::nullopt};
}

IntrusiveTable::Match IntrusiveTable::match(const Prefix& query) const {
   const auto prefix = query.v6Prefix();
   return trie_->trie()._longestMatch(Ipv6TrieRoute::viewOf(prefix), nullptr);
}

RouteTable::Prefix IntrusiveTable::longestMatch(const Prefix& query) const { return prefixOf(match(query).route); }

RouteTable::Prefix IntrusiveTable::parent(const Prefix& query) const {
   const Match found = match(query);
   return prefixOf(found.exact ? found.route->trieNode().parent() : found.route);
}

void IntrusiveTable::covering(const Prefix& query, const Visit& visit) const {
   std::vector<const Ipv6TrieRoute*> path;
   for (const auto* route = match(query).route; route != nullptr; route = route->trieNode().parent()) {
      path.push_back(route);
   }
   for (auto route = path.rbegin(); route != path.rend(); ++route) {
      visit((*route)->prefix());
   }
}

const Node* IntrusiveTable::firstFrom(const Prefix& query) const {
   const Node* deepest = match(query).deepestNode;
   if (deepest == nullptr) {
      const Node* root = trie_->trie().root();
      return root != nullptr && query < prefixOf(*root) ? root : nullptr;
   }
   if (prefixOf(*deepest) == query) {
      return deepest;
   }
   const bool isRight = query.bits<128>().bit(Node::prefixOf(*deepest).length);
   const Node* const* slot = isRight ? &deepest->right : &deepest->left;
   if (*slot != nullptr && query < prefixOf(**slot)) {
      return *slot;
   }
   return Node::nextNodeOutsideSubtree<const Node*>(slot,
                                                    isRight ? ParentPtrType::nodeRight : ParentPtrType::nodeLeft, 0);
}

template <class Each>
void IntrusiveTable::walk(const Prefix& query, Each&& each) const {
   for (const Node* node = firstFrom(query); node != nullptr;) {
      const Prefix prefix = prefixOf(*node);
      if (!covers(query, prefix)) {
         return;
      }
      const bool goesBeneath = node->isInternal() || each(prefix);
      node = node->nextNode(!goesBeneath, 0);
   }
}

bool IntrusiveTable::longerPresent(const Prefix& query) const { return covers(query, next(query)); }

void IntrusiveTable::subtree(const Prefix& query, const Visit& visit) const {
   walk(query, [&](const Prefix& route) {
      visit(route);
      return true;
   });
}

void IntrusiveTable::children(const Prefix& query, const Visit& visit) const {
   walk(query, [&](const Prefix& route) {
      if (route != query) {
         visit(route);
      }
      return route == query;
   });
}

RouteTable::Prefix IntrusiveTable::next(const Prefix& query) const {
   const Node* node = firstFrom(query);
   while (node != nullptr && (node->isInternal() || prefixOf(*node) == query)) {
      node = node->nextNode(false, 0);
   }
   return node == nullptr ? Prefix() : prefixOf(*node);
}

void IntrusiveTable::dump(const Corvid::Ptr<const Keel::DumpContext>& context) const { trie_->dumpState(context, 0); }

void IntrusiveTable::dumpTree(std::ostream& out) const {
   trie_->trie().dumpStateIp(Keel::dumpContextFactory(out), 0, Corenet::V4V6::v6);
}

}  // namespace Rtrie
