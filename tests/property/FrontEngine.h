// FrontEngine: each front end behind the battery's adapter: the IPv6 trie, the compact trie, the dual-family trie and the
// wrapper, for each family that they serve. What a front end tells by special values, and the value is a different one for
// almost each, is checked here and turned into the battery's plain answers; what it publishes is counted.
//
// Used by tests/property/FrontTest.cpp.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "tests/property/Battery.h"
#include "tests/property/SlowTree.h"

namespace Property {

using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::Ip6Prefix;

inline IpGenPrefix nullOf(AddressFamily family) {
   return family == AddressFamily::ipv4 ? IpGenPrefix(Corenet::Prefix::nullPrefix())
                                        : IpGenPrefix(Ip6Prefix::nullPrefix());
}

// What there is to know of a front end: how it is made, the form of its prefixes, the engine below, and how it says that
// there is no such route.
struct Trie6Front {
   static constexpr std::string_view name = "Trie6";
   static constexpr AddressFamily family = AddressFamily::ipv6;
   static constexpr bool isMultibit = false;
   static auto make() { return Routing6::trieFactory(); }
   static Ip6Prefix form(const IpGenPrefix& p) { return p.v6Prefix(); }
   static IpGenPrefix noMatch() { return nullOf(family); }
   static IpGenPrefix noParent(const IpGenPrefix&) { return nullOf(family); }
   static constexpr Corvid::FieldId changedRouteId = 262;
};

template <AddressFamily itsFamily>
struct CompactFront {
   static constexpr std::string_view name = itsFamily == AddressFamily::ipv4 ? "Compact4" : "Compact6";
   static constexpr AddressFamily family = itsFamily;
   static constexpr bool isMultibit = false;
   static auto make() { return Routing::trieCompactFactory(family); }
   static CompactIpPrefix form(const IpGenPrefix& p) { return CompactIpPrefix(p); }
   static IpGenPrefix noMatch() { return CompactIpPrefix::getNull(family).genPrefix(); }
   static IpGenPrefix noParent(const IpGenPrefix& p) { return p.len() == 0 ? noMatch() : IpGenPrefix(); }
   static constexpr Corvid::FieldId changedRouteId = 0;  // publishes nothing
};

template <AddressFamily itsFamily>
struct GenFront {
   static constexpr std::string_view name = itsFamily == AddressFamily::ipv4 ? "Gen4" : "Gen6";
   static constexpr AddressFamily family = itsFamily;
   static constexpr bool isMultibit = family == AddressFamily::ipv4;
   static auto make() { return Routing::trieGenFactory("front", family); }
   static IpGenPrefix form(const IpGenPrefix& p) { return p; }
   static IpGenPrefix noMatch() { return {}; }
   static IpGenPrefix noParent(const IpGenPrefix&) { return nullOf(family); }
   static constexpr Corvid::FieldId changedRouteId = 140;
};

template <AddressFamily itsFamily>
struct WrapperFront : CompactFront<itsFamily> {
   using Compact = CompactFront<itsFamily>;
   static constexpr std::string_view name = itsFamily == AddressFamily::ipv4 ? "Wrapper4" : "Wrapper6";
   static constexpr bool isMultibit = itsFamily == AddressFamily::ipv4;
   static auto make() { return Routing::trieWrapperFactory(itsFamily); }
   static IpGenPrefix noParent(const IpGenPrefix& p) {
      return isMultibit ? Compact::noMatch() : Compact::noParent(p);
   }
};

template <class Front>
class FrontEngine {
   using Trie = std::remove_reference_t<decltype(*Front::make())>;
   static constexpr bool isGen = std::same_as<Trie, Routing::TrieGen>;
   static constexpr bool hasWalk = isGen || std::same_as<Trie, Routing::TrieWrapper>;

  public:
   static constexpr AddressFamily family = Front::family;
   static constexpr std::string_view name = Front::name;
   static constexpr U32 abilities = parentAbility | longerAbility | (hasWalk ? U32{orderedAbility} : 0U);
   static constexpr Habits habits{.longerOfDefaultIsFalse = !Front::isMultibit,
                                  .removeOfDefaultIsTrue = !Front::isMultibit,
                                  .countsBranches = !Front::isMultibit};

