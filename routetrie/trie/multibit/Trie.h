// Trie: a set of IPv4 routes in a multibit trie of six levels, which answers a lookup with one byte a level. Nothing is
// kept with a route.
//
// I6 routes() equals the number of routes in the nodes. The default route, of length 0, is in no node: a flag holds it, and
//    routes() and nodes() leave it out.
// I7 nodes() equals the number of nodes below root(), which is there for as long as the trie is.
//
// Every routeIs and routeDel announces its prefix, by publishing `changedRoute` once when it ends: also when it changed
// nothing, and also when it raises. Between operations changedRoute() is the null prefix.
//
// The null prefix, of length 255, is no route and not for callers to pass. Where it is passed its length counts modulo 32 in
// shifts: routeIs and routeDel take it for 0.0.0.0/31, and longerRoutePresent looks in the two entries of that. Everywhere
// else it is longer than any route: longestMatch and findParent find at most the default route, a walk from it reports
// nothing, and getNext of it leaves out what begins at address 0.
//
// A trie has no lock: one thread at a time changes it, and nobody works on it meanwhile. While it stays as it is, any number of
// threads may look routes up and walk at once, each with a callback of its own; the walks are not const only because a callback
// may do anything. Corvid::ThreadControl::multiThreadedIs(true) has to be called before, as ever with several threads.
//
// A walk's callback must not change the trie. A build with ROUTETRIE_FAULT_INJECTION checks this, and asserts "a callback
// must not change the trie that it is called for" in the change; no other build does.
//
// Tested by tests/trie/multibit/TrieTest.cpp and its neighbours, and by tests/property/.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/Publisher.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/multibit/TrieLengths.h"
#include "routetrie/trie/multibit/TrieModule.h"
#include "routetrie/trie/multibit/TrieNode.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"

namespace Routing {

// The prefix of a host-order address's first `length` bits. Raises Corvid::RangeException for a length of 33 to 254.
inline Corenet::Prefix pfx(U32 address, U32 length) {
   return Corenet::Prefix::cut(Corenet::AddressBits<32>(address), length);
}

class ROUTETRIE_EXPORT Trie : public Corvid::Node {
  public:
   Trie();
   ~Trie() override;
   static Corvid::Ptr<Trie> TrieIs();

   Corvid::Publisher* publisher() const override;
   Corvid::TypeData typeData() const override;

   //--- attributes ---

   int nodes() const noexcept { return nodes_; }
   TrieImpl::TrieNode* root() const noexcept { return root_; }
   U32 routes() const noexcept { return routes_; }
   const Corenet::Prefix& changedRoute() const noexcept { return changedRoute_; }
   bool defaultRoutePresent() const noexcept { return defaultRoutePresent_; }
   bool initialized() const noexcept { return initialized_; }

   // Without checks; for the object model and the nodes. The old root is not freed.
   void nodesIs(int value) noexcept { nodes_ = value; }
   void nodesInc(int by) noexcept { nodes_ += by; }
   void rootIs(TrieImpl::TrieNode* root) noexcept { root_ = root; }
   void routesIs(U32 value) noexcept { routes_ = value; }
   void routesInc(U32 by) noexcept { routes_ += by; }
   void initializedIs(bool value) noexcept { initialized_ = value; }

   bool isDefaultRoutePresent() const noexcept { return defaultRoutePresent_; }
   bool empty() const noexcept { return routes_ == 0 && !defaultRoutePresent_; }

   //--- changing routes ---

   // Adds the route, whatever the flag says. Raises std::bad_alloc, and what a subscriber raises. Where memory runs out
   // the routes and their count are as before, but the nodes made on the way stay, bare, and are counted by nodes(); they
   // go with the next route that is removed from their place, or with the trie. The announcement is made all the same, and
   // changedRoute() is back at rest also where a subscriber raises.
   void routeIs(const Corenet::Prefix& prefix, bool ignored);
   // Removes the route if it is there. True if the node that would hold it is there, and for the default route always;
   // false tells that the route was absent, true does not tell that it was present.
   bool routeDel(const Corenet::Prefix& prefix);

