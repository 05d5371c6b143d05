// IntrusiveEngine: an intrusive trie behind the battery's adapter, for the library's IPv6 trie and for an IPv4 route class
// of the tests' own, with the list of its routes beside it.
//
// Each answer is asked in more than one way, and all have to agree: a longest match from the root and from every node
// that covers the query; a removal by prefix or, with the object alone, by its handle; an addition of what is there by a
// new object, by the same object again, or by handing the place over. Which way is taken goes by turns.
// Used by tests/property/IntrusiveTest.cpp and tests/property/IntrusiveInternetTest.cpp.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "tests/property/Battery.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace Property {

using Corenet::AddressFamily;
using Corenet::PrefixDataAndLength;

//--- the two tries under one face ---

// The library's: a counted object.
struct Ipv6IntrusiveTrie {
   static constexpr AddressFamily family = AddressFamily::ipv6;
   static constexpr std::string_view name = "Ipv6Intrusive";
   using Route = Sprig::Ipv6TrieRoute;
   using RoutePtr = Corvid::Ptr<Route>;
   using Engine = Sprig::Ipv6Trie::Engine;

   static RoutePtr make(const IpGenPrefix& p) { return Sprig::ipv6TrieRouteFactory(p.v6Prefix()); }
   const Engine& engine() const { return trie->trie(); }
   void insert(const RoutePtr& route) { trie->routeIs(route); }
   RoutePtr remove(const IpGenPrefix& p) { return trie->routeDel(p.v6Prefix()); }

   Corvid::Ptr<Sprig::Ipv6Trie> trie = Sprig::ipv6TrieFactory();
};

// A bare engine over a class of the tests' own.
struct Ipv4IntrusiveTrie {
   static constexpr AddressFamily family = AddressFamily::ipv4;
   static constexpr std::string_view name = "Ipv4Intrusive";
   using Route = testing_support::Ipv4Route;
   using RoutePtr = Corvid::Ptr<Route>;
   using Engine = Sprig::Intrusive::Trie<Route::TrieNode>;

   ~Ipv4IntrusiveTrie() { trie.removeAll(); }
   static RoutePtr make(const IpGenPrefix& p) { return testing_support::Ipv4Kind::make(p.v4Prefix()); }
   const Engine& engine() const { return trie; }
   void insert(const RoutePtr& route) { trie.insert(*route); }
   RoutePtr remove(const IpGenPrefix& p) {
      const auto bytes = bytesOf(p);
      const auto match = trie._longestMatch({bytes.data(), p.len()}, nullptr);
      const RoutePtr found(match.exact ? match.route : nullptr);
      if (found) {
         found->trieNode().remove();
      }
      return found;
   }

   Engine trie;
};

//--- the adapter ---

template <class Face>
class IntrusiveEngine {
  public:
   using Route = typename Face::Route;
   using RoutePtr = typename Face::RoutePtr;
   using Engine = typename Face::Engine;
   using NodeBase = typename Engine::NodeBase;

   static constexpr AddressFamily family = Face::family;
   static constexpr std::string_view name = Face::name;
   static constexpr U32 abilities = parentAbility | longerAbility | nextAbility | coveringAbility | subtreeAbility |
                                    childrenAbility | orderedAbility;
   static constexpr Habits habits{.setHasOneTree = true};

   void add(const IpGenPrefix& p) {
      ++turn_;
      RoutePtr& held = held_[p];
      if (!held) {
         held = Face::make(p);
         face_.insert(held);
      } else if (turn_ % 3 == 0) {
         face_.insert(held);
      } else {
         const RoutePtr other = Face::make(p);
         if (turn_ % 3 == 1) {
            face_.insert(other);
         } else {
            held->trieNode().replaceWith(*other);
         }
         expect(isDetached(*held) && held->uses() == 1, "a replaced route is not detached");
         held = other;
      }
      expect(held->uses() == 2, "a route in the trie has not two references");
   }

   bool remove(const IpGenPrefix& p) {
      const auto at = held_.find(p);
      if (at == held_.end()) {
         return face_.remove(p) != nullptr;
      }
      const RoutePtr held = at->second;
      held_.erase(at);
      if (++turn_ % 2 == 0) {
         held->trieNode().remove();
      } else {
         expect(face_.remove(p) == held, "another route was removed");
      }
      expect(isDetached(*held) && held->uses() == 1, "a removed route is not detached");
      return true;
   }

