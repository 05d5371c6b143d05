#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

#include "routetrie/platform/Corenet/Module.h"
#include "routetrie/platform/Corvid/ModuleTables.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieDumpStateWalkCallback.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"

namespace Routing {

namespace {

struct WalkedPrefixMembers {
   using T = TrieWalkCallbackTest;
   static U32 count(const T& recorder) { return recorder.walkedPrefix().members(); }
   static Corenet::Prefix front(const T& recorder) { return recorder.walkedPrefixFront(); }
   static Corenet::Prefix back(const T& recorder) { return recorder.walkedPrefixBack(); }
   static void enqueue(T& recorder, const Corenet::Prefix& p) { recorder.walkedPrefixEnq(p); }
   static Corenet::Prefix dequeue(T& recorder) { return recorder.walkedPrefixDeq(); }

   // By position; the oldest has the lowest.
   class Iterator {
     public:
      explicit Iterator(const T& recorder) : Iterator(recorder, recorder.walkedPrefix().frontPosition()) {}
      Iterator(const T& recorder, U32 position) : queue_(recorder.walkedPrefix()), position_(position) {}
      U32 key() const { return position_; }
      Corenet::Prefix member() const { return queue_.at(position_); }
      void advance() { ++position_; }
      bool atEnd() const { return !queue_.contains(position_); }

     private:
      const T::WalkedPrefixes& queue_;
      U32 position_;
   };
};

}  // namespace
}  // namespace Routing

namespace Corvid {

template <>
struct Description<Routing::Trie> {
   using T = Routing::Trie;
   static constexpr auto value = describeClass<T>(
      constructor<&Routing::trieFactory>(),                                                                  //
      keyed<&T::longestMatch>("longestMatch"),                                                               // 130
      keyed<&T::route, &T::routeIs, &T::routeDel>("route"),                                                  // 131
      operation<&T::longerRoutePresent>("longerRoutePresent", "prefix"),                                     // 132
      attribute<&T::changedRoute>("changedRoute").published().stored(ROUTETRIE_POSITION(T, changedRoute_)),  // 133
      operation<&T::notifyChangedRoute>("notifyChangedRoute", "prefix"),                                     // 134
      operation<&T::doDump>("doDump"),                                                                       // 135
      attribute<&T::defaultRoutePresent>("defaultRoutePresent")
         .at(137)
         .stored(ROUTETRIE_POSITION(T, defaultRoutePresent_)),
      attribute<&T::nodes, &T::nodesIs>("nodes").stored(ROUTETRIE_POSITION(T, nodes_)),      // 138
      attribute<&T::routes, &T::routesIs>("routes").stored(ROUTETRIE_POSITION(T, routes_)),  // 139
      operation<&T::empty>("empty"),                                                         // 140
      operation<&T::isDefaultRoutePresent>("isDefaultRoutePresent"),                         // 141
      operation<&T::preOrderWalkCompact>("preOrderWalkCompact", "subtreeRoot", "callback"),  // 142
      operation<&T::preOrderWalk>("preOrderWalk", "subtreeRoot", "callback"),                // 143
      operation<&T::getNext>("getNext", "prefix"),                                           // 144
      operation<&T::findParent>("findParent", "prefix"),                                     // 145
      attribute<&T::initialized, &T::initializedIs>("initialized")
         .stored(ROUTETRIE_POSITION(T, initialized_)),                   // 146
      operation<&T::handleInitialized>("handleInitialized"),             // 147
      operation<&T::handleDeletion>("handleDeletion"),                   // 148
      operation<&T::dumpState>("dumpState", "dumpCtx", "indentCount"));  // 149
};

template <>
struct Description<Routing::TrieWalkCallback> {
   using T = Routing::TrieWalkCallback;
   static constexpr auto value = describeClass<T>(noConstructor, operation<&T::handlePrefix>("handlePrefix", "p"));
};

template <>
struct Description<Routing::TrieWalkCallbackWrapper> {
   using T = Routing::TrieWalkCallbackWrapper;
   static constexpr auto value = describeClass<T, Routing::TrieWalkCallback>(
      noConstructor,
      attribute<[](const T& wrapper) { return wrapper.pcb(); }>("pcb").stored(ROUTETRIE_POSITION(T, pcb_)));  // 258
};

template <>
struct Description<Routing::TrieWalkCallbackTest> {
   using T = Routing::TrieWalkCallbackTest;
   static constexpr auto value = describeClass<T, Routing::TrieWalkCallback>(
      constructor<&Routing::trieWalkCallbackTestFactory>(),
      queue<Routing::WalkedPrefixMembers, T>("walkedPrefix").at(259).stored(ROUTETRIE_POSITION(T, walkedPrefix_)));
};

template <>
struct Description<Routing::TrieDumpStateWalkCallback> {
   using T = Routing::TrieDumpStateWalkCallback;
   static constexpr auto value = describeClass<T, Routing::TrieWalkCallback>(
      noConstructor, attribute<&T::dumpCtx>("dumpCtx").stored(ROUTETRIE_POSITION(T, dumpCtx_)),   // 258
      attribute<&T::indentCount>("indentCount").stored(ROUTETRIE_POSITION(T, indentCount_)),      // 259
      attribute<&T::entries, &T::entriesIs>("entries").stored(ROUTETRIE_POSITION(T, entries_)));  // 260
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Trie_592af94aa7c357bd_teskModule)

namespace Routing {

Corvid::TypeData Trie::typeData() const { return Corvid::typeDataOf<Trie>(); }
Corvid::TypeData TrieWalkCallback::typeData() const { return Corvid::typeDataOf<TrieWalkCallback>(); }
Corvid::TypeData TrieWalkCallbackWrapper::typeData() const { return Corvid::typeDataOf<TrieWalkCallbackWrapper>(); }
Corvid::TypeData TrieWalkCallbackTest::typeData() const { return Corvid::typeDataOf<TrieWalkCallbackTest>(); }
Corvid::TypeData TrieDumpStateWalkCallback::typeData() const {
   return Corvid::typeDataOf<TrieDumpStateWalkCallback>();
}

}  // namespace Routing
