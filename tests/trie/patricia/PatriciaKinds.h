// PatriciaKinds: the four ways to use a PatriciaTrie, so that one typed test holds for all of them: IPv4 nodes through
// either prefix type, legacy IPv6 nodes and compact IPv6 nodes.
//
// Prefixes are written as IPv4 text. An IPv6 kind takes the same bits at the top of its address, so that trees of every
// kind have one shape: "10.0.0.0/8" is a00::/8 there.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDescent.h"

namespace testing_support {

using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::IpGenPrefix;
using Routing::PatriciaTrie;
using Routing::PatriciaTrieNode;
using Routing::PatriciaTrieNodeType;

using TriePtr = Corvid::Ptr<PatriciaTrie>;
using DataPtr = Corvid::Ptr<Routing::PrefixData>;
using ContainerPtr = Corvid::Ptr<Routing::PrefixDataContainer>;

template <AddressFamily family>
IpGenPrefix prefixOf(std::string_view ipv4Text) {
   const auto prefix = Corenet::Prefix::fromString(ipv4Text);
   if constexpr (family == AddressFamily::ipv4) {
      return prefix;
   } else {
      const auto bits = Corenet::U128{prefix.bits().word()} << 96;
      return Corenet::Ip6Prefix(Corenet::Ip6Addr(Corenet::AddressBits<128>(bits)), prefix.len());
   }
}

template <AddressFamily familyValue, bool compactTrie, class PrefixType, class Callback>
struct PatriciaKind {
   static constexpr AddressFamily family = familyValue;
   static constexpr bool isCompactCall = std::same_as<PrefixType, CompactIpPrefix>;
   using P = PrefixType;
   using Cb = Callback;

   static TriePtr newTrie() { return Routing::patriciaTrieFactory(family, compactTrie); }
   static P p(std::string_view ipv4Text) { return P(prefixOf<family>(ipv4Text)); }
   static P empty() { return P(); }
   static P noParent() {
      return family == AddressFamily::ipv4 ? P(Corenet::Prefix::nullPrefix()) : P(Corenet::Ip6Prefix::nullPrefix());
   }
   static P wrongFamily() {
      return family == AddressFamily::ipv4 ? P(Corenet::Ip6Prefix::fromString("2001:db8::/32"))
                                           : P(Corenet::Prefix::fromString("10.0.0.0/8"));
   }

   static void add(PatriciaTrie& trie, const P& prefix, const DataPtr& data = nullptr) {
      if constexpr (isCompactCall) {
         trie.updateRouteCompact(prefix, data);
      } else {
         trie.updateRoute(prefix, data);
      }
   }
   static bool del(PatriciaTrie& trie, const P& prefix, const DataPtr& data = nullptr,
                   const ContainerPtr& container = nullptr) {
      if constexpr (isCompactCall) {
         return trie.deleteRouteCompact(prefix, data, container);
      } else {
         return trie.deleteRoute(prefix, data, container);
      }
   }
   static P match(const PatriciaTrie& trie, const P& prefix, const ContainerPtr& container = nullptr,
                  Cb* cb = nullptr) {
      if constexpr (isCompactCall) {
         return trie.longestMatchCommonCompact(prefix, container, cb);
      } else {
         return trie.longestMatchCommon(prefix, container, cb);
      }
   }
   static P parent(const PatriciaTrie& trie, const P& prefix, const ContainerPtr& container = nullptr,
                   Cb* cb = nullptr) {
      if constexpr (isCompactCall) {
         return trie.findParentCommonCompact(prefix, container, cb);
      } else {
         return trie.findParentCommon(prefix, container, cb);
      }
   }
   static P matchOrParent(const PatriciaTrie& trie, const P& prefix, bool returnParent) {
      if constexpr (isCompactCall) {
         return trie.longestMatchOrParentCompact(prefix, returnParent, nullptr, nullptr);
      } else {
         return trie.longestMatchOrParent(prefix, returnParent, nullptr, nullptr);
      }
   }
   static void walk(const PatriciaTrie& trie, const P& subtreeRoot, Cb* cb) {
      if constexpr (isCompactCall) {
         trie.preOrderWalkCompact(subtreeRoot, cb);
      } else {
         trie.preOrderWalk(subtreeRoot, cb);
      }
   }
   static void children(PatriciaTrie& trie, const P& subtreeRoot, Cb* cb) {
      if constexpr (isCompactCall) {
         trie.findImmediateChildrenCompact(subtreeRoot, cb);
      } else {
         trie.findImmediateChildren(subtreeRoot, cb);
      }
   }
   static U32 firstBlack(PatriciaTrie& trie, const P& subtreeRoot) {
      if constexpr (isCompactCall) {
         return trie.getFirstBlackCompact(subtreeRoot);
      } else {
         return trie.getFirstBlack(subtreeRoot);
      }
   }
   static U32 nextBlack(PatriciaTrie& trie, const P& subtreeRoot, U32 i) {
      if constexpr (isCompactCall) {
         return trie.getNextBlackCompact(subtreeRoot, i);
      } else {
         return trie.getNextBlack(subtreeRoot, i);
      }
   }
   static bool longer(const PatriciaTrie& trie, const P& prefix) {
      if constexpr (isCompactCall) {
         return trie.longerRoutePresentCommonCompact(prefix);
      } else {
         return trie.longerRoutePresentCommon(prefix);
      }
   }
};

using Ipv4 = PatriciaKind<AddressFamily::ipv4, false, IpGenPrefix, Routing::PatriciaTrieWalkCb>;
using Ipv4Compact = PatriciaKind<AddressFamily::ipv4, true, CompactIpPrefix, Routing::PatriciaTrieCompactWalkCb>;
using Ipv6Legacy = PatriciaKind<AddressFamily::ipv6, false, IpGenPrefix, Routing::PatriciaTrieWalkCb>;
using Ipv6Compact = PatriciaKind<AddressFamily::ipv6, true, CompactIpPrefix, Routing::PatriciaTrieCompactWalkCb>;
using PatriciaKinds = testing::Types<Ipv4, Ipv4Compact, Ipv6Legacy, Ipv6Compact>;

// The kinds whose tries give the next route: all but legacy IPv6.
using PatriciaNextKinds = testing::Types<Ipv4, Ipv4Compact, Ipv6Compact>;

// Keeps what a search or a walk reports. It answers true but for the prefixes in `refused`.
template <class Kind>
class Recorder : public Kind::Cb {
  public:
   bool handlePrefixData(const typename Kind::P& p, const Routing::PrefixData* data) override {
      seen.emplace_back(p.stringValue());
      payloads.push_back(data);
      return !refusesAll && std::find(refused.begin(), refused.end(), seen.back()) == refused.end();
   }
   void refuse(std::string_view ipv4Text) { refused.emplace_back(Kind::p(ipv4Text).stringValue()); }

