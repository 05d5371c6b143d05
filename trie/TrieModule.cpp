#include "trie/TrieModule.h"

#include "platform/Corenet/Module.h"
#include "platform/Corvid/ModuleTables.h"
#include "trie/Trie.h"
#include "trie/TrieDumpStateWalkCallback.h"
#include "trie/TrieWalkCallbackTest.h"

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

// A walk calls back, so that outside tools are told that it may change something, though the trie itself stays as it is.
constexpr auto preOrderWalk = [](Trie& trie, const Corenet::Prefix& subtreeRoot,
                                 const Corvid::Ptr<TrieWalkCallback>& callback) {
   trie.preOrderWalk(subtreeRoot, callback);
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
      operation<Routing::preOrderWalk>("preOrderWalk", "subtreeRoot", "callback").at(143),   // 143
      operation<&T::getNext>("getNext", "prefix"),                                           // 144
      operation<&T::findParent>("findParent", "prefix"),                                     // 145
      attribute<&T::initialized, &T::initializedIs>("initialized")
         .stored(ROUTETRIE_POSITION(T, initialized_)),        // 146
      operation<&T::handleInitialized>("handleInitialized"),  // 147
      operation<&T::handleDeletion>("handleDeletion"));       // 148
};

template <>
struct Description<Routing::TrieWalkCallback> {
   using T = Routing::TrieWalkCallback;
   static constexpr auto value = describeClass<T>(noConstructor, operation<&T::handlePrefix>("handlePrefix", "p"));
};

template <>
struct Description<Routing::TrieWalkCallbackWrapper> {
   using T = Routing::TrieWalkCallbackWrapper;
   static constexpr auto value = describeClass<T, Routing::TrieWalkCallback>(noConstructor);
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
      noConstructor,
      attribute<&T::indentCount>("indentCount").at(259).stored(ROUTETRIE_POSITION(T, indentCount_)),  // 259
      attribute<&T::entries, &T::entriesIs>("entries").stored(ROUTETRIE_POSITION(T, entries_)));      // 260
};

}  // namespace Corvid

ROUTETRIE_MODULE_RECORD(_Trie_592af94aa7c357bd_teskModule)
