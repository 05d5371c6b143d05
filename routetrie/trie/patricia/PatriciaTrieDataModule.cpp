#include "routetrie/trie/patricia/PatriciaTrieDataModule.h"

#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"

namespace Corvid {

template <>
struct Description<Routing::PrefixData> {
   using T = Routing::PrefixData;
   static constexpr auto value = describeClass<T>(constructor<&Routing::prefixDataFactory>(),       //
                                                  operation<&T::onAddition>("onAddition"),          //
                                                  operation<&T::onDeletion>("onDeletion"),          //
                                                  operation<&T::insertData>("insertData", "data"),  //
                                                  operation<&T::removeData>("removeData", "data"));
};

template <>
struct Description<Routing::PrefixDataContainer> {
   using T = Routing::PrefixDataContainer;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::prefixDataContainerFactory>(),
      attribute<&T::prefixData, &T::prefixDataIs>("prefixData").stored(ROUTETRIE_POSITION(T, prefixData_)));
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_PatriciaTrieData_936c190e48e66e7c_teskModule)

Corvid::TypeData Routing::PrefixData::typeData() const { return Corvid::typeDataOf<PrefixData>(); }
Corvid::TypeData Routing::PrefixDataContainer::typeData() const { return Corvid::typeDataOf<PrefixDataContainer>(); }