   void add(const IpGenPrefix& p) {
      const bool was = exact(p);
      trie_->routeIs(Front::form(p), true);
      tree_.add(p);
      ++changes_;
      if constexpr (requires { trie_->routeUpdated(); }) {
         note(trie_->routeUpdated() == was, "routeUpdated() after routeIs", p);
      }
   }
   // The multibit trie tells of a delete whether a node was reached; whether there was a route is asked before.
   bool remove(const IpGenPrefix& p) {
      const bool was = exact(p);
      const bool told = trie_->routeDel(Front::form(p));
      tree_.remove(p);
      ++changes_;
      note(told || !was, "routeDel", p);
      if constexpr (requires { trie_->routeUpdated(); }) {
         note(!trie_->routeUpdated(), "routeUpdated() after routeDel", p);
      }
      return Front::isMultibit ? was : told;
   }
   std::size_t routes() const {
      return trie_->routes() + std::size_t{Front::isMultibit && trie_->defaultRoutePresent()};
   }

   bool exact(const IpGenPrefix& p) const { return trie_->route(Front::form(p)); }
   MaybePrefix longestMatch(const IpGenPrefix& p) const {
      return known(general(trie_->longestMatch(Front::form(p))), Front::noMatch());
   }
   MaybePrefix parent(const IpGenPrefix& p) const {
      return known(general(trie_->findParent(Front::form(p))), Front::noParent(p));
   }
   bool longer(const IpGenPrefix& p) const { return trie_->longerRoutePresent(Front::form(p)); }
   bool mayCountAsLonger(const IpGenPrefix& p) const { return tree_.isOnBranch(p); }
   PrefixList ordered() const requires hasWalk {
      PrefixList list;
      if constexpr (isGen) {
         struct Recorder : Routing::TrieGenWalkCallback {
            int handlePrefix(const IpGenPrefix& p) override {
               list->push_back(p);
               return 1;
            }
            PrefixList* list = nullptr;
         };
         const auto recorder = Corvid::ptrIsImpl<Recorder>();
         recorder->list = &list;
         trie_->preOrderWalk(zero(), recorder);
      } else {
         struct Recorder : Routing::PatriciaTrieCompactWalkCb {
            bool handlePrefixData(const CompactIpPrefix& p, const Routing::PrefixData*) override {
               list->push_back(p.genPrefix());
               return true;
            }
            PrefixList* list = nullptr;
         };
         const auto recorder = Corvid::ptrIsImpl<Recorder>();
         recorder->list = &list;
         trie_->preOrderWalkCompact(CompactIpPrefix(zero()), recorder.get());
      }
      return list;
   }

   std::string audit() const {
      if (!fault_.empty()) {
         return fault_;
      }
      if (Front::changedRouteId != 0 && told_ != changes_) {
         return fmt::format("publications: found {}, expected {}", told_, changes_);
      }
      if constexpr (isGen) {
         if (trie_->defaultRoutePresent() != trie_->isDefaultRoutePresent()) {
            return "defaultRoutePresent() is not the engine's";
         }
      }
      return trie_->audit();
   }

  private:
   static IpGenPrefix zero() {
      return family == AddressFamily::ipv4 ? IpGenPrefix(Corenet::Prefix()) : IpGenPrefix(Ip6Prefix());
   }
   static IpGenPrefix general(const IpGenPrefix& p) { return p; }
   static IpGenPrefix general(const Ip6Prefix& p) { return p; }
   static IpGenPrefix general(const CompactIpPrefix& p) { return p.genPrefix(); }
   static MaybePrefix known(const IpGenPrefix& answer, const IpGenPrefix& none) {
      return answer == none ? std::nullopt : MaybePrefix(answer);
   }
   void note(bool isRight, std::string_view what, const IpGenPrefix& p) {
      if (!isRight && fault_.empty()) {
         fault_ = fmt::format("{}({}) is wrong", what, p.stringValue().view());
      }
   }
   Corvid::Subscription watch() {
      if constexpr (Front::changedRouteId != 0) {
         return trie_->publisher()->subscribe(
            [this](const Corvid::Change& change) { told_ += change.id == Front::changedRouteId; });
      }
      return {};
   }

   Corvid::Ptr<Trie> trie_ = Front::make();
   SlowTree tree_;
   std::string fault_;
   std::uint64_t changes_ = 0;
   std::uint64_t told_ = 0;
   Corvid::Subscription watch_ = watch();
};

static_assert(Engine<FrontEngine<Trie6Front>> && Engine<FrontEngine<GenFront<AddressFamily::ipv4>>>);

}  // namespace Property
