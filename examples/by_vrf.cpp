// One set of tries by VRF: the same prefix may be a route of several, and each is asked by itself.
#include <fmt/core.h>

#include <initializer_list>

#include <routetrie/trie/front/TrieGenByVrf.h>

namespace {

using Corenet::IpGenPrefix;
using Vrf::VrfIdMap;

// The IPv4 trie of a VRF. The collection makes the entry; the trie in it is ours to make.
Routing::TrieGen& trieOf(Routing::TrieGenByVrf& tries, VrfIdMap::VrfId vrf) {
   const auto entry = tries.vrfTrieGenIs(vrf);
   if (!entry->ipv4Trie()) {
      entry->ipv4TrieIs(Routing::trieGenFactory(fmt::format("VRF {}", vrf), Corenet::ipv4()));
   }
   return *entry->ipv4Trie();
}

}  // namespace

int main() {
   const auto tries = Routing::trieGenByVrfFactory();
   const VrfIdMap::VrfId blue(1);
   const VrfIdMap::VrfId green(2);
   trieOf(*tries, blue).routeIs(IpGenPrefix::fromString("10.0.0.0/8"), true);
   trieOf(*tries, green).routeIs(IpGenPrefix::fromString("10.0.0.0/8"), true);
   trieOf(*tries, green).routeIs(IpGenPrefix::fromString("10.1.0.0/16"), true);

   const auto query = IpGenPrefix::fromString("10.1.2.3/32");
   for (const auto vrf : {blue, green, VrfIdMap::VrfId(3)}) {
      const auto entry = tries->vrfTrieGen(vrf);  // makes none
      fmt::print("VRF {}: {}\n", vrf, entry ? entry->ipv4Trie()->longestMatch(query).stringValue() : "no tries");
   }
   tries->vrfTrieGenDel(green);
   fmt::print("{} VRF left\n", tries->entries().memberCount());
}
