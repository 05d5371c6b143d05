#include "routetrie/trie/front/TrieWrapperModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/trie/front/TrieCompactModule.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

namespace Corvid {

template <>
struct Description<Routing::TrieWrapper> {
   using T = Routing::TrieWrapper;
   static constexpr auto value =
      describeClass<T>(constructor<&Routing::trieWrapperFactory>("af"),                                     //
                       attribute<&T::af>("af").stored(ROUTETRIE_POSITION(T, af_)),                          // 130
                       attribute<&T::v4v6>("v4v6").stored(ROUTETRIE_POSITION(T, v4v6_)),                    // 131
                       declaredAttribute<Routing::Trie*>("v4Trie").stored(ROUTETRIE_POSITION(T, v4Trie_)),  // 132
                       declaredAttribute<Routing::TrieCompact*, Corenet::AddressFamily>("v6Trie", "af")
                          .stored(ROUTETRIE_POSITION(T, v6Trie_)),                                            // 133
                       keyed<&T::route, &T::routeIs, &T::routeDel>("route"),                                  // 134
                       attribute<&T::routes>("routes"),                                                       // 135
                       operation<&T::defaultRoutePresent>("defaultRoutePresent"),                             // 136
                       operation<&T::empty>("empty"),                                                         // 137
                       operation<&T::longestMatch>("longestMatch", "prefix"),                                 // 138
                       operation<&T::longerRoutePresent>("longerRoutePresent", "prefix"),                     // 139
                       operation<&T::findParent>("findParent", "prefix"),                                     // 140
                       operation<&T::preOrderWalkCompact>("preOrderWalkCompact", "subtreeRoot", "callback"),  // 141
                       declaredOperation<void>("handleInitialized"),                                          // 142
                       operation<&T::dumpState>("dumpState", "dumpCtx", "indentCount"));                      // 143
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_TrieWrapper_5c471ef93aaae99a_teskModule)

Corvid::TypeData Routing::TrieWrapper::typeData() const { return Corvid::typeDataOf<TrieWrapper>(); }
