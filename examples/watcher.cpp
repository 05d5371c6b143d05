// Told of every change of a trie as it happens, by the number of the attribute that changed.
#include <fmt/core.h>

#include <routetrie/trie/front/TrieGen.h>

int main() {
   const auto trie = Routing::trieGenFactory("watched", Corenet::ipv4());

   // The subscription ends with this variable; the trie has its new value when the watcher is called.
   const Corvid::Subscription watch = trie->publisher()->subscribe([&](const Corvid::Change& change) {
      switch (change.id) {
         case 140: fmt::print("  changed route {}\n", trie->changedRoute()); break;
         case 143: fmt::print("  the route was {}\n", trie->routeUpdated() ? "there already" : "not there"); break;
         case 151: fmt::print("  default route {}\n", trie->defaultRoutePresent() ? "present" : "gone"); break;
         default: fmt::print("  attribute {}\n", change.id);
      }
   });

   const auto route = Corenet::IpGenPrefix::fromString("10.0.0.0/8");
   const auto defaultRoute = Corenet::IpGenPrefix::fromString("0.0.0.0/0");
   fmt::print("add {}\n", route);
   trie->routeIs(route, true);
   fmt::print("add {} again\n", route);
   trie->routeIs(route, true);
   fmt::print("add {}\n", defaultRoute);
   trie->routeIs(defaultRoute, true);
   fmt::print("delete {}\n", defaultRoute);
   trie->routeDel(defaultRoute);
   fmt::print("{} route left\n", trie->routes());
}
