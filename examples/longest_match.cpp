#include <fmt/core.h>

#include <routetrie/trie/patricia/PatriciaTrie.h>

int main() {
   using Corenet::IpGenPrefix;
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv6, false);
   for (auto route : {"2001:db8::/32", "2001:db8:7::/48"})
      trie->updateRoute(IpGenPrefix::fromString(route), nullptr);
   auto match = trie->longestMatchCommon(IpGenPrefix::fromString("2001:db8:7::1/128"), nullptr, nullptr);
   fmt::print("longest match {}, parent {}\n", match, trie->findParentCommon(match, nullptr, nullptr));
}
