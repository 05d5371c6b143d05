// PatriciaEngine: PatriciaTrie behind the battery's adapter, for each node type, with the tree that it should have built
// beside it. The audit compares the two node by node.
// Tested by tests/property/PatriciaShapeTest.cpp, and used by every engine test of this folder.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/property/Battery.h"
#include "tests/property/SlowTree.h"

namespace Property {

using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Routing::PatriciaTrie;
using Routing::PatriciaTrieNode;
using TriePtr = Corvid::Ptr<PatriciaTrie>;

//--- the two forms of each operation under one name ---

template <class PrefixType>
struct PatriciaCalls;

template <>
struct PatriciaCalls<IpGenPrefix> {
   using Prefix = IpGenPrefix;
   using WalkCb = Routing::PatriciaTrieWalkCb;
   static constexpr auto add = &PatriciaTrie::updateRoute;
   static constexpr auto remove = &PatriciaTrie::deleteRoute;
   static constexpr auto longestMatch = &PatriciaTrie::longestMatchCommon;
   static constexpr auto parent = &PatriciaTrie::findParentCommon;
   static constexpr auto longer = &PatriciaTrie::longerRoutePresentCommon;
   static constexpr auto walk = &PatriciaTrie::preOrderWalk;
   static constexpr auto children = &PatriciaTrie::findImmediateChildren;
   static IpGenPrefix general(const IpGenPrefix& p) { return p; }
};

template <>
struct PatriciaCalls<CompactIpPrefix> {
   using Prefix = CompactIpPrefix;
   using WalkCb = Routing::PatriciaTrieCompactWalkCb;
   static constexpr auto add = &PatriciaTrie::updateRouteCompact;
   static constexpr auto remove = &PatriciaTrie::deleteRouteCompact;
   static constexpr auto longestMatch = &PatriciaTrie::longestMatchCommonCompact;
   static constexpr auto parent = &PatriciaTrie::findParentCommonCompact;
   static constexpr auto longer = &PatriciaTrie::longerRoutePresentCommonCompact;
   static constexpr auto walk = &PatriciaTrie::preOrderWalkCompact;
   static constexpr auto children = &PatriciaTrie::findImmediateChildrenCompact;
   static IpGenPrefix general(const CompactIpPrefix& p) { return p.genPrefix(); }
};

//--- what a trie reports ---

// Keeps the routes that a search or a walk reports, with their payloads.
template <class PrefixType>
class ReportCb : public PatriciaCalls<PrefixType>::WalkCb {
  public:
   explicit ReportCb(bool answer) : answer_(answer) {}

   bool handlePrefixData(const PrefixType& p, const Routing::PrefixData* data) override {
      prefixes.push_back(PatriciaCalls<PrefixType>::general(p));
      payloads.push_back(data);
      return answer_;
   }

   PrefixList prefixes;
   std::vector<const Routing::PrefixData*> payloads;

