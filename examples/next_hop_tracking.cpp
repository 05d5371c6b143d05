// Follows the routes by which next hops are reached, over a TrieGen that knows nothing of it: what the trie has is walked once, and what it
// publishes from then on feeds a set of routes that can be watched.
#include <fmt/core.h>

#include <string_view>
#include <utility>
#include <vector>

#include <routetrie/route_set.h>
#include <routetrie/trie/front/TrieGen.h>
#include <routetrie/watch.h>

using namespace routetrie;

// The routes of a trie, those that it has and those to come, to be watched.
class trie_routes {
  public:
   explicit trie_routes(Routing::TrieGen& trie)
      : routes_(walked(trie)), subscription_(trie.publisher()->subscribe([&](const Corvid::Change& change) {
           const prefix& p = trie.changedRoute();
           if (change.id == changed_route && is_prefix(p)) {
              trie.route(p) ? (void)routes_.insert(p) : (void)routes_.erase(p);
           }
        })) {}
   auto& routes() { return routes_; }

  private:
   using watched_set = tracked_table<route_set, watch_tracker>;
   static constexpr unsigned changed_route = 140;

   class collector : public Routing::TrieGenWalkCallback {
     public:
      ~collector() override { nodeFlagSet(Corvid::nodeFlagAlive, false); }
      int handlePrefix(const prefix& p) override {
         routes.insert(p);
         return 1;
      }
      watched_set routes;
   };
   static watched_set walked(Routing::TrieGen& trie) {
      const auto found = Corvid::ptrIsImpl<collector>();
      trie.preOrderWalk(trie.af() == Corenet::ipv4() ? prefix(prefix4()) : prefix(prefix6()), found);
      return std::move(found->routes);
   }

   watched_set routes_;
   Corvid::Subscription subscription_;  // ends before they do
};

int main() {
   const auto trie = Routing::trieGenFactory("rib", Corenet::ipv4());
   trie->routeIs("198.51.100.0/24"_prefix, true);  // before anybody follows
   trie_routes followed(*trie);

   std::vector<watch_handle> watches;
   for (const address4 next_hop : {"192.0.2.1"_address, "198.51.100.7"_address}) {
      watches.push_back(followed.routes().watch(next_hop, watch_kind::best_match, [next_hop](const auto& e) {
         fmt::print("  {}: ", next_hop);
         e.after ? fmt::print("by {}", *e.after) : fmt::print("not reached");
         e.before ? fmt::print(", was by {}\n", *e.before) : fmt::print("\n");
      }));
   }

   const auto change = [&](std::string_view what, const prefix& p) {
      fmt::print("{} {}\n", what, p);
      what == "add" ? trie->routeIs(p, true) : (void)trie->routeDel(p);
   };
   change("add", "0.0.0.0/0"_prefix);
   change("delete", "198.51.100.0/24"_prefix);
   change("add", "192.0.2.0/24"_prefix);
   change("add", "10.0.0.0/8"_prefix);
   change("delete", "0.0.0.0/0"_prefix);
   change("delete", "192.0.2.0/24"_prefix);
}
