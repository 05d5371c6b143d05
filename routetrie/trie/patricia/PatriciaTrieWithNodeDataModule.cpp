#include "routetrie/trie/patricia/PatriciaTrieWithNodeDataModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/patricia/PatriciaTrieDataModule.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

namespace Corvid {

template <>
struct Description<Routing::PatriciaTrieWithNodeData> {
   using T = Routing::PatriciaTrieWithNodeData;
   static constexpr auto value = describeClass<T, Routing::PatriciaTrie>(
      constructor<&Routing::patriciaTrieWithNodeDataFactory>("af", "useCompactIpPrefix"),          //
      keyedWithLookup<&T::route, &T::routeIs, &T::routeDel>("route"),                              // 258
      keyedWithLookup<&T::routeCompact, &T::routeCompactIs, &T::routeCompactDel>("routeCompact"),  // 259
      operation<&T::routeAdd>("routeAdd", "prefix", "data"),                                       // 260
      operation<&T::routeAddCompact>("routeAddCompact", "prefix", "data"),                         // 261
      operation<&T::routeDelTest>("routeDelTest", "prefix"),                                       // 262
      operation<&T::routeDelCompact>("routeDelCompact", "prefix"),                                 // 263
      operation<&T::routeDelOrUpdate>("routeDelOrUpdate", "prefix", "delData"),                    // 264
      operation<&T::routeDelOrUpdateCompact>("routeDelOrUpdateCompact", "prefix", "delData"),      // 265
      operation<&T::longestMatch>("longestMatch", "prefix"),                                       // 266
      operation<&T::longestMatchCompact>("longestMatchCompact", "prefix"),                         // 267
      operation<&T::ancestorWalk>("ancestorWalk", "prefix", "cb"),                                 // 268
      operation<&T::ancestorWalkCompact>("ancestorWalkCompact", "prefix", "cb"));                  // 269
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_PatriciaTrieWithNodeData_d21198fd3a2dd5d2_teskModule)

Corvid::TypeData Routing::PatriciaTrieWithNodeData::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieWithNodeData>();
}
