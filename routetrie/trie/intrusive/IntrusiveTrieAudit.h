// The audit of an intrusive trie: every rule that routetrie/trie/intrusive/IntrusiveTrieNode.h numbers, read from the nodes, the tags in
// their links included. It follows no link that it has not checked, and does not recurse.
// Tested by tests/trie/intrusive/IntrusiveTrieAuditTest.cpp.
#pragma once

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/trie/intrusive/IntrusiveTrieCompare.h"
#include "routetrie/trie/intrusive/IntrusiveTrieNode.h"

namespace Sprig::Intrusive::Impl {

template <class User>
class Audit {
  public:
   using Node = typename User::Base;

   // Empty if the tree beneath the slot is sound, else the first broken rule and where: prefixes are told as the bytes of
   // their address in hexadecimal and their length.
   std::string run(const Node* const* root) {
      checkSlot(root, ParentPtrType::trieRoot, nullptr);
      while (broken_.empty() && !pending_.empty()) {
         const Node* node = pending_.back();
         pending_.pop_back();
         if (node->isInternal() && (node->left == nullptr || node->right == nullptr)) {
            fail("I1 internal node {}: lacks a child", nameOf(*node));
         }
         checkSlot(&node->right, ParentPtrType::nodeRight, node);
         checkSlot(&node->left, ParentPtrType::nodeLeft, node);
      }
      return broken_;
   }

  private:
   template <class... Args>
   void fail(fmt::format_string<Args...> text, Args&&... args) {
      if (broken_.empty()) {
         broken_ = fmt::format(text, std::forward<Args>(args)...);
      }
   }

   // Checks the node in the slot, if there is one, and leaves its own slots for later.
   void checkSlot(const Node* const* slot, ParentPtrType type, const Node* parent) {
      if (*slot == nullptr || !broken_.empty()) {
         return;
      }
      const Node& node = **slot;
      checkTag(node, slot, type);
      if (!node.isInternal()) {
         checkOwner(node);
      }
      if (parent != nullptr) {
         checkPrefix(*parent, node, type);
      }
      pending_.push_back(&node);
   }

   void checkTag(const Node& node, const Node* const* slot, ParentPtrType type) {
      if (node.slot() != slot) {
         fail("I5 node {}: its slot is not the one that holds it", nameOf(node));
      }
      if (node.parentType() != type) {
         fail("I5 node {}: its slot is of type {}, not {}", nameOf(node), static_cast<unsigned>(type),
              static_cast<unsigned>(node.parentType()));
      }
   }

   void checkOwner(const Node& node) {
      if (static_cast<const User&>(node).owner()->uses() == 0) {
         fail("I4 route {}: nobody holds it", nameOf(node));
      }
   }

   void checkPrefix(const Node& parent, const Node& node, ParentPtrType type) {
      using Difference = CompareResult::Difference;
      const auto difference = compare(Node::prefixOf(node), Node::prefixOf(parent), 0).difference;
      const bool isRight = type == ParentPtrType::nodeRight;
      if (difference == Difference::none && !node.isInternal() && !parent.isInternal()) {
         fail("I3 route {}: is there twice", nameOf(node));
      }
      if (difference != Difference::lhsLongerAndSet && difference != Difference::lhsLongerAndClear) {
         fail("I2 node {}: does not extend its parent {}", nameOf(node), nameOf(parent));
      }
      if ((difference == Difference::lhsLongerAndSet) != isRight) {
         fail("I2 node {}: on the wrong side of its parent {}", nameOf(node), nameOf(parent));
      }
   }

   static std::string nameOf(const Node& node) {
      const Corenet::PrefixDataAndLength prefix = Node::prefixOf(node);
      std::string name;
      for (U32 i = 0; i < (prefix.length + 7) / 8; ++i) {
         name += fmt::format("{:02x}", prefix.data[i]);
      }
      return fmt::format("{}/{}", name, prefix.length);
   }

   std::vector<const Node*> pending_;  // checked, but for what lies beneath
   std::string broken_;
};

}  // namespace Sprig::Intrusive::Impl
