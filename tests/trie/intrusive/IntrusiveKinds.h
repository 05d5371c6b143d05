// IntrusiveKinds: two classes of routes for an intrusive trie, so that one typed test holds for both: the library's
// Ipv6TrieRoute, whose node ends the object, and an IPv4 route with a payload, whose node lies amid its members.
//
// Prefixes are written as IPv4 text. The IPv6 kind takes the same bits at the top of its address, so that trees of either
// kind have one shape: "10.0.0.0/8" is a00::/8 there.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

namespace testing_support {

using Corenet::PrefixDataAndLength;
using Sprig::Intrusive::ParentPtrType;
using Sprig::Intrusive::Impl::internalFlag;

class Ipv4Route : public Corvid::Node {
  public:
   using TrieNode = Sprig::Intrusive::UserNode<Ipv4Route, true, 0>;

   Ipv4Route(const Corenet::Prefix& prefix, std::string payload) : payload_(std::move(payload)), prefix_(prefix) {}
   ~Ipv4Route() override {
      nodeFlagSet(Corvid::nodeFlagAlive, false);
      if (node_.isLinked()) {
         node_.remove();
      }
   }

   PrefixDataAndLength trieGetPrefix() const { return {prefix_.address().bytes().data(), prefix_.len()}; }
   TrieNode& trieNode() { return node_; }
   const Corenet::Prefix& prefix() const { return prefix_; }
   const std::string& payload() const { return payload_; }
   std::uint64_t guardBefore() const { return guardBefore_; }
   std::uint64_t guardAfter() const { return guardAfter_; }

   static inline Tesk::AllocTrackTypeInfo* memAllocationTracker_ = nullptr;
   static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Ipv4Route>(bytes); }
   static void operator delete(void* memory, std::size_t bytes) noexcept {
      Corvid::releaseFor<Ipv4Route>(memory, bytes);
   }

   static constexpr std::uint64_t guard = 0x5ca1ab1e0ddba11;

  private:
   std::string payload_;
   std::uint64_t guardBefore_ = guard;
   TrieNode node_;
   std::uint64_t guardAfter_ = guard;
   Corenet::Prefix prefix_;

  public:
   static constexpr TrieNode Ipv4Route::*trieNodeMember = &Ipv4Route::node_;
};

static_assert(Sprig::Intrusive::RouteObject<Ipv4Route>);

struct Ipv6Kind {
   using Route = Sprig::Ipv6TrieRoute;
   using Prefix = Corenet::Ip6Prefix;

   static Corvid::Ptr<Route> make(const Prefix& prefix) { return Sprig::ipv6TrieRouteFactory(prefix); }
   static Prefix prefix(std::string_view ipv4Text) {
      const auto v4 = Corenet::Prefix::fromString(ipv4Text);
      return Prefix(Corenet::Ip6Addr(Prefix::Bits(Corenet::U128{v4.bits().word()} << 96)), v4.len());
   }
};

struct Ipv4Kind {
   using Route = Ipv4Route;
   using Prefix = Corenet::Prefix;

   static Corvid::Ptr<Route> make(const Prefix& prefix) {
      return Corvid::ptrIsImpl<Route>(prefix, "payload of " + std::string(prefix.stringValue()));
   }
   static Prefix prefix(std::string_view ipv4Text) { return Prefix::fromString(ipv4Text); }
};

using IntrusiveKinds = testing::Types<Ipv6Kind, Ipv4Kind>;

// The view as IPv4 text; bits past the length are masked, as the engine leaves them standing.
inline std::string textOf(const PrefixDataAndLength& view) {
   std::array<U8, 4> bytes{};
   for (U32 i = 0; i < (view.length + 7) / 8; ++i) {
      bytes.at(i) = view.data[i];
   }
   return std::string(Corenet::Prefix::cut(Corenet::IpAddr(bytes).bits(), view.length).stringValue());
}

// A fixture with one trie of the kind and the routes that the test holds, by their text.
template <class KindType>
class IntrusiveFixture : public testing::Test {
  public:
   using Kind = KindType;
   using RouteType = typename Kind::Route;
   using UserType = typename RouteType::TrieNode;
   using NodeType = typename UserType::Base;
   using InternalType = typename UserType::Internal;
   using TrieType = Sprig::Intrusive::Trie<UserType>;
   using RoutePtr = Corvid::Ptr<RouteType>;

