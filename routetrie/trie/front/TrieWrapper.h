// TrieWrapper: a set of routes of one address family in compact prefixes, over the engine that suits the family: the multibit
// trie for IPv4, the compact Patricia trie for IPv6. Each operation hands on to the engine, and nothing is published; how
// it differs from TrieGen, which does publish, stands in routetrie/trie/front/TrieGen.h.
//
// The prefix's family is not looked at. In an IPv4 wrapper a prefix of IPv6 stands for the null prefix, of which Trie tells
// what it is taken for; an IPv6 wrapper leaves it to its engine, which aborts at the first node.
//
// A selector that is neither of the two, which only damaged memory can hold, ends the process with the assertion "false".
// A trie has no lock. Lookups and walks may run on several threads at once while nobody changes the trie, as in its engine
// (routetrie/trie/multibit/Trie.h, routetrie/trie/patricia/PatriciaTrie.h).
// Tested by tests/trie/front/TrieWrapperTest.cpp and by tests/property/.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Types.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/front/TrieWrapperModule.h"
#include "routetrie/trie/multibit/Trie.h"

namespace Routing {

class ROUTETRIE_EXPORT TrieWrapper : public Corvid::Node {
  public:
   // Asserts "false" for any family but the two.
   explicit TrieWrapper(Corenet::AddressFamily af);
   ~TrieWrapper() override;
   static Corvid::Ptr<TrieWrapper> TrieWrapperIs(Corenet::AddressFamily af);
   Corvid::TypeData typeData() const override;

   //--- attributes ---

   Corenet::AddressFamily af() const noexcept { return af_; }
   Corenet::V4V6 v4v6() const noexcept { return v4v6_; }
   // The engines; null but for the one of the wrapper's family.
   const Corvid::Ptr<Trie>& v4Trie() const noexcept { return v4Trie_; }
   const Corvid::Ptr<TrieCompact>& v6Trie() const noexcept { return v6Trie_; }

   // Is makes the engine if it is not there; that of v6TrieIs is replaced if it is of another family than `af`. Del takes it
   // out, and null comes back if there was none. An operation without its engine is a fatal fault.
   Corvid::Ptr<Trie> v4TrieIs();
   Corvid::Ptr<Trie> v4TrieDel();
   Corvid::Ptr<TrieCompact> v6TrieIs(Corenet::AddressFamily af);
   Corvid::Ptr<TrieCompact> v6TrieDel();

   // Gives the wrapper its selector and, if it is not there, its engine.
   void handleInitialized();

   //--- routes: what the engine's operations of these names do ---

   bool route(const Corenet::CompactIpPrefix& p) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->route(p.ipv4());
         case Corenet::V4V6::v6: return v6Trie_->route(p);
      }
      ROUTETRIE_ASSERT(false);
      return false;
   }
   void routeIs(const Corenet::CompactIpPrefix& p, bool value) {
      switch (v4v6_) {
         case Corenet::V4V6::v4: v4Trie_->routeIs(p.ipv4(), value); return;
         case Corenet::V4V6::v6: v6Trie_->routeIs(p, value); return;
      }
      ROUTETRIE_ASSERT(false);
   }
   bool routeDel(const Corenet::CompactIpPrefix& p) {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->routeDel(p.ipv4());
         case Corenet::V4V6::v6: return v6Trie_->routeDel(p);
      }
      ROUTETRIE_ASSERT(false);
      return false;
   }
   U32 routes() const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->routes();
         case Corenet::V4V6::v6: return v6Trie_->routes();
      }
      ROUTETRIE_ASSERT(false);
      return 0;
   }
   bool defaultRoutePresent() const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->defaultRoutePresent();
         case Corenet::V4V6::v6: return v6Trie_->defaultRoutePresent();
      }
      ROUTETRIE_ASSERT(false);
      return false;
   }
   bool empty() const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->empty();
         case Corenet::V4V6::v6: return v6Trie_->empty();
      }
      ROUTETRIE_ASSERT(false);
      return false;
   }
   Corenet::CompactIpPrefix longestMatch(const Corenet::CompactIpPrefix& p) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->longestMatch(p.ipv4());
         case Corenet::V4V6::v6: return v6Trie_->longestMatch(p);
      }
      ROUTETRIE_ASSERT(false);
      return {};
   }
   // longestMatch for each prefix of a burst, several at a time: answers[i] is that of prefixes[i]. The two may be the same
   // span. Asserts "queries.size() == answers.size()".
   void longestMatchBulk(std::span<const Corenet::CompactIpPrefix> prefixes,
                         std::span<Corenet::CompactIpPrefix> answers) const;
   bool longerRoutePresent(const Corenet::CompactIpPrefix& p) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->longerRoutePresent(p.ipv4());
         case Corenet::V4V6::v6: return v6Trie_->longerRoutePresent(p);
      }
      ROUTETRIE_ASSERT(false);
      return false;
   }
   Corenet::CompactIpPrefix findParent(const Corenet::CompactIpPrefix& p) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: return v4Trie_->findParent(p.ipv4());
         case Corenet::V4V6::v6: return v6Trie_->findParent(p);
      }
      ROUTETRIE_ASSERT(false);
      return {};
   }
   void preOrderWalkCompact(const Corenet::CompactIpPrefix& subtreeRoot, PatriciaTrieCompactWalkCb* callback) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4:
            v4Trie_->preOrderWalkCompact(subtreeRoot, Corvid::Ptr<PatriciaTrieCompactWalkCb>(callback));
            return;
         case Corenet::V4V6::v6: v6Trie_->preOrderWalkCompact(subtreeRoot, callback); return;
      }
      ROUTETRIE_ASSERT(false);
   }

   // The engine's dump, without a line of the wrapper's own. With a bad selector nothing.
   void dumpState(const Corvid::Ptr<const Keel::DumpContext>& dumpCtx, U32 indentCount) const {
      switch (v4v6_) {
         case Corenet::V4V6::v4: v4Trie_->dumpState(dumpCtx, indentCount); return;
         case Corenet::V4V6::v6: v6Trie_->dumpState(dumpCtx, indentCount); return;
      }
   }

   //--- soundness ---

   // Empty if the engine is the family's and sound, else what is wrong.
   std::string audit() const;

   static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<TrieWrapper>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<TrieWrapper>(memory, bytes);
   }

  private:
   template <class T>
   friend struct Corvid::Description;

   const Corenet::AddressFamily af_;
   Corenet::V4V6 v4v6_ = Corenet::V4V6::v4;
   Corvid::Ptr<Trie> v4Trie_;
   Corvid::Ptr<TrieCompact> v6Trie_;
};

// A new, empty trie.
ROUTETRIE_EXPORT Corvid::Ptr<TrieWrapper> trieWrapperFactory(Corenet::AddressFamily af);

}  // namespace Routing