  private:
   const bool answer_;
};
template <class PrefixType>
Corvid::Ptr<ReportCb<PrefixType>> reportOfWalk(const PatriciaTrie& trie, const IpGenPrefix& p) {
   const auto report = Corvid::ptrIsImpl<ReportCb<PrefixType>>(true);
   (trie.*PatriciaCalls<PrefixType>::walk)(PrefixType(p), report.get());
   return report;
}
template <class PrefixType>
Corvid::Ptr<ReportCb<PrefixType>> reportOfChildren(PatriciaTrie& trie, const IpGenPrefix& p) {
   const auto report = Corvid::ptrIsImpl<ReportCb<PrefixType>>(false);  // what it says is ignored
   (trie.*PatriciaCalls<PrefixType>::children)(PrefixType(p), report.get());
   return report;
}

// A trie reports the whole subtree where p lies. If that is what the slow tree would report, the part of it inside p, and
// else a list that no table gives.
inline PrefixList inside(const IpGenPrefix& p, PrefixList reported, const PrefixList& expected) {
   if (reported != expected) {
      return {p, p};
   }
   std::erase_if(reported, [&](auto& r) { return !covers(p, r); });
   return reported;
}

inline IpGenPrefix zeroLength(AddressFamily family) { return prefixOf(family, {}, 0); }

// The route after p; the adapter of an engine without that operation does not call it.
inline MaybePrefix nextOf(PatriciaTrie& trie, const IpGenPrefix& p) {
   const CompactIpPrefix found = trie.getNext(CompactIpPrefix(p));
   return found == CompactIpPrefix::getNull(trie.af()) ? std::nullopt : MaybePrefix(found.genPrefix());
}

//--- the tree as it is and as it should be ---

// The tree beneath a node as SlowTree spells it.
inline std::string textOf(const PatriciaTrie& trie, const PatriciaTrieNode* node, std::size_t depth) {
   if (node == nullptr) {
      return "";
   }
   std::string text = fmt::format("{:{}}{}/{} {{", "", 2 * depth, node->prefix(trie.paf()).stringValue().view(),
                                  node->len(trie.paf()));
   for (U32 length = 1; length <= 128; ++length) {
      if (node->black(length, trie.paf())) {
         text += (text.back() == '{' ? "" : " ") + std::to_string(length);
      }
   }
   return text + "}\n" + textOf(trie, node->left_, depth + 1) + textOf(trie, node->right_, depth + 1);
}
inline std::string textOf(const PatriciaTrie& trie) {
   return (trie.defaultRoutePresent() ? "default\n" : "") + textOf(trie, trie.root(), 0);
}

inline bool isSame(const PatriciaTrie& trie, PatriciaTrieNode* node, const SlowTree::Node* expected) {
   if (node == nullptr || expected == nullptr) {
      return node == nullptr && expected == nullptr;
   }
   const auto type = trie.paf();
   bool same = node->len(type) == expected->key.len() && node->prefix(type) == expected->key.address();
   const U32* words = node->blackBits(type);
   for (U32 length = 1; same && length <= widthOf(trie.af()); ++length) {
      same = ((words[(length - 1) / 32] << (length - 1) % 32 >> 31) != 0) == expected->black[length];
   }
   return same && isSame(trie, node->left_, expected->left.get()) &&
          isSame(trie, node->right_, expected->right.get());
}

inline std::string treeFault(const PatriciaTrie& trie, const SlowTree& expected) {
   if (trie.nodes() != expected.nodes()) {
      return fmt::format("nodes: found {}, expected {}\n{}---\n{}", trie.nodes(), expected.nodes(), textOf(trie),
                         expected.text());
   }
   if (trie.defaultRoutePresent() != expected.hasDefault() || !isSame(trie, trie.root(), expected.root())) {
      return fmt::format("tree: found\n{}expected\n{}", textOf(trie), expected.text());
   }
   return "";
}

//--- the adapter ---

template <AddressFamily familyValue, class PrefixType>
class PatriciaEngine {
  public:
   using Calls = PatriciaCalls<PrefixType>;
   static constexpr AddressFamily family = familyValue;
   static constexpr bool isCompact = std::same_as<PrefixType, CompactIpPrefix>;
   static constexpr std::string_view name = family == AddressFamily::ipv4
                                               ? (isCompact ? "Ipv4Compact" : "Ipv4")
                                               : (isCompact ? "Ipv6Compact" : "Ipv6Legacy");
   static constexpr U32 abilities = parentAbility | longerAbility | subtreeAbility | childrenAbility |
                                    orderedAbility |
                                    (family == AddressFamily::ipv6 && !isCompact ? 0U : U32{nextAbility});
   static constexpr Habits habits{.longerOfDefaultIsFalse = true,
                                  .removeOfDefaultIsTrue = true,
                                  .countsBranches = true,
                                  .endsAtWhite = true,
                                  .absentDefaultIsChildless = true};

