// FrontTable: the library's front ends as engines of rtrie: the dual-family trie, the IPv6 trie, the compact trie and the
// wrapper. They differ in the form of their prefixes and in how they say that there is no such route.
//
// Tested by tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <concepts>
#include <type_traits>

#include "tools/rtrie/RouteTable.h"
#include "tools/rtrie/engines/MultibitTable.h"
#include "trie/TrieGen.h"
#include "trie/TrieWrapper.h"

namespace Rtrie {

// A front end with prefixes of class Form.
template <class TrieType, class FormType>
struct Front {
   using Trie = TrieType;
   using Form = FormType;
};
struct GenFront : Front<Routing::TrieGen, Corenet::IpGenPrefix> {
   static auto make(Corenet::AddressFamily af) { return Routing::trieGenFactory("rtrie", af); }
};
struct Trie6Front : Front<Routing6::Trie, Corenet::Ip6Prefix> {
   static auto make(Corenet::AddressFamily) { return Routing6::trieFactory(); }
};
struct CompactFront : Front<Routing::TrieCompact, Corenet::CompactIpPrefix> {
   static auto make(Corenet::AddressFamily af) { return Routing::trieCompactFactory(af); }
};
struct WrapperFront : Front<Routing::TrieWrapper, Corenet::CompactIpPrefix> {
   static auto make(Corenet::AddressFamily af) { return Routing::trieWrapperFactory(af); }
};

template <class FrontType>
class FrontTable final : public RouteTable {
   using Trie = typename FrontType::Trie;
   using Form = typename FrontType::Form;

  public:
   explicit FrontTable(Corenet::AddressFamily af) : trie_(FrontType::make(af)), isIpv4_(af == Corenet::ipv4()) {}

   void routeIs(const Prefix& route) override { trie_->routeIs(form(route), true); }
   // The multibit trie, which serves two of them for IPv4, leaves the default route out of its count.
   U64 routes() const override {
      constexpr bool maybeMultibit = std::same_as<Trie, Routing::TrieGen> || std::same_as<Trie, Routing::TrieWrapper>;
      return U64{trie_->routes()} + U64{maybeMultibit && isIpv4_ && trie_->defaultRoutePresent()};
   }
   U64 nodes() const override {
      if constexpr (std::same_as<Trie, Routing::TrieWrapper>) {
         return static_cast<U64>(isIpv4_ ? trie_->v4Trie()->nodes() : trie_->v6Trie()->nodes());
      } else {
         return static_cast<U64>(trie_->nodes());
      }
   }
   U64 untrackedBytes() const override {
      if constexpr (std::same_as<Trie, Routing::TrieGen>) {
         return trie_->trie4() ? childArrayBytes(*trie_->trie4()->root()) : 0;
      } else if constexpr (std::same_as<Trie, Routing::TrieWrapper>) {
         return isIpv4_ ? childArrayBytes(*trie_->v4Trie()->root()) : 0;
      } else {
         return 0;
      }
   }
   Corvid::Node& object() const override { return *trie_; }

   Prefix longestMatch(const Prefix& query) const override { return known(trie_->longestMatch(form(query))); }
   Prefix parent(const Prefix& query) const override { return known(trie_->findParent(form(query))); }
   bool longerPresent(const Prefix& query) const override {
      return query.len() != 0 && trie_->longerRoutePresent(form(query));
   }

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
   const bool isIpv4_;
};

using GenTable = FrontTable<GenFront>;
using Trie6Table = FrontTable<Trie6Front>;
using CompactTable = FrontTable<CompactFront>;
using WrapperTable = FrontTable<WrapperFront>;

}  // namespace Rtrie
