// A program that uses an engine, beside headers of its own whose names are those of the library's within its folder; it prints
// a match and how many modules announced themselves before main().
#include <cstdio>

#include <routetrie/platform/Tesk/Module.h>
#include <routetrie/trie/Patricia.h>

#include "platform/Types.h"
#include "trie/TrieNode.h"

int main() {
   auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->updateRoute(Corenet::IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   auto match = trie->longestMatchCommon(Corenet::IpGenPrefix::fromString("10.1.2.3/32"), nullptr, nullptr);
   std::printf("%s %zu %d\n", match.stringValue().c_str(), Tesk::modules().size(), OwnNode{}.type.number);
}
