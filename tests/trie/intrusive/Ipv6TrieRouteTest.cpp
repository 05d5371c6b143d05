#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

#include <gtest/gtest.h>

#include "routetrie/platform/Corvid/Inspect.h"

namespace Ipv6TrieRouteTest {

using Corenet::Ip6Prefix;
using Sprig::Ipv6TrieRoute;
namespace Inspect = Corvid::Inspect;

Ip6Prefix p(std::string_view text) { return Ip6Prefix::fromString(text); }

TEST(Ipv6TrieRoute, isMadeDetached) {
   const auto route = Sprig::ipv6TrieRouteFactory(p("2001:db8::/32"));
   EXPECT_EQ(p("2001:db8::/32"), route->prefix());
   EXPECT_EQ(1u, route->uses());
   EXPECT_FALSE(route->isInTrie());
   EXPECT_EQ(nullptr, route->trieNode().left);
   EXPECT_EQ(0u, route->trieNode().parentWord);
   EXPECT_EQ(nullptr, route->trieNode().right);
   EXPECT_EQ(nullptr, route->publisher());
   EXPECT_EQ(p("::/0"), Ipv6TrieRoute::Ipv6TrieRouteIs(p("::/0"))->prefix());
}

TEST(Ipv6TrieRoute, viewsItsPrefix) {
   const auto route = Sprig::ipv6TrieRouteFactory(p("2001:db8::/32"));
   EXPECT_EQ("2001:db8::/32", route->trieGetPrefix().formatIpv6());
   EXPECT_EQ(route->prefix().address().bytes().data(), route->trieGetPrefix().data) << "no copy";
   EXPECT_EQ(32u, route->trieGetPrefix().length);
   EXPECT_EQ(128u, Sprig::ipv6TrieRouteFactory(p("::1/128"))->trieGetPrefix().length);
}

TEST(Ipv6TrieRoute, theNullPrefixIsViewedAsLengthZero) {
   const auto route = Sprig::ipv6TrieRouteFactory(Ip6Prefix::nullPrefix());
   EXPECT_TRUE(route->prefix().isNullPrefix());
   EXPECT_EQ(nullptr, route->trieGetPrefix().data);
   EXPECT_EQ(0u, route->trieGetPrefix().length);
}

TEST(Ipv6TrieRoute, isCountedByItsClass) {
   const auto first = Sprig::ipv6TrieRouteFactory(p("::/0"));
   const auto* tracker = Ipv6TrieRoute::memAllocationTracker_;
   const auto before = tracker->liveObjects();
   {
      const auto second = Sprig::ipv6TrieRouteFactory(p("::/0"));
      EXPECT_EQ(before + 1, tracker->liveObjects());
   }
   EXPECT_EQ(before, tracker->liveObjects());
   EXPECT_EQ("Sprig::Ipv6TrieRoute", tracker->typeName());
   EXPECT_EQ(64u, tracker->objectSize());
}

TEST(Ipv6TrieRoute, trieRemoveTakesItOut) {
   Sprig::Intrusive::Trie<Ipv6TrieRoute::TrieNode> trie;
   const auto route = Sprig::ipv6TrieRouteFactory(p("2001:db8::/32"));
   trie.insert(*route);
   EXPECT_TRUE(route->isInTrie());
   EXPECT_EQ(2u, route->uses());
   route->trieRemove();
   EXPECT_FALSE(route->isInTrie());
   EXPECT_EQ(1u, route->uses());
   EXPECT_TRUE(trie.empty());
}

TEST(Ipv6TrieRouteDeathTest, trieRemoveOfADetachedRoute) {
   EXPECT_DEATH(Sprig::ipv6TrieRouteFactory(p("::/0"))->trieRemove(),
                "void Sprig::Intrusive::Impl::trieError\\(\\): Assertion `false' failed");
}

//--- by name ---

TEST(Ipv6TrieRoute, hasItsSurface) {
   const auto type = Inspect::findType("Sprig::Ipv6TrieRoute");
   ASSERT_TRUE(type);
   const auto fields = type->fields();
   ASSERT_EQ(3u, fields.size());
   EXPECT_EQ("prefix", fields[0].name());
   EXPECT_EQ(130, fields[0].id());
   EXPECT_EQ("Corenet::Ip6Prefix", fields[0].typeName());
   EXPECT_TRUE(fields[0].takes(Corvid::AccessKind::get));
   EXPECT_FALSE(fields[0].takes(Corvid::AccessKind::set));
   EXPECT_EQ("trieGetPrefix", fields[1].name());
   EXPECT_EQ(132, fields[1].id());
   EXPECT_EQ("Corenet::PrefixDataAndLength", fields[1].typeName());
   EXPECT_EQ(Tesk::Shape::constOperation, fields[1].shape());
   EXPECT_EQ("trieRemove", fields[2].name());
   EXPECT_EQ(133, fields[2].id());
   EXPECT_EQ("void", fields[2].typeName());
   EXPECT_EQ(Tesk::Shape::operation, fields[2].shape());
   ASSERT_EQ(1u, type->constructorParameters().size());
   EXPECT_EQ("prefix", type->constructorParameters()[0].name);
}

TEST(Ipv6TrieRoute, isReachedByName) {
   const auto type = Inspect::findType("Sprig::Ipv6TrieRoute");
   const auto made = Inspect::make(*type, {"2001:db8::/32"});
   ASSERT_EQ(*type, *Inspect::typeOf(*made));
   auto& route = static_cast<Ipv6TrieRoute&>(*made);
   EXPECT_EQ(p("2001:db8::/32"), route.prefix());
   EXPECT_EQ("2001:db8::/32", Inspect::get(route, "prefix").text);
   Sprig::Intrusive::Trie<Ipv6TrieRoute::TrieNode> trie;
   trie.insert(route);
   Inspect::call(route, "trieRemove");
   EXPECT_TRUE(trie.empty());
   EXPECT_FALSE(route.isInTrie());
}

}  // namespace Ipv6TrieRouteTest
