#include "tools/rtrie/engines/MultibitTable.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

namespace Rtrie {
namespace {

using TrieImpl::TrieNode;

using Levels = std::array<RouteTable::Level, TrieImpl::leafLevel + 1>;

void count(const TrieNode& node, Levels& levels) {
   auto& level = levels[node.level()];
   ++level.nodes;
   level.routes += node.routes();
   forEachChild(node, [&](const TrieNode& child) { count(child, levels); });
}

class Visitor final : public Routing::TrieWalkCallback {
  public:
   explicit Visitor(const RouteTable::Visit& visit) : visit_(visit) {}
   int handlePrefix(const Corenet::Prefix& route) override {
      visit_(route);
      return 1;
   }

  private:
   const RouteTable::Visit& visit_;
};

// Refuses each route beneath the query, so that what lies beneath that is left out.
class ChildVisitor final : public Routing::TrieWalkCallback {
  public:
   ChildVisitor(const Corenet::Prefix& query, const RouteTable::Visit& visit) : query_(query), visit_(visit) {}
   int handlePrefix(const Corenet::Prefix& route) override {
      if (route == query_) {
         return 1;
      }
      visit_(route);
      return 0;
   }

  private:
   const Corenet::Prefix query_;
   const RouteTable::Visit& visit_;
};

}  // namespace

RouteTable::Shape MultibitTable::shape() const {
   Levels levels;
   for (U32 level = 0; level < levels.size(); ++level) {
      const U32 last = TrieImpl::levelEndBit[level];
      levels[level].name = fmt::format("{} (/{} to /{})", level, last - TrieImpl::levelStride[level] + 1, last);
   }
   count(*trie_->root(), levels);
   return {static_cast<std::uint64_t>(trie_->nodes()), {levels.begin(), levels.end()}, std::nullopt};
}

void MultibitTable::subtree(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalk(query.v4Prefix(), Corvid::ptrIsImpl<Visitor>(visit));
}

void MultibitTable::children(const Prefix& query, const Visit& visit) const {
   trie_->preOrderWalk(query.v4Prefix(), Corvid::ptrIsImpl<ChildVisitor>(query.v4Prefix(), visit));
}

RouteTable::Prefix MultibitTable::next(const Prefix& query) const {
   const Corenet::Prefix from = query.v4Prefix();
   if (from.isNullPrefix()) {
      return {};
   }
   // The trie knows what comes after a route alone, so any other query is one while it is asked.
   const bool isRoute = from.len() == 0 || trie_->route(from);
   if (!isRoute) {
      trie_->routeIs(from, true);
   }
   const Corenet::Prefix found = trie_->getNext(from);
   if (!isRoute) {
      trie_->routeDel(from);
   }
   return found.len() == 0 ? Prefix() : Prefix(found);
}

}  // namespace Rtrie
