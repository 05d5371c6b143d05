#include "routetrie/trie/front/TrieWalkPrefix.h"

#include "routetrie/platform/Tesk/Strep.h"

namespace Routing {

TrieWalkPrefix::TrieWalkPrefix(Tesk::CharRange& range)
   : key_(Tesk::desAttrPre<Corenet::IpGenPrefix>(range, "Routing::TrieWalkPrefix", "key")) {
   position_ = Tesk::desAttrPost<U32>(range, "position");
}

}  // namespace Routing