   std::vector<std::string> seen;
   std::vector<const Routing::PrefixData*> payloads;
   std::vector<std::string> refused;
   bool refusesAll = false;
};

// A fixture with one empty trie of the kind, audited at the end.
template <class Kind>
class PatriciaFixture : public testing::Test {
  protected:
   using P = typename Kind::P;

   void TearDown() override { EXPECT_EQ("", trie->audit()); }

   static P p(std::string_view text) { return Kind::p(text); }
   void add(std::string_view text, const DataPtr& data = nullptr) { Kind::add(*trie, p(text), data); }
   bool del(std::string_view text, const DataPtr& data = nullptr, const ContainerPtr& container = nullptr) {
      return Kind::del(*trie, p(text), data, container);
   }
   // Adds or deletes each, as in {"+10.0.0.0/8", "-10.0.0.0/8"}; without a sign, adds.
   void run(std::initializer_list<std::string_view> ops) {
      for (const auto op : ops) {
         if (op[0] == '-') {
            EXPECT_TRUE(del(op.substr(1))) << op;
         } else {
            add(op[0] == '+' ? op.substr(1) : op);
         }
      }
   }
   // The prefixes of a list as the kind writes them.
   static std::vector<std::string> texts(std::initializer_list<std::string_view> ipv4Texts) {
      std::vector<std::string> result;
      for (const auto text : ipv4Texts) {
         result.emplace_back(p(text).stringValue());
      }
      return result;
   }
   // What a walk and a search for children report.
   std::vector<std::string> walk(std::string_view text) const {
      const auto recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
      Kind::walk(*trie, p(text), recorder.get());
      return recorder->seen;
   }
   std::vector<std::string> children(std::string_view text) {
      const auto recorder = Corvid::ptrIsImpl<Recorder<Kind>>();
      Kind::children(*trie, p(text), recorder.get());
      return recorder->seen;
   }
   P match(std::string_view text) const { return Kind::match(*trie, p(text)); }
   P parent(std::string_view text) const { return Kind::parent(*trie, p(text)); }
   bool longer(std::string_view text) const { return Kind::longer(*trie, p(text)); }

   // A node as text: its key, and its black lengths in braces, as in "10.0.0.0/8 {4 8}".
   std::string describe(const PatriciaTrieNode* node) const {
      const PatriciaTrieNodeType type = trie->paf();
      const auto word =
         Kind::family == AddressFamily::ipv4
            ? node->prefix(type).template bits<32>()
            : Corenet::AddressBits<32>(static_cast<U32>(node->prefix(type).template bits<128>().word() >> 96));
      std::string text(Corenet::IpAddr(word).stringValue());
      text += '/' + std::to_string(node->len(type)) + " {";
      const char* blank = "";
      for (U32 length = node->firstBlack(type); length != 0; length = node->nextBlack(length, type)) {
         text += blank + std::to_string(length);
         blank = " ";
      }
      return text + '}';
   }
   // The tree in pre-order, a node a line, two blanks a level.
   std::string drawing() const { return drawing(trie->root(), 0); }
   std::string drawing(const PatriciaTrieNode* node, std::size_t depth) const {
      if (node == nullptr) {
         return "";
      }
      return std::string(2 * depth, ' ') + describe(node) + '\n' + drawing(node->left_, depth + 1) +
             drawing(node->right_, depth + 1);
   }

   TriePtr trie = Kind::newTrie();
};

}  // namespace testing_support
