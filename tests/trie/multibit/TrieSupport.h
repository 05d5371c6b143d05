// TrieSupport: a multibit trie under test, with routes written as text, and a drawing of its nodes.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/trie/multibit/Trie.h"

namespace testing_support {

inline Corenet::Prefix p(std::string_view text) { return Corenet::Prefix::fromString(text); }
inline U32 addressOf(std::string_view text) { return Corenet::IpAddr::fromString(text).hostOrder(); }
inline const Corenet::Prefix nullPrefix = Corenet::Prefix::nullPrefix();

class TrieFixture : public testing::Test {
  public:
   Corvid::Ptr<Routing::Trie> trie = Routing::trieFactory();

   void add(std::string_view text) {
      trie->routeIs(p(text), true);
      EXPECT_EQ("", trie->audit()) << "after adding " << text;
   }
   void add(std::initializer_list<std::string_view> texts) {
      for (const auto text : texts) {
         add(text);
      }
   }
   bool del(std::string_view text) {
      const bool reached = trie->routeDel(p(text));
      EXPECT_EQ("", trie->audit()) << "after deleting " << text;
      return reached;
   }
   std::string match(std::string_view text) const { return trie->longestMatch(p(text)).stringValue(); }
   std::string parent(std::string_view text) const { return trie->findParent(p(text)).stringValue(); }
   bool longer(std::string_view text) const { return trie->longerRoutePresent(p(text)); }

   // The node that would hold a route of that length on the way to the prefix; null where the way ends before.
   TrieImpl::TrieNode* nodeFor(std::string_view text) const { return TrieImpl::lpmNode(trie->root(), p(text)); }

   // A line for each node and for each run of equal entries that are not empty: keys, and the byte's bits.
   std::string drawing() const { return drawing(*trie->root()); }

  private:
   static std::string drawing(const TrieImpl::TrieNode& node) {
      const U32 level = node.level();
      const U32 stride = TrieImpl::levelStride[level];
      const U32 entries = TrieImpl::levelEntries[level];
      std::string text = fmt::format("{:{}}level {} key {}{}\n", "", 2 * level, level, node.key(),
                                     node.isIndirect() ? " indirect" : "");
      for (U32 first = 0; first < entries;) {
         U32 end = first + 1;
         while (end < entries && node.routeByte(end) == node.routeByte(first) && node.child(end - 1) == nullptr) {
            ++end;
         }
         if (node.routeByte(first) != 0) {
            text +=
               fmt::format("{:{}}{}-{}: {:0{}b}\n", "", 2 * level, first, end - 1, node.routeByte(first), stride);
         }
         if (const auto* child = node.child(end - 1)) {
            text += drawing(*child);
         }
         first = end;
      }
      return text;
   }
};

}  // namespace testing_support
