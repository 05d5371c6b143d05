#include "routetrie/trie/front/TrieWalkPrefixModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/front/TrieWalkPrefix.h"

namespace Corvid {

template <>
struct Description<Routing::TrieWalkPrefix> {
   using T = Routing::TrieWalkPrefix;
   static T make(const Corenet::IpGenPrefix& key) { return T(key); }
   static constexpr auto value = describeValue<T>(
      constructor<&make>("key"),                                                                      //
      attribute<&T::key>("key").stored(ROUTETRIE_POSITION(T, key_)),                                  // 2
      attribute<&T::position, &T::positionIs>("position").stored(ROUTETRIE_POSITION(T, position_)));  // 3
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_TrieWalkPrefix_5da68c166fcc9479_teskModule)
