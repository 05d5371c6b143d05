#include "routetrie/trie/intrusive/Ipv6TrieModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"

namespace Corvid {

template <>
struct Description<Sprig::Ipv6Trie> {
   using T = Sprig::Ipv6Trie;
   static constexpr auto value =
      describeClass<T>(constructor<&Sprig::ipv6TrieFactory>(),
                       keyedWithLookup<&T::route, &T::routeIs, &T::routeDel>("route", "prefix"),  // 130
                       keyedWithLookup<&T::longestMatch>("longestMatch"),                         // 131
                       operation<&T::handleRoute>("handleRoute", "prefix", "routeIfAdd"),         // 132
                       declaredOperation<Sprig::Ipv6TrieRoute*, Corenet::Ip6Prefix>("lookupRoute", "prefix").at(134),
                       operation<&T::dumpState>("dumpState", "dumpCtx", "indentCount"));  // 135
};

template <>
struct Description<Sprig::Ipv6TrieWithChangeNotifier> {
   using T = Sprig::Ipv6TrieWithChangeNotifier;
   static constexpr auto value = describeClass<T, Sprig::Ipv6Trie>(
      constructor<&Sprig::ipv6TrieWithChangeNotifierFactory>(),
      attribute<&T::trieChanged>("trieChanged").published().stored(ROUTETRIE_POSITION(T, trieChanged_)));  // 258
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Ipv6Trie_49b08d217c477b09_teskModule)

namespace Sprig {

Corvid::TypeData Ipv6Trie::typeData() const { return Corvid::typeDataOf<Ipv6Trie>(); }

Corvid::TypeData Ipv6TrieWithChangeNotifier::typeData() const {
   return Corvid::typeDataOf<Ipv6TrieWithChangeNotifier>();
}

}  // namespace Sprig
