// SlowTree: the tree of nodes that a PatriciaTrie is expected to build, kept by the plainest code that follows the rules
// of insertion and deletion, so that trees can be compared node by node and not by their answers alone.
//
//    insertion   walk down by the bits of the route. It is marked on the first node whose key it covers; if there is
//                none, a leaf's key is lengthened to it; if keys part, a branch takes the node's place, with the node's
//                routes up to there, and gets the node and a new leaf as its children.
//    deletion    the mark is taken away. A leaf without marks goes, and its parent goes with it: the other child takes
//                the parent's place and marks, and keeps its own key.
//
// The text of a tree is a node a line in pre-order, two blanks a level: key, then marked lengths in braces.
// Tested by tests/property/SlowTreeTest.cpp against trees drawn by hand.
#pragma once

#include <algorithm>
#include <bitset>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/property/PrefixBits.h"

namespace Property {

class SlowTree {
  public:
   struct Node {
      IpGenPrefix key;
      std::bitset<129> black;  // by length
      std::unique_ptr<Node> left, right;

      bool isLeaf() const { return !left && !right; }
      std::unique_ptr<Node>& towards(const IpGenPrefix& p) { return bitOf(p, key.len()) ? right : left; }
   };

   const Node* root() const { return root_.get(); }
   bool hasDefault() const { return hasDefault_; }
   int nodes() const {
      return count(root_.get(), [](const Node&) { return 1; });
   }
   int routes() const {
      return hasDefault_ + count(root_.get(), [](const Node& n) { return static_cast<int>(n.black.count()); });
   }
   // Leaves that hold no route.
   int whiteLeaves() const {
      return count(root_.get(), [](const Node& n) { return n.isLeaf() && n.black.none() ? 1 : 0; });
   }

   void add(const IpGenPrefix& p) {
      if (p.len() == 0) {
         hasDefault_ = true;
         return;
      }
      auto* slot = &root_;
      while (*slot) {
         Node& node = **slot;
         const U32 common = commonLength(node.key, p);
         if (common < p.len() && common == node.key.len() && !node.isLeaf()) {
            slot = &node.towards(p);
            continue;
         }
         if (common < p.len() && common < node.key.len()) {
            part(*slot, common, p);
         } else {
            node.key = common < p.len() ? p : node.key;
            node.black.set(p.len());
         }
         return;
      }
      *slot = leaf(p);
   }

   // Whether the route was there.
   bool remove(const IpGenPrefix& p) {
      if (p.len() == 0) {
         return std::exchange(hasDefault_, false);
      }
      std::unique_ptr<Node>* parent = nullptr;
      auto* slot = &root_;
      while (*slot && (*slot)->key.len() < p.len() && covers((*slot)->key, p)) {
         parent = slot;
         slot = &(*slot)->towards(p);
      }
      if (!*slot || !covers(p, (*slot)->key) || !(*slot)->black[p.len()]) {
         return false;
      }
      (*slot)->black.reset(p.len());
      if ((*slot)->isLeaf() && (*slot)->black.none()) {
         slot->reset();
         if (parent != nullptr) {
            auto sibling = std::move((*parent)->left ? (*parent)->left : (*parent)->right);
            sibling->black |= (*parent)->black;
            *parent = std::move(sibling);
         }
      }
      return true;
   }

   // Whether p lies on the edge of a node with children.
   bool isOnBranch(const IpGenPrefix& p) const {
      const Node* node = root_.get();
      while (node != nullptr && node->key.len() < p.len() && covers(node->key, p)) {
         node = bitOf(p, node->key.len()) ? node->right.get() : node->left.get();
      }
      return node != nullptr && covers(p, node->key) && !node->isLeaf();
   }

