// FrontTable: the library's front ends as engines of rtrie: the dual-family trie, the IPv6 trie, the compact trie and the
// wrapper. They differ in the form of their prefixes and in how they say that there is no such route.
//
//    changes, match, parent, longer, subtree   the front end's own operations, and the wrapper's own dump
//    all else                                  the engine that the front end gives access to, or is, as that answers
//
// Tested by tests/tools/rtrie/FrontTableTest.cpp and tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "tools/rtrie/RouteTable.h"
#include "tools/rtrie/engines/MultibitTable.h"
#include "tools/rtrie/engines/PatriciaTable.h"
#include "tools/rtrie/engines/RouteVisitor.h"

namespace Rtrie {

// A front end with prefixes of class Form, and what makes one of a family: make(); what walks over its routes: walk(); and
// what answers as the engine beneath it does: beneath().
template <class TrieType, class FormType>
struct Front {
   using Trie = TrieType;
   using Form = FormType;
};

struct GenFront : Front<Routing::TrieGen, Corenet::IpGenPrefix> {
   class Visitor final : public Routing::TrieGenWalkCallback {
     public:
      Visitor(const Form& query, const RouteTable::Visit& visit) : query_(query), visit_(visit) {}
      int handlePrefix(const Form& route) override { return visitIfUnder(query_, route, visit_) ? 1 : 0; }

     private:
      const Form query_;
      const RouteTable::Visit& visit_;
   };

   static auto make(Corenet::AddressFamily af) { return Routing::trieGenFactory("rtrie", af); }
   static void walk(Trie& trie, const Form& query, const RouteTable::Visit& visit) {
      trie.preOrderWalk(query, Corvid::ptrIsImpl<Visitor>(query, visit));
   }
   static std::unique_ptr<RouteTable> beneath(Trie& trie) {
      if (trie.trie4()) {
         return std::make_unique<MultibitTable>(trie.trie4());
      }
      return std::make_unique<PatriciaTable>(trie.trie6());
   }
};

struct Trie6Front : Front<Routing6::Trie, Corenet::Ip6Prefix> {
   static auto make(Corenet::AddressFamily) { return Routing6::trieFactory(); }
   static void walk(Trie& trie, const Form& query, const RouteTable::Visit& visit) {
      trie.preOrderWalk(query, Corvid::ptrIsImpl<GenVisitor>(query, visit).get());
   }
   static std::unique_ptr<RouteTable> beneath(Trie& trie) {
      return std::make_unique<PatriciaTable>(Corvid::Ptr<Routing::PatriciaTrie>(&trie));
   }
};

// The two front ends of one-word prefixes walk alike.
template <class TrieType>
struct OneWordFront : Front<TrieType, Corenet::CompactIpPrefix> {
   static void walk(TrieType& trie, const Corenet::CompactIpPrefix& query, const RouteTable::Visit& visit) {
      trie.preOrderWalkCompact(query, Corvid::ptrIsImpl<CompactVisitor>(query.genPrefix(), visit).get());
   }
};

struct CompactFront : OneWordFront<Routing::TrieCompact> {
   static auto make(Corenet::AddressFamily af) { return Routing::trieCompactFactory(af); }
   static std::unique_ptr<RouteTable> beneath(Trie& trie) {
      return std::make_unique<CompactPatriciaTable>(Corvid::Ptr<Routing::PatriciaTrie>(&trie));
   }
};

struct WrapperFront : OneWordFront<Routing::TrieWrapper> {
   static auto make(Corenet::AddressFamily af) { return Routing::trieWrapperFactory(af); }
   static std::unique_ptr<RouteTable> beneath(Trie& trie) {
      if (trie.v4Trie()) {
         return std::make_unique<MultibitTable>(trie.v4Trie());
      }
      return std::make_unique<CompactPatriciaTable>(trie.v6Trie());
   }
};

template <class FrontType>
class FrontTable final : public RouteTable {
   using Trie = typename FrontType::Trie;
   using Form = typename FrontType::Form;

  public:
   explicit FrontTable(Corenet::AddressFamily af)
      : trie_(FrontType::make(af)), beneath_(FrontType::beneath(*trie_)) {}

   void routeIs(const Prefix& route) override { trie_->routeIs(form(route), true); }
   std::uint64_t routes() const override { return beneath_->routes(); }
   Shape shape() const override { return beneath_->shape(); }
   std::uint64_t untrackedBytes() const override { return beneath_->untrackedBytes(); }
   std::string audit() const override { return trie_->audit(); }
   Corvid::Node& object() const override { return *trie_; }
   Corvid::Node& objectWith(std::string_view field) const override {
      const auto has = [&](Corvid::Node& node) {
         const auto type = Corvid::Inspect::typeOf(node);
         return type && type->field(field);
      };
      return !has(*trie_) && has(beneath_->object()) ? beneath_->object() : *trie_;
   }

   Prefix longestMatch(const Prefix& query) const override { return known(trie_->longestMatch(form(query))); }
   Prefix parent(const Prefix& query) const override { return known(trie_->findParent(form(query))); }
   bool longerPresent(const Prefix& query) const override {
      return query.len() == 0 ? hasLongerThanDefault(query) : trie_->longerRoutePresent(form(query));
   }
   void covering(const Prefix& query, const Visit& visit) const override { coveringByParents(query, visit); }
   void subtree(const Prefix& query, const Visit& visit) const override {
      FrontType::walk(*trie_, form(query), visit);
   }
   void children(const Prefix& query, const Visit& visit) const override { beneath_->children(query, visit); }
   Prefix next(const Prefix& query) const override { return beneath_->next(query); }
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override {
      if constexpr (std::same_as<Trie, Routing::TrieWrapper>) {
         trie_->dumpState(context, 0);
      } else {
         beneath_->dump(context);
      }
   }
   void dumpTree(std::ostream& out) const override { beneath_->dumpTree(out); }

  private:
   static Form form(const Prefix& p) {
      if constexpr (std::same_as<Form, Corenet::Ip6Prefix>) {
         return p.v6Prefix();
      } else {
         return Form(p);
      }
   }
   static Prefix known(const Prefix& answer) { return answer.len() == Corenet::nullPrefixLength ? Prefix() : answer; }
   static Prefix known(const Corenet::Ip6Prefix& answer) { return known(Prefix(answer)); }
   static Prefix known(const Corenet::CompactIpPrefix& answer) { return known(answer.genPrefix()); }

   const Corvid::Ptr<Trie> trie_;
   const std::unique_ptr<RouteTable> beneath_;
};

using GenTable = FrontTable<GenFront>;
using Trie6Table = FrontTable<Trie6Front>;
using CompactTable = FrontTable<CompactFront>;
using WrapperTable = FrontTable<WrapperFront>;

}  // namespace Rtrie
