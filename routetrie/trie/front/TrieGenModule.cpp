#include "routetrie/trie/front/TrieGenModule.h"

#include <optional>

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Tesk/GenericIfImpl.h"
#include "routetrie/platform/Vrf/Module.h"
#include "routetrie/trie/front/Trie6Module.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieGenByVrf.h"
#include "routetrie/trie/front/TrieGenTestWalkCallback.h"
#include "routetrie/trie/front/TwoLpmLen.h"
#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

namespace Routing {

namespace {

// The entries of a map, by the map's own iterator, which stays where it is when its member is deleted. The key is kept, since a
// deleted entry no longer has one.
template <class Owner, class Node, class Key, class Member>
class MapIterator {
  public:
   using Map = std::remove_reference_t<decltype(Owner::mapOf(std::declval<const typename Owner::T&>()))>;
   explicit MapIterator(const typename Owner::T& owner) : at_(Owner::mapOf(owner)) { keep(); }
   MapIterator(const typename Owner::T& owner, const Key& key)
      : at_(Owner::mapOf(owner), key, Owner::T::hashOf(key)) {
      keep();
   }
   const Key& key() const { return key_.value(); }
   Member member() const { return Owner::memberOf(at_.currNodeNonStale()); }
   void advance() {
      at_.advance();
      keep();
   }
   bool atEnd() const { return at_.currNodeMaybeStale() == nullptr; }

  private:
   void keep() {
      if (const Node* const node = at_.currNodeNonStale()) {
         key_ = node->key();
      }
   }

   Tesk::HashMap2018Iterator<Node> at_;
   std::optional<Key> key_;
};

struct VrfTrieGenMembers {
   using T = TrieGenByVrf;
   static TrieGenByVrf::Entries& mapOf(const T& set) { return set.entries(); }
   static Corvid::Ptr<VrfTrieGen> memberOf(const T::HN_VrfTrieGen* node) {
      return node != nullptr ? node->entry : nullptr;
   }
   static U32 count(const T& set) { return mapOf(set).memberCount(); }
   static U32 number(const T& set) { return mapOf(set).changeNumber(); }
   static bool exists(const T& set, Vrf::VrfIdMap::VrfId vrfId) { return set.vrfTrieGen(vrfId) != nullptr; }
   using Iterator = MapIterator<VrfTrieGenMembers, T::HN_VrfTrieGen, Vrf::VrfIdMap::VrfId, Corvid::Ptr<VrfTrieGen>>;
};

struct WalkedPrefixMembers {
   using T = TrieGenTestWalkCallback;
   static T::WalkedPrefixes& mapOf(const T& recorder) { return recorder.walkedPrefixes(); }
   static bool memberOf(const T::HN_WalkedPrefix* node) { return node != nullptr; }
   static U32 count(const T& recorder) { return mapOf(recorder).memberCount(); }
   static U32 number(const T& recorder) { return mapOf(recorder).changeNumber(); }
   static bool exists(const T& recorder, const Corenet::IpGenPrefix& p) { return recorder.walkedPrefix(p); }
   using Iterator = MapIterator<WalkedPrefixMembers, T::HN_WalkedPrefix, Corenet::IpGenPrefix, bool>;
};

constexpr auto walkedPrefixSet = [](TrieGenTestWalkCallback& recorder, const Corenet::IpGenPrefix& p, bool value) {
   if (!value) {
      Tesk::GenericIfImpl::throwSetFalseValueException();
   }
   recorder.walkedPrefixIs(p);
};

}  // namespace
}  // namespace Routing

namespace Corvid {

template <>
struct Description<Routing::TrieGen> {
   using T = Routing::TrieGen;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::trieGenFactory>("name", "af"),                                                   //
      attribute<&T::name>("name").stored(ROUTETRIE_POSITION(T, name_)),                                      // 130
      attribute<&T::af>("af").stored(ROUTETRIE_POSITION(T, af_)),                                            // 131
      operation<&T::longestMatch>("longestMatch", "prefix"),                                                 // 132
      operation<&T::longerRoutePresent>("longerRoutePresent", "prefix"),                                     // 133
      operation<&T::preOrderWalk>("preOrderWalk", "subtreeRoot", "callback"),                                // 134
      operation<&T::findParent>("findParent", "prefix"),                                                     // 135
      operation<&T::isDefaultRoutePresent>("isDefaultRoutePresent"),                                         // 136
      keyed<&T::route, &T::routeIs, &T::routeDel>("route"),                                                  // 137
      operation<&T::nodes>("nodes"),                                                                         // 138
      operation<&T::routes>("routes"),                                                                       // 139
      attribute<&T::changedRoute>("changedRoute").published().stored(ROUTETRIE_POSITION(T, changedRoute_)),  // 140
      operation<&T::notifyChangedRoute>("notifyChangedRoute", "prefix"),                                     // 141
      declaredOperation<void, Corenet::IpGenPrefix>("doNotifyChangedRoute", "prefix"),                       // 142
      attribute<&T::routeUpdated, &T::routeUpdatedIs>("routeUpdated")
         .published()
         .stored(ROUTETRIE_POSITION(T, routeUpdated_)),                                                      // 143
      attribute<&T::trie4, &T::trie4Is>("trie4").published().stored(ROUTETRIE_POSITION(T, trie4_)),          // 144
      attribute<&T::trie6, &T::trie6Is>("trie6").published().stored(ROUTETRIE_POSITION(T, trie6_)),          // 145
      instantiating<&T::cb4, &T::cb4Is, &T::cb4Del>("cb4").published().stored(ROUTETRIE_POSITION(T, cb4_)),  // 146
      instantiating<&T::cb6, &T::cb6Is, &T::cb6Del>("cb6").published().stored(ROUTETRIE_POSITION(T, cb6_)),  // 147
      attribute<&T::initialize, &T::initializeIs>("initialize")
         .published()
         .stored(ROUTETRIE_POSITION(T, initialize_)),       // 148
      operation<&T::handleInitialize>("handleInitialize"),  // 149
      operation<&T::doDump>("doDump"),                      // 150
      attribute<&T::defaultRoutePresent>("defaultRoutePresent")
         .published()
         .stored(ROUTETRIE_POSITION(T, defaultRoutePresent_)));  // 151
};