   // Begins a new, empty tree. The old one is neither freed nor are its counts taken back.
   void handleInitialized();
   // Destroys the tree and leaves root() pointing at it: whoever calls this sets another root, or calls
   // handleInitialized, before the trie is used or destroyed.
   void handleDeletion();

   // Sets the attribute, and publishes it if that changed it.
   void changedRouteIs(const Corenet::Prefix& prefix);
   // Does the same, and puts the null prefix back, which is not published.
   void notifyChangedRoute(const Corenet::Prefix& prefix);

   //--- looking routes up ---

   // Whether the route is there. Of the null prefix it is said that it is, unless the default route is.
   bool route(const Corenet::Prefix& prefix) const { return longestMatch(prefix) == prefix; }
   // The longest route that covers the prefix, the prefix itself included. The null prefix if there is none.
   Corenet::Prefix longestMatch(const Corenet::Prefix& prefix) const {
      return longestMatchIn(root_, defaultRoutePresent_, prefix);
   }
   // longestMatch for each prefix of a burst, several at a time: answers[i] is that of prefixes[i]. The two may be the same
   // span. Allocates nothing. Asserts "queries.size() == answers.size()".
   void longestMatchBulk(std::span<const Corenet::Prefix> prefixes, std::span<Corenet::Prefix> answers) const;
   // The longest route that covers the prefix and is shorter than it. The null prefix if there is none.
   Corenet::Prefix findParent(const Corenet::Prefix& prefix) const {
      return parentIn(root_, defaultRoutePresent_, prefix);
   }
   // Whether a route longer than the prefix lies beneath it.
   bool longerRoutePresent(const Corenet::Prefix& prefix) const;

   //--- walking ---

   // Calls `callback` for each route that the prefix covers, itself included, by ascending address, and for one address shorter
   // before longer. A route that it refuses (TrieWalkCallback) is left out with all that lies beneath it; a default route
   // refused ends the walk. What the callback raises passes through, and Corvid::RangeException comes for a route byte that
   // damaged memory has turned into no prefix. Requires: `callback` is not null.
   void preOrderWalk(const Corenet::Prefix& subtreeRoot, const Corvid::Ptr<TrieWalkCallback>& callback);
   // The same in compact form. A prefix of IPv6 counts as the null prefix; the null compact value covers everything.
   void preOrderWalkCompact(const Corenet::CompactIpPrefix& subtreeRoot,
                            const Corvid::Ptr<PatriciaTrieCompactWalkCb>& callback);
   // The route that a walk over everything reports after this one, and 0.0.0.0/0 if there is none. That is also the answer for a
   // prefix that is no route, but 0.0.0.0/0 itself, which is always followed by the first route.
   Corenet::Prefix getNext(const Corenet::Prefix& prefix) const;

   //--- text ---

   // Writes the routes to the context, each in a line, behind a margin of `indentCount` blanks and a heading. The context may
   // cut the list; whether it does is told by routes(), though the default route has a line, too.
   void dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const;
   // Writes the nodes to standard output, for a developer.
   void doDump();

   //--- soundness ---

   // Recounts everything from the nodes: empty if I1 to I7 hold, else the first broken rule and where. Bare nodes are no
   // fault once an addition has run out of memory.
   std::string audit() const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Trie>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Trie>(memory, bytes); }

  private:
   template <class T>
   friend struct Corvid::Description;
   class RouteChangeGuard;

   void walkRoutes(const Corenet::Prefix& subtreeRoot, const Corvid::Ptr<TrieWalkCallback>& callback) const;

   int nodes_ = 0;
   TrieImpl::TrieNode* root_ = nullptr;
   mutable Corvid::Publisher publisher_;
   U32 routes_ = 0;
   Corenet::Prefix changedRoute_;
   bool defaultRoutePresent_ = false;
   bool initialized_ = false;
   bool mayHaveBareNodes_ = false;  // an addition has run out of memory
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<Trie> trieFactory();

}  // namespace Routing
