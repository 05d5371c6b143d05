#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"

namespace Routing {

PatriciaTrieWalkCb::~PatriciaTrieWalkCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

PatriciaTrieCompactWalkCb::~PatriciaTrieCompactWalkCb() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

}  // namespace Routing
