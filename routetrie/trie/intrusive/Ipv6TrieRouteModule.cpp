#include "routetrie/trie/intrusive/Ipv6TrieRouteModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

namespace Corvid {

template <>
struct Description<Sprig::Ipv6TrieRoute> {
   using T = Sprig::Ipv6TrieRoute;
   static constexpr auto value =
      describeClass<T>(constructor<&Sprig::ipv6TrieRouteFactory>("prefix"),                     //
                       attribute<&T::prefix>("prefix").stored(ROUTETRIE_POSITION(T, prefix_)),  // 130
                       operation<&T::trieGetPrefix>("trieGetPrefix").at(132),                   // 132
                       operation<&T::trieRemove>("trieRemove"));                                // 133
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Ipv6TrieRoute_a7017bad99aaa188_teskModule)

namespace Sprig {

Corvid::TypeData Ipv6TrieRoute::typeData() const { return Corvid::typeDataOf<Ipv6TrieRoute>(); }

}  // namespace Sprig