   std::size_t routes() const { return held_.size(); }
   bool exact(const IpGenPrefix& p) const { return match(p).exact; }
   MaybePrefix longestMatch(const IpGenPrefix& p) const {
      const auto found = match(p);
      checkHints(p, found);
      return prefixOf(found.route);
   }
   MaybePrefix parent(const IpGenPrefix& p) const {
      const auto found = match(p);
      return prefixOf(found.exact ? Route::TrieNode::of(*found.route)->parent() : found.route);
   }
   bool longer(const IpGenPrefix& p) const {
      const NodeBase* node = top(p);
      return node != nullptr && (prefixOf(*node) != p || node->left != nullptr || node->right != nullptr);
   }

   // The route after p: the first beneath its place, or the first after that.
   MaybePrefix next(const IpGenPrefix& p) const {
      const NodeBase* node = top(p);
      if (node == nullptr) {
         node = after(p);
      }
      while (node != nullptr && (node->isInternal() || prefixOf(*node) == p)) {
         node = node->nextNode(false, 0);
      }
      return node == nullptr ? MaybePrefix() : prefixOf(*node);
   }
   PrefixList covering(const IpGenPrefix& p) const {
      PrefixList list;
      for (Route* route = match(p).route; route != nullptr; route = Route::TrieNode::of(*route)->parent()) {
         list.insert(list.begin(), *prefixOf(route));
      }
      return list;
   }
   PrefixList subtree(const IpGenPrefix& p) const { return walk(p, false); }
   PrefixList children(const IpGenPrefix& p) const { return walk(p, true); }
   PrefixList ordered() const {
      PrefixList list;
      for (const Route* route = face_.engine().first(); route != nullptr;) {
         list.push_back(*prefixOf(route));
         route = Route::TrieNode::of(const_cast<Route&>(*route))->next();
      }
      return list;
   }

   std::string audit() const {
      std::string fault = fault_.empty() ? face_.engine().audit() : fault_;
      for (const auto& [p, route] : held_) {
         if (fault.empty() && (!route->trieNode().isLinked() || route->uses() != 2)) {
            fault = "route " + std::string(p.stringValue()) + " is not in the trie by one reference";
         }
      }
      return fault.empty() ? internalsFault() : fault;
   }

   const Engine& engine() const { return face_.engine(); }
   RoutePtr held(const IpGenPrefix& p) const { return held_.at(p); }
   // Nodes that are not routes, as they are in the tree.
   std::size_t internals() const {
      std::size_t count = 0;
      for (const NodeBase* node = engine().root(); node != nullptr; node = node->nextNode(false, 0)) {
         count += node->isInternal();
      }
      return count;
   }

   // One set of routes has one tree, whatever the order of the changes that led to it.
   std::string shape() const {
      std::string text;
      for (const NodeBase* node = engine().root(); node != nullptr; node = node->nextNode(false, 0)) {
         text += fmt::format("{}{} ", node->isInternal() ? "*" : "", prefixOf(*node).stringValue().view());
      }
      return text;
   }

  private:
   static bool isDetached(const Route& route) {
      const auto& node = const_cast<Route&>(route).trieNode();
      return node.left == nullptr && node.parentWord == 0 && node.right == nullptr;
   }
   void expect(bool good, std::string_view fault) const {
      if (!good && fault_.empty()) {
         fault_ = fault;
      }
   }

   static IpGenPrefix prefixOf(const NodeBase& node) {
      const PrefixDataAndLength view = NodeBase::prefixOf(node);
      std::array<U8, 16> bytes{};
      std::copy(view.data, view.data + (view.length + 7) / 8, bytes.begin());
      return Property::prefixOf(family, bytes, view.length);
   }
   static MaybePrefix prefixOf(const Route* route) {
      return route == nullptr ? MaybePrefix() : prefixOf(*Route::TrieNode::of(const_cast<Route&>(*route)));
   }

   typename Engine::LongestMatchResult match(const IpGenPrefix& p, const NodeBase* hint = nullptr) const {
      const auto bytes = bytesOf(p);
      return engine()._longestMatch({bytes.data(), p.len()}, hint);
   }

