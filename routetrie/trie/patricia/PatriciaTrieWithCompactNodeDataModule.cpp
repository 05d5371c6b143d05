#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeDataModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeDataModule.h"

namespace Corvid {

template <>
struct Description<Routing::PatriciaTrieWithCompactNodeData> {
   using T = Routing::PatriciaTrieWithCompactNodeData;
   static constexpr auto value = describeClass<T, Routing::PatriciaTrieWithNodeData>(
      constructor<&Routing::patriciaTrieWithCompactNodeDataFactory>("af"));
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_PatriciaTrieWithCompactNodeData_3b5ccd3c60aee402_teskModule)

Corvid::TypeData Routing::PatriciaTrieWithCompactNodeData::typeData() const {
   return Corvid::typeDataOf<PatriciaTrieWithCompactNodeData>();
}
