// PatriciaEngine: PatriciaTrie behind the battery's adapter, for each node type, with the tree that it should have built
// beside it. The audit compares the two node by node.
// Tested by tests/property/PatriciaShapeTest.cpp, and used by every engine test of this folder.
#pragma once

#include <fmt/format.h>

#include <concepts>
#include <string>
#include <string_view>

#include "platform/Corenet/CompactIpPrefix.h"
#include "tests/property/Battery.h"
#include "tests/property/SlowTree.h"
#include "trie/PatriciaTrie.h"

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
   using WalkCb = Routing::PatriciaTrieWalkCb;
   static constexpr auto add = &PatriciaTrie::updateRoute;
   static constexpr auto remove = &PatriciaTrie::deleteRoute;
   static constexpr auto longestMatch = &PatriciaTrie::longestMatchCommon;
   static constexpr auto parent = &PatriciaTrie::findParentCommon;
   static constexpr auto longer = &PatriciaTrie::longerRoutePresentCommon;
   static IpGenPrefix general(const IpGenPrefix& p) { return p; }
};

template <>
struct PatriciaCalls<CompactIpPrefix> {
   using WalkCb = Routing::PatriciaTrieCompactWalkCb;
   static constexpr auto add = &PatriciaTrie::updateRouteCompact;
   static constexpr auto remove = &PatriciaTrie::deleteRouteCompact;
   static constexpr auto longestMatch = &PatriciaTrie::longestMatchCommonCompact;
   static constexpr auto parent = &PatriciaTrie::findParentCommonCompact;
   static constexpr auto longer = &PatriciaTrie::longerRoutePresentCommonCompact;
   static IpGenPrefix general(const CompactIpPrefix& p) { return p.genPrefix(); }
};

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
   static constexpr U32 abilities = parentAbility | longerAbility;
   static constexpr Habits habits{
      .longerOfDefaultIsFalse = true, .removeOfDefaultIsTrue = true, .countsBranches = true};

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
