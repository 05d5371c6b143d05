#include "routetrie/trie/front/TrieCompactModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

namespace Corvid {

template <>
struct Description<Routing::TrieCompact> {
   using T = Routing::TrieCompact;
   static constexpr auto value = describeClass<T, Routing::PatriciaTrie>(
      constructor<&Routing::trieCompactFactory>("af"),                                           //
      operation<&T::longestMatch>("longestMatch", "prefix"),                                     // 258
      keyed<&T::route, &T::routeIs, &T::routeDel>("route"),                                      // 259
      operation<&T::longerRoutePresent>("longerRoutePresent", "prefix"),                         // 260
      operation<&T::findParent>("findParent", "prefix"),                                         // 261
      attribute<&T::changedRoute>("changedRoute").stored(ROUTETRIE_POSITION(T, changedRoute_)),  // 262
      operation<&T::notifyChangedRoute>("notifyChangedRoute", "prefix"),                         // 263
      declaredOperation<void>("doNotifyChangedRoute"));                                          // 264
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_TrieCompact_5440f3a2dc7affb3_teskModule)

Corvid::TypeData Routing::TrieCompact::typeData() const { return Corvid::typeDataOf<TrieCompact>(); }
