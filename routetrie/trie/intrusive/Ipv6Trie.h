// Ipv6Trie: the intrusive trie as a counted object: IPv6 routes that are the caller's own Ipv6TrieRoute objects.
// Ipv6TrieWithChangeNotifier: the same, with a count of changes that a watcher can follow.
//
//    auto trie = Sprig::ipv6TrieFactory();
//    auto route = Sprig::ipv6TrieRouteFactory(Corenet::Ip6Prefix::fromString("2001:db8::/32"));
//    trie->routeIs(route);
//    trie->longestMatch(Corenet::Ip6Prefix::fromString("2001:db8::1/128"));   // route
//
// The trie holds a reference on each of its routes. Routes that leave it in another way than by routeDel (trieRemove() of
// the route, or the trie's end) leave without a call of handleRoute.
//
// A null prefix, as a route's or as a key, counts as ::/0. No trie has a lock: one thread at a time changes it, and nobody
// works on it meanwhile. While it stays as it is, any number of threads may look routes up and step through it at once: that
// writes nothing and calls nobody back. Corvid::ThreadControl::multiThreadedIs(true) has to be called before, for the
// references that callers take on what they find.
// Tested by tests/trie/intrusive/Ipv6TrieTest.cpp, by tests/trie/intrusive/Ipv6TrieBulkTest.cpp and by tests/property/.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/Publisher.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/intrusive/Ipv6TrieModule.h"
#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

namespace Sprig {

class ROUTETRIE_EXPORT Ipv6Trie : public Corvid::Node {
  public:
   using Engine = Intrusive::Trie<Ipv6TrieRoute::TrieNode>;

   Ipv6Trie() = default;
   // Takes all routes out without a call of handleRoute. Needs no memory.
   ~Ipv6Trie() override;
   static Corvid::Ptr<Ipv6Trie> Ipv6TrieIs();

   Corvid::TypeData typeData() const override;

   // Called after each routeIs and after each routeDel that took a route out: `routeIfAdd` is the route after an addition,
   // null after a removal. What it raises reaches the caller; the change stands. The base form does nothing.
   virtual void handleRoute(const Corenet::Ip6Prefix& prefix, const Ipv6TrieRoute* routeIfAdd);

   // Adds the route, in place of any of the same prefix, which leaves without a call of its own. A route that is there
   // already stays, and handleRoute is called all the same. Requires: `route` is not null, and not in another trie. Raises
   // std::bad_alloc, and then nothing has changed: the reference that the engine keeps in that case is given back here.
   void routeIs(const Corvid::Ptr<Ipv6TrieRoute>& route);
   // Takes the route of exactly this prefix out and hands it to the caller; null if there is none, and then handleRoute is
   // not called. Raises std::bad_alloc, and then nothing has changed.
   Corvid::Ptr<Ipv6TrieRoute> routeDel(const Corenet::Ip6Prefix& prefix);

   // The route of exactly this prefix; null if there is none. No reference is taken for the caller.
   Ipv6TrieRoute* route(const Corenet::Ip6Prefix& prefix) const noexcept;
   // The longest route that covers the prefix, the prefix itself included; null if there is none. Likewise.
   Ipv6TrieRoute* longestMatch(const Corenet::Ip6Prefix& prefix) const noexcept;

   // longestMatch for each prefix of a burst, several at a time, so that one need not wait for the other's memory: the
   // answer to prefixes[i] goes to answers[i]. Allocates nothing. Asserts "queries.size() == answers.size()".
   void longestMatchBulk(std::span<const Corenet::Ip6Prefix> prefixes, std::span<Ipv6TrieRoute*> answers) const;

   // The engine: for searches from a hint and steps from route to route.
   const Engine& trie() const noexcept { return trie_; }

   // Writes the whole tree, its internal nodes and empty slots included, behind `indentCount` blanks; see
   // Intrusive::Trie::dumpStateIp for the lines. Ends the process if the context raises an exception.
   void dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const noexcept;

   // Empty if the tree is sound, else the first broken rule and where.
   std::string audit() const { return trie_.audit(); }

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Ipv6Trie>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<Ipv6Trie>(memory, bytes);
   }

  private:
   Engine trie_;
};

class ROUTETRIE_EXPORT Ipv6TrieWithChangeNotifier : public Ipv6Trie {
  public:
   Ipv6TrieWithChangeNotifier() = default;
   ~Ipv6TrieWithChangeNotifier() override;
   static Corvid::Ptr<Ipv6TrieWithChangeNotifier> Ipv6TrieWithChangeNotifierIs();

   // The field id under which trieChanged is published.
   static constexpr Corvid::FieldId trieChangedId = 258;

   Corvid::Publisher* publisher() const override;
   Corvid::TypeData typeData() const override;
   // Counts the change, whatever it is, and tells the watchers, who have to ask what it was.
   void handleRoute(const Corenet::Ip6Prefix& prefix, const Ipv6TrieRoute* routeIfAdd) override;

   // How many changes there were, modulo 256.
   U8 trieChanged() const noexcept { return trieChanged_; }
   void trieChangedIs(U8 value);

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Ipv6TrieWithChangeNotifier>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<Ipv6TrieWithChangeNotifier>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   U8 trieChanged_ = 0;
   mutable Corvid::Publisher publisher_;
};

// A new, empty trie of either kind.
ROUTETRIE_EXPORT Corvid::Ptr<Ipv6Trie> ipv6TrieFactory();
ROUTETRIE_EXPORT Corvid::Ptr<Ipv6TrieWithChangeNotifier> ipv6TrieWithChangeNotifierFactory();

}  // namespace Sprig
