#include <cstdio>

#include <routetrie/trie/patricia/PatriciaTrie.h>

int main() {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->updateRoute(Corenet::IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   auto match = trie->longestMatchCommon(Corenet::IpGenPrefix::fromString("10.1.2.3/32"), nullptr, nullptr);
   std::puts(match.stringValue().c_str());
}