   void add(const IpGenPrefix& p) {
      (trie().*Calls::add)(PrefixType(p), nullptr);
      tree_.add(p);
   }
   bool remove(const IpGenPrefix& p) {
      tree_.remove(p);
      return (trie().*Calls::remove)(PrefixType(p), nullptr, nullptr);
   }
   std::size_t routes() const { return trie().routes(); }

   // There is no operation of its own: a route is its own longest match.
   bool exact(const IpGenPrefix& p) const {
      return p.len() == 0 ? trie().isDefaultRoutePresent() : longestMatch(p) == MaybePrefix(p);
   }
   MaybePrefix longestMatch(const IpGenPrefix& p) const {
      return known(Calls::general((trie().*Calls::longestMatch)(PrefixType(p), nullptr, nullptr)));
   }
   // A zero-length prefix has a value of its own for no parent, which nothing else may get.
   MaybePrefix parent(const IpGenPrefix& p) const {
      const IpGenPrefix found = Calls::general((trie().*Calls::parent)(PrefixType(p), nullptr, nullptr));
      return p.len() == 0 && found == noParent() ? std::nullopt : known(found);
   }
   bool longer(const IpGenPrefix& p) const { return (trie().*Calls::longer)(PrefixType(p)); }
   // A node with children counts as a longer route without a look at what stands beneath it.
   bool mayCountAsLonger(const IpGenPrefix& p) const { return tree_.isOnBranch(p); }

   MaybePrefix next(const IpGenPrefix& p) const { return nextOf(trie(), p); }
   bool endsAtWhite(const IpGenPrefix& p) const { return tree_.endsAtWhite(p); }
   PrefixList subtree(const IpGenPrefix& p) const {
      return inside(p, reportOfWalk<PrefixType>(trie(), p)->prefixes, tree_.walk(p));
   }
   PrefixList children(const IpGenPrefix& p) const {
      return inside(p, reportOfChildren<PrefixType>(trie(), p)->prefixes, tree_.children(p));
   }
   PrefixList ordered() const { return reportOfWalk<PrefixType>(trie(), zeroLength(family))->prefixes; }

   std::string audit() const {
      std::string fault = trie().audit();
      if (fault.empty()) {
         fault = treeFault(trie(), tree_);
      }
      if (fault.empty() && trie().empty() != (trie().routes() == 0)) {
         fault = "empty() belies routes()";
      }
      return fault;
   }

   // Equal only for engines that answer every question alike.
   std::string shape() const { return tree_.shape(); }

   PatriciaTrie& trie() const { return *trie_; }
   const SlowTree& tree() const { return tree_; }

  private:
   static IpGenPrefix noParent() {
      return family == AddressFamily::ipv4 ? IpGenPrefix(Corenet::Prefix::nullPrefix())
                                           : IpGenPrefix(Corenet::Ip6Prefix::nullPrefix());
   }
   static MaybePrefix known(const IpGenPrefix& answer) {
      return answer == IpGenPrefix() ? std::nullopt : MaybePrefix(answer);
   }

   TriePtr trie_ = Routing::patriciaTrieFactory(family, isCompact);
   SlowTree tree_;
};

using Ipv4Engine = PatriciaEngine<AddressFamily::ipv4, IpGenPrefix>;
using Ipv4CompactEngine = PatriciaEngine<AddressFamily::ipv4, CompactIpPrefix>;
using Ipv6LegacyEngine = PatriciaEngine<AddressFamily::ipv6, IpGenPrefix>;
using Ipv6CompactEngine = PatriciaEngine<AddressFamily::ipv6, CompactIpPrefix>;

// For typed tests: one of testing::Types or of another list.
template <template <class...> class List>
using PatriciaEngines = List<Ipv4Engine, Ipv4CompactEngine, Ipv6LegacyEngine, Ipv6CompactEngine>;

static_assert(Engine<Ipv4Engine> && Engine<Ipv4CompactEngine> && Engine<Ipv6LegacyEngine> &&
              Engine<Ipv6CompactEngine>);

}  // namespace Property