  protected:
   void TearDown() override {
      EXPECT_EQ("", trie.audit());
      trie.removeAll();
      EXPECT_TRUE(trie.empty());
      for (const auto& [text, route] : routes) {
         EXPECT_EQ(1u, route->uses()) << text;
         expectDetached(route);
      }
      EXPECT_EQ(internalsBefore_, internals());
   }

   static RoutePtr make(std::string_view text) { return Kind::make(Kind::prefix(text)); }

   // Inserts a new route, and holds it.
   RouteType& add(const std::string& text) {
      RoutePtr& route = routes[text];
      route = make(text);
      trie.insert(*route);
      EXPECT_EQ(2u, route->uses()) << text;
      EXPECT_EQ("", trie.audit()) << text;
      return *route;
   }
   // Takes the route out, and lets it go.
   void remove(const std::string& text) {
      node(text)->remove();
      EXPECT_EQ("", trie.audit()) << text;
      EXPECT_EQ(1u, routes[text]->uses()) << text;
      expectDetached(routes[text]);
      routes.erase(text);
   }
   UserType* node(const std::string& text) { return UserType::of(*routes.at(text)); }
   static std::string nameOf(const RouteType* route) {
      return route == nullptr ? "none" : nameOf(UserType::of(*const_cast<RouteType*>(route)));
   }
   static std::string nameOf(const NodeType* node) {
      return node == nullptr ? "none" : textOf(NodeType::prefixOf(*node));
   }

   static PrefixDataAndLength viewOf(const typename Kind::Prefix& prefix) {
      return {prefix.address().bytes().data(), prefix.len()};
   }

   static void expectDetached(const RoutePtr& route) {
      const UserType& node = route->trieNode();
      EXPECT_EQ(nullptr, node.left);
      EXPECT_EQ(0u, node.parentWord);
      EXPECT_EQ(nullptr, node.right);
   }
   // What a node's parentWord has to be when the slot holds it.
   static std::uint64_t word(NodeType* const* slot, ParentPtrType type, const NodeType* node) {
      EXPECT_EQ(node, *slot);
      return reinterpret_cast<std::uint64_t>(slot) | static_cast<std::uint64_t>(type) |
             (node->isInternal() ? internalFlag : 0);
   }
   static std::uint64_t wordAtLeft(NodeType* parent) {
      return word(&parent->left, ParentPtrType::nodeLeft, parent->left);
   }
   static std::uint64_t wordAtRight(NodeType* parent) {
      return word(&parent->right, ParentPtrType::nodeRight, parent->right);
   }
   // The word of the node at the root: its slot is the trie's only field.
   std::uint64_t wordAtRoot() const {
      return reinterpret_cast<std::uint64_t>(&trie) | static_cast<std::uint64_t>(ParentPtrType::trieRoot) |
             (trie.root()->isInternal() ? internalFlag : 0);
   }

   // Internal nodes of this kind that live, of all tries.
   static std::uint64_t internals() {
      return InternalType::tracker_ == nullptr ? 0 : InternalType::tracker_->liveObjects();
   }
   std::uint64_t ownInternals() const { return internals() - internalsBefore_; }

   // The tree in pre-order, a node a line, two blanks a level: the slot (o root, L left, R right), the prefix, and I for
   // an internal node or U for a route.
   std::string drawing() const { return drawing(trie.root(), 'o', 0); }
   static std::string drawing(const NodeType* node, char slot, std::size_t depth) {
      if (node == nullptr) {
         return "";
      }
      return std::string(2 * depth, ' ') + slot + ' ' + nameOf(node) + (node->isInternal() ? " I\n" : " U\n") +
             drawing(node->left, 'L', depth + 1) + drawing(node->right, 'R', depth + 1);
   }

   TrieType trie;
   std::map<std::string, RoutePtr> routes;

  private:
   const std::uint64_t internalsBefore_ = internals();
};

}  // namespace testing_support