template <>
struct Description<Routing::VrfTrieGen> {
   using T = Routing::VrfTrieGen;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::vrfTrieGenFactory>("vrfId"),                                              //
      attribute<&T::vrfId>("vrfId").stored(ROUTETRIE_POSITION(T, vrfId_)),                            // 130
      attribute<&T::ipv4Trie, &T::ipv4TrieIs>("ipv4Trie").stored(ROUTETRIE_POSITION(T, ipv4Trie_)),   // 131
      attribute<&T::ipv6Trie, &T::ipv6TrieIs>("ipv6Trie").stored(ROUTETRIE_POSITION(T, ipv6Trie_)));  // 132
};

template <>
struct Description<Routing::TrieGenByVrf> {
   using T = Routing::TrieGenByVrf;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::trieGenByVrfFactory>(),
      collectionWithLookup<Routing::VrfTrieGenMembers, &T::vrfTrieGen, &T::vrfTrieGenIs, &T::vrfTrieGenDel>(
         "vrfTrieGen", "vrfId")
         .stored(ROUTETRIE_POSITION(T, entries_)));  // 130
};

template <>
struct Description<Routing::TwoLpmLen> {
   using T = Routing::TwoLpmLen;
   static constexpr auto value =
      describeValue<T>(noConstructor, attribute<&T::lpm1, &T::lpm1>("lpm1").stored(ROUTETRIE_POSITION(T, lpm1)),  // 2
                       attribute<&T::lpm2, &T::lpm2>("lpm2").stored(ROUTETRIE_POSITION(T, lpm2)));                // 3
};

template <>
struct Description<Routing::TrieGenWalkCallback> {
   using T = Routing::TrieGenWalkCallback;
   static constexpr auto value = describeClass<T>(noConstructor, operation<&T::handlePrefix>("handlePrefix", "p"));
};

template <>
struct Description<Routing::TrieWalkCallback4> {
   using T = Routing::TrieWalkCallback4;
   static constexpr auto value = describeClass<T, Routing::TrieWalkCallback>(
      noConstructor, attribute<&T::currentWalkCallback, &T::currentWalkCallbackIs>("currentWalkCallback")
                        .stored(ROUTETRIE_POSITION(T, currentWalkCallback_)));  // 258
};

template <>
struct Description<Routing::TrieWalkCallback6> {
   using T = Routing::TrieWalkCallback6;
   static constexpr auto value = describeClass<T, Routing::PatriciaTrieWalkCb>(
      noConstructor, attribute<&T::currentWalkCallback, &T::currentWalkCallbackIs>("currentWalkCallback")
                        .stored(ROUTETRIE_POSITION(T, currentWalkCallback_)));  // 258
};

template <>
struct Description<Routing::TrieGenTestWalkCallback> {
   using T = Routing::TrieGenTestWalkCallback;
   static constexpr auto value = describeClass<T, Routing::TrieGenWalkCallback>(
      constructor<&Routing::trieGenTestWalkCallbackFactory>(),
      collection<Routing::WalkedPrefixMembers, &T::walkedPrefix, Routing::walkedPrefixSet, &T::walkedPrefixDel>(
         "walkedPrefix")
         .stored(ROUTETRIE_POSITION(T, walkedPrefixes_)));  // 258
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_TrieGen_7a6fe44fbc33ae9a_teskModule)

namespace Routing {

Corvid::TypeData TrieGen::typeData() const { return Corvid::typeDataOf<TrieGen>(); }
Corvid::TypeData VrfTrieGen::typeData() const { return Corvid::typeDataOf<VrfTrieGen>(); }
Corvid::TypeData TrieGenByVrf::typeData() const { return Corvid::typeDataOf<TrieGenByVrf>(); }
Corvid::TypeData TrieGenWalkCallback::typeData() const { return Corvid::typeDataOf<TrieGenWalkCallback>(); }
Corvid::TypeData TrieWalkCallback4::typeData() const { return Corvid::typeDataOf<TrieWalkCallback4>(); }
Corvid::TypeData TrieWalkCallback6::typeData() const { return Corvid::typeDataOf<TrieWalkCallback6>(); }
Corvid::TypeData TrieGenTestWalkCallback::typeData() const { return Corvid::typeDataOf<TrieGenTestWalkCallback>(); }

}  // namespace Routing
