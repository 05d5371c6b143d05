// TrieGen: a set of routes of one address family, where the family is known only when the program runs. It keeps the engine
// for its family, the multibit trie for IPv4 and the Patricia trie for IPv6, and publishes what each update did.
//
//    update               publishes, in this order
//    routeIs, new         routeUpdated (143) if it was true, what the engine publishes itself, defaultRoutePresent (151) if it
//                         changed, changedRoute (140)
//    routeIs, present     routeUpdated if it was false, changedRoute; the engine is left alone
//    routeDel             routeUpdated if it was true, the engine's, defaultRoutePresent if it changed, changedRoute
//    the trie ends        cb4 (146), cb6 (147)
//
// While those last two are told, the trie works but for its walks, and no reference that is taken keeps it (Node, N1 and N2).
// What a watcher raises then is dropped, since there is no one to take it: the other watchers are not told of that adapter,
// and the trie ends.
//
// Between operations changedRoute() is the empty value.
//
// Which engine answers is not told by one rule for all. Those that assert "p.af() == af()" say so below; the others go by the
// prefix's family, and where no engine is there for it the call is a fatal fault; the counts go by the trie's family.
//
//                         what TrieGen does                         what TrieWrapper does
//    prefix type          IpGenPrefix                               CompactIpPrefix
//    IPv6 engine          Routing6::Trie                            TrieCompact
//    publication          every change                              none
//    routeIs, present     leaves the engine alone                   hands on
//    flag of routeIs      ignored                                   handed on
//    walk callback        TrieGenWalkCallback, through adapters     PatriciaTrieCompactWalkCb
//    wrong family         asserted by some operations               not looked at
//
// Where a watcher raises, changedRoute is back at rest all the same.
//
// A trie has no lock: one thread at a time changes it, and nobody works on it meanwhile. While it stays as it is, any number of
// threads may look routes up at once, but only one may walk: a walk hangs its callback on the adapter that all share, and so
// walks on one trie don't nest either. Of what a callback must not do: routetrie/trie/multibit/Trie.h,
// routetrie/trie/patricia/PatriciaTrie.h.
// Tested by tests/trie/front/TrieGenTest.cpp, tests/trie/front/TrieGenWalkTest.cpp and by tests/property/.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "routetrie/platform/BriskTrace/TraceHandle.h"
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/Publisher.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/Trie6.h"
#include "routetrie/trie/front/TrieGenModule.h"
#include "routetrie/trie/front/TrieGenTrace.h"
#include "routetrie/trie/front/TrieGenWalkCallback.h"
#include "routetrie/trie/multibit/Trie.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieGen : public Corvid::Node {
  public:
   // A family other than the two is let be: such a trie has no engine.
   TrieGen(const Corvid::String& name, Corenet::AddressFamily af);
   ~TrieGen() override;
   static Corvid::Ptr<TrieGen> TrieGenIs(const Corvid::String& name, Corenet::AddressFamily af);

   Corvid::Publisher* publisher() const override;
   Corvid::TypeData typeData() const override;

   //--- attributes; a setter publishes what it changes ---

   const Corvid::String& name() const noexcept { return name_; }
   Corenet::AddressFamily af() const noexcept { return af_; }
   const Corenet::IpGenPrefix& changedRoute() const noexcept { return changedRoute_; }
   void changedRouteIs(const Corenet::IpGenPrefix& p);
   // Whether the last routeIs found its prefix present already.
   bool routeUpdated() const noexcept { return routeUpdated_; }
   void routeUpdatedIs(bool value);
   // The engines; null but for the one of the trie's family.
   const Corvid::Ptr<Trie>& trie4() const noexcept { return trie4_; }
   void trie4Is(const Corvid::Ptr<Trie>& trie);
   const Corvid::Ptr<Routing6::Trie>& trie6() const noexcept { return trie6_; }
   void trie6Is(const Corvid::Ptr<Routing6::Trie>& trie);
   // The walks' adapters, which every trie has. Is makes the adapter if it is not there; Del takes it out, and null comes
   // back if there was none. A walk without its adapter is a fatal fault.
   const Corvid::Ptr<TrieWalkCallback4>& cb4() const noexcept { return cb4_; }
   Corvid::Ptr<TrieWalkCallback4> cb4Is();
   Corvid::Ptr<TrieWalkCallback4> cb4Del();
   const Corvid::Ptr<TrieWalkCallback6>& cb6() const noexcept { return cb6_; }
   Corvid::Ptr<TrieWalkCallback6> cb6Is();
   Corvid::Ptr<TrieWalkCallback6> cb6Del();
   // A flag for callers; nothing here reads it.
   bool initialize() const noexcept { return initialize_; }
   void initializeIs(bool value);
   // What the engine said after the last update.
   bool defaultRoutePresent() const noexcept { return defaultRoutePresent_; }
   void defaultRoutePresentIs(bool value);

   // Gives the trie a new, empty engine, and its adapters if they are not there.
   void handleInitialize();

   //--- changing routes ---

   // Adds the route unless it is there, whatever the flag says. Asserts "p.af() == af()". What the engine and the watchers
   // raise passes through.
   void routeIs(const Corenet::IpGenPrefix& p, bool ignored);
   // Removes the route. The answer is the engine's: Trie::routeDel says more often that a route was there than
   // Routing6::Trie::routeDel. Asserts "p.af() == af()".
   bool routeDel(const Corenet::IpGenPrefix& p);
   // Publishes the prefix as the changed route; the empty value publishes nothing.
   void notifyChangedRoute(const Corenet::IpGenPrefix& p);

   //--- looking routes up ---

   // Whether the route is there; false for a prefix of another family.
   bool route(const Corenet::IpGenPrefix& p) const;
   // The longest route that covers the prefix, the prefix itself included; the empty value if there is none. Asserts
   // "p.af() == af()".
   Corenet::IpGenPrefix longestMatch(const Corenet::IpGenPrefix& p) const {
      if (isTold()) [[unlikely]] {
         // By a copy, so that the other answers can be made in registers.
         Corenet::IpGenPrefix told;
         longestMatchTold(p, __PRETTY_FUNCTION__, told);
         return Corenet::IpGenPrefix(told);
      }
      ROUTETRIE_ASSERT(p.af() == af());
      return af_ == Corenet::ipv4()   ? matchOrEmpty(trie4_->longestMatch(p.v4Prefix()))
             : af_ == Corenet::ipv6() ? matchOrEmpty(trie6_->longestMatch(p.v6Prefix()))
                                      : Corenet::IpGenPrefix();
   }
   // longestMatch for each prefix of a burst, several at a time: answers[i] is that of prefixes[i]. The two may be the same
   // span. Allocates nothing. Asserts "queries.size() == answers.size()" and what longestMatch does.
   void longestMatchBulk(std::span<const Corenet::IpGenPrefix> prefixes,
                         std::span<Corenet::IpGenPrefix> answers) const;
   // The longest route that covers the prefix and is shorter than it; if there is none the null prefix of the prefix's
   // family, and that of IPv4 for a prefix without a family.
   Corenet::IpGenPrefix findParent(const Corenet::IpGenPrefix& p) const;
   // Whether a route longer than the prefix lies beneath it. A family other than IPv4 is taken for IPv6.
   bool longerRoutePresent(const Corenet::IpGenPrefix& p) const;
   bool isDefaultRoutePresent() const;
   // The engine's counts, which differ: the IPv4 engine leaves the default route out of routes().
   int nodes() const;
   U32 routes() const;

   // Calls `callback` for each route that the prefix covers, itself included, by ascending address, and for one address
   // shorter before longer (Trie::preOrderWalk, PatriciaTrie::preOrderWalk). What it raises passes through, and the adapter
   // then keeps it until the next walk.
   void preOrderWalk(const Corenet::IpGenPrefix& subtreeRoot, const Corvid::Ptr<TrieGenWalkCallback>& callback);
   // Writes the engine's nodes to standard output, for a developer.
   void doDump();

   //--- soundness ---

   // Empty if the engine is the family's and sound and changedRoute() is at rest, else what is wrong.
   std::string audit() const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieGen>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieGen>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   // Whether calls are to leave lines or times behind.
   static bool isTold() noexcept {
      return trieGenTrace.mask() != 0 || BriskTrace::defaultBriskTraceHandle.mtTraceFile() != nullptr;
   }
   template <class P>
   static Corenet::IpGenPrefix matchOrEmpty(const P& found) {
      return found.isNullPrefix() ? Corenet::IpGenPrefix() : found;
   }
   // longestMatch with its lines and its time, which stand apart since they would slow it down where neither is wanted.
   // `function` is its text.
   [[gnu::cold, gnu::noinline]] void longestMatchTold(const Corenet::IpGenPrefix& p, const char* function,
                                                      Corenet::IpGenPrefix& answer) const;
   // notifyChangedRoute, where the trie is held.
   void announce(const Corenet::IpGenPrefix& p);
   // Whether anyone can tell in which order an addition asks, adds and announces, or whether an engine was offered a present
   // route: a watcher, a trace, an iterator, an engine that takes payloads alone.
   bool isFollowed() const;
   // Adds the route and learns on the way whether it was there, which spares a search. A present route leaves the engine
   // untouched. Requires: the route has a length from 1 to its family's width, and nobody follows.
   void addUnseen(const Corenet::IpGenPrefix& p);
   void addToEngine(const Corenet::IpGenPrefix& p);
   // Takes over what the engine says of the default route.
   void followEngine();

   Corenet::IpGenPrefix changedRoute_;
   const Corenet::AddressFamily af_;
   bool routeUpdated_ = false;
   const Corvid::String name_;
   Corvid::Ptr<Trie> trie4_;
   Corvid::Ptr<Routing6::Trie> trie6_;
   Corvid::Ptr<TrieWalkCallback4> cb4_;
   Corvid::Ptr<TrieWalkCallback6> cb6_;
   mutable Corvid::Publisher publisher_;
   bool initialize_ = false;
   bool defaultRoutePresent_ = false;
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<TrieGen> trieGenFactory(const Corvid::String& name, Corenet::AddressFamily af);

}  // namespace Routing