   // From every node that covers the query the answer is the root's; from the node above all and from one that does not
   // cover it, the subtree's root is the lowest node that covers both.
   void checkHints(const IpGenPrefix& p, const typename Engine::LongestMatchResult& found) const {
      const auto bytes = bytesOf(p);
      for (const NodeBase* hint = found.deepestNode; hint != nullptr; hint = hint->parentNode()) {
         const auto again = match(p, hint);
         expect(again.route == found.route && again.exact == found.exact && again.deepestNode == found.deepestNode,
                "a hint that covers the query changes the answer");
         expect(engine().getSubtreeRootFromHint(hint, {bytes.data(), p.len()}) == hint,
                "a hint that covers the prefix is not the subtree's root");
      }
      const NodeBase* other = engine().root();
      for (U32 steps = p.len() % 5; other != nullptr && steps > 0; --steps) {
         other = other->right != nullptr ? other->right : other->left;
      }
      if (other != nullptr) {
         const NodeBase* expected = other;
         while (expected != nullptr &&
                !(covers(prefixOf(*expected), prefixOf(*other)) && covers(prefixOf(*expected), p))) {
            expected = expected->parentNode();
         }
         expect(engine().getSubtreeRootFromHint(other, {bytes.data(), p.len()}) == expected,
                "the subtree's root is not the lowest node that covers hint and prefix");
      }
   }

   // The node that holds all routes that p covers, and none else; null if there are none.
   const NodeBase* top(const IpGenPrefix& p) const {
      const NodeBase* node = match(p).deepestNode;
      if (node != nullptr && prefixOf(*node) == p) {
         return node;
      }
      node = node == nullptr ? engine().root() : bitOf(p, lengthOf(*node)) ? node->right : node->left;
      return node != nullptr && covers(p, prefixOf(*node)) ? node : nullptr;
   }
   // The first node after all that p covers, where p covers none.
   const NodeBase* after(const IpGenPrefix& p) const {
      const NodeBase* node = match(p).deepestNode;
      const NodeBase* const* slot = nullptr;
      if (node == nullptr) {
         node = engine().root();
         return node != nullptr && p < prefixOf(*node) ? node : nullptr;
      }
      const bool isRight = bitOf(p, lengthOf(*node));
      slot = isRight ? &node->right : &node->left;
      if (*slot != nullptr && p < prefixOf(**slot)) {
         return *slot;
      }
      return NodeBase::template nextNodeOutsideSubtree<const NodeBase*>(
         slot, isRight ? Sprig::Intrusive::ParentPtrType::nodeRight : Sprig::Intrusive::ParentPtrType::nodeLeft, 0);
   }
   static U32 lengthOf(const NodeBase& node) { return NodeBase::prefixOf(node).length; }

   // The routes that p covers; or of them, those shorter ones that no other, but p itself, covers.
   PrefixList walk(const IpGenPrefix& p, bool outermost) const {
      PrefixList list;
      const NodeBase* node = top(p);
      if (node == nullptr) {
         return list;
      }
      // The guard ends the walk at the top's parent, which is shorter than the top.
      const auto edge = static_cast<U8>(lengthOf(*node));
      const NodeBase* last = nullptr;
      for (; node != nullptr && (last == nullptr || covers(p, prefixOf(*node)));) {
         last = node;
         const bool isOwn = prefixOf(*node) == p;
         if (!node->isInternal() && !(outermost && isOwn)) {
            list.push_back(prefixOf(*node));
         }
         node = node->nextNode(outermost && !node->isInternal() && !isOwn, edge);
      }
      // A top without a parent, or one of length 0, has no edge: nothing lies outside it.
      expect(node == nullptr, "a walk left its subtree");
      return list;
   }

   // A tree is as small as it can be: an internal node joins two, so there are fewer of them than routes.
   std::string internalsFault() const {
      const std::size_t found = internals();
      return found == 0 || found < routes() ? "" : fmt::format("{} internal nodes for {} routes", found, routes());
   }

   Face face_;
   std::unordered_map<IpGenPrefix, RoutePtr> held_;
   unsigned turn_ = 0;
   mutable std::string fault_;  // the first that showed between audits
};

using Ipv6IntrusiveEngine = IntrusiveEngine<Ipv6IntrusiveTrie>;
using Ipv4IntrusiveEngine = IntrusiveEngine<Ipv4IntrusiveTrie>;

static_assert(Engine<Ipv6IntrusiveEngine> && Engine<Ipv4IntrusiveEngine>);

}  // namespace Property