   // Where p lies: the first node whose key it covers, or else the last whose key covers it, and the nodes above, the root
   // first. Nothing if p leaves the tree inside the root's key; for length 0 without the default route, nothing either.
   using Path = std::vector<const Node*>;
   Path pathTo(const IpGenPrefix& p) const {
      Path path;
      const Node* node = p.len() != 0 || hasDefault_ ? root_.get() : nullptr;
      while (node != nullptr && (covers(p, node->key) || covers(node->key, p))) {
         path.push_back(node);
         node = covers(p, node->key) ? nullptr : bitOf(p, node->key.len()) ? node->right.get() : node->left.get();
      }
      return path;
   }
   // The routes beneath a node, in order.
   static std::vector<IpGenPrefix> routesFrom(const Node* node) {
      std::vector<IpGenPrefix> routes;
      collect(node, routes);
      return routes;
   }
   // What a walk from p and a search for its children give: the whole subtree where p lies, inside p or not. A walk leaves
   // out routes shorter than p, and a search those that are not longer or lie beneath another of them.
   std::vector<IpGenPrefix> walk(const IpGenPrefix& p) const {
      auto routes = p.len() == 0 ? routesFrom(root_.get()) : subtreeOf(p);
      std::erase_if(routes, [&](auto& r) { return r.len() < p.len(); });
      if (p.len() == 0 && hasDefault_) {
         routes.insert(routes.begin(), p);
      }
      return routes;
   }
   std::vector<IpGenPrefix> children(const IpGenPrefix& p) const {
      std::vector<IpGenPrefix> found;
      for (const auto& route : subtreeOf(p)) {
         if (route.len() > p.len() && (found.empty() || !covers(found.back(), route))) {
            found.push_back(route);
         }
      }
      return found;
   }
   // Whether a step from p to the next route goes astray: nothing follows p where it lies, and the one subtree that is
   // looked into then, right of the nearest node that the way to p left by its left, has no route at all.
   bool endsAtWhite(const IpGenPrefix& p) const {
      Path path = pathTo(p);
      const auto below = path.empty() ? std::vector<IpGenPrefix>() : routesFrom(path.back());
      if (path.empty() || std::any_of(below.begin(), below.end(), [&](auto& r) { return isBefore(p, r); })) {
         return false;
      }
      for (std::size_t i = path.size() - 1; i > 0; --i) {
         if (path[i - 1]->left.get() == path[i]) {
            return routesFrom(path[i - 1]->right.get()).empty();
         }
      }
      return false;
   }

   // The tree in bytes, for comparisons: shorter than its text, and as exact.
   std::string shape() const {
      std::string bytes(hasDefault_ ? "default" : "");
      appendShape(root_.get(), bytes);
      return bytes;
   }
   std::string text() const { return (hasDefault_ ? "default\n" : "") + textOf(root_.get(), 0); }

  private:
   static std::unique_ptr<Node> leaf(const IpGenPrefix& p) {
      auto node = std::make_unique<Node>();
      node->key = p;
      node->black.set(p.len());
      return node;
   }

   static void part(std::unique_ptr<Node>& slot, U32 at, const IpGenPrefix& p) {
      auto branch = std::make_unique<Node>();
      branch->key = cut(p, at);
      for (U32 length = 1; length <= at; ++length) {
         branch->black[length] = slot->black[length];
         slot->black.reset(length);
      }
      branch->towards(p) = leaf(p);
      (branch->left ? branch->right : branch->left) = std::move(slot);
      slot = std::move(branch);
   }

   std::vector<IpGenPrefix> subtreeOf(const IpGenPrefix& p) const {
      const Path path = pathTo(p);
      return path.empty() ? std::vector<IpGenPrefix>() : routesFrom(path.back());
   }
   static void collect(const Node* node, std::vector<IpGenPrefix>& routes) {
      if (node == nullptr) {
         return;
      }
      for (U32 length = 1; length <= node->key.len(); ++length) {
         if (node->black[length]) {
            routes.push_back(cut(node->key, length));
         }
      }
      collect(node->left.get(), routes);
      collect(node->right.get(), routes);
   }

   template <class Weight>
   static int count(const Node* node, Weight weight) {
      return node == nullptr ? 0 : weight(*node) + count(node->left.get(), weight) + count(node->right.get(), weight);
   }

   static void appendShape(const Node* node, std::string& bytes) {
      if (node == nullptr) {
         return;
      }
      const auto key = bytesOf(node->key);
      bytes.append(reinterpret_cast<const char*>(key.data()), key.size());
      bytes += static_cast<char>(node->key.len());
      bytes.append(reinterpret_cast<const char*>(&node->black), sizeof node->black);
      appendShape(node->left.get(), bytes);
      appendShape(node->right.get(), bytes);
   }

   static std::string textOf(const Node* node, std::size_t depth) {
      if (node == nullptr) {
         return "";
      }
      std::string text = std::string(2 * depth, ' ') + std::string(node->key.stringValue()) + " {";
      for (U32 length = 1; length <= 128; ++length) {
         text += node->black[length] ? (text.back() == '{' ? "" : " ") + std::to_string(length) : "";
      }
      return text + "}\n" + textOf(node->left.get(), depth + 1) + textOf(node->right.get(), depth + 1);
   }

   std::unique_ptr<Node> root_;
   bool hasDefault_ = false;
};

}  // namespace Property
