#include "routetrie/trie/front/Trie6Module.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/front/Trie6.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

namespace Corvid {

template <>
struct Description<Routing6::Trie> {
   using T = Routing6::Trie;
   static constexpr auto value = describeClass<T, Routing::PatriciaTrie>(
      constructor<&Routing6::trieFactory>(),                                                                 //
      operation<&T::longestMatch>("longestMatch", "prefix"),                                                 // 258
      keyed<&T::route, &T::routeIs, &T::routeDel>("route"),                                                  // 259
      operation<&T::longerRoutePresent>("longerRoutePresent", "prefix"),                                     // 260
      operation<&T::findParent>("findParent", "prefix"),                                                     // 261
      attribute<&T::changedRoute>("changedRoute").published().stored(ROUTETRIE_POSITION(T, changedRoute_)),  // 262
      operation<&T::notifyChangedRoute>("notifyChangedRoute", "prefix"),                                     // 263
      declaredOperation<void>("doNotifyChangedRoute"));                                                      // 264
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Trie6_1ac275be1db58207_teskModule)

Corvid::TypeData Routing6::Trie::typeData() const { return Corvid::typeDataOf<Trie>(); }
