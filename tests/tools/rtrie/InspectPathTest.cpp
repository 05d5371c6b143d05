#include "tools/rtrie/InspectPath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace InspectPathTest {

using testing::ElementsAre;
using Step = InspectPath::Step;

TEST(InspectPath, StepsAreJoinedByDotsOutsideOfBrackets) {
   EXPECT_THAT(InspectPath("routes").steps(), ElementsAre(Step{"routes", {}}));
   EXPECT_THAT(InspectPath("empty()").steps(), ElementsAre(Step{"empty", {}}));
   EXPECT_THAT(InspectPath("trie4.longestMatch(10.1.2.3/32)").steps(),
               ElementsAre(Step{"trie4", {}}, Step{"longestMatch", {"10.1.2.3/32"}}));
   EXPECT_THAT(InspectPath("f( 10.0.0.0/8 , null ).g").steps(),
               ElementsAre(Step{"f", {"10.0.0.0/8", "null"}}, Step{"g", {}}));
}

TEST(InspectPath, WhatIsNoPathIsQuoted) {
   for (const char* bad : {"", ".", "a.", ".a", "a(", "a(b", "a)b", "(a)", "a(b)c", "a b"}) {
      try {
         const InspectPath path(bad);
         ADD_FAILURE() << bad;
      } catch (const UsageError& error) {
         EXPECT_EQ(std::string(error.what()),
                   "no path to an attribute: \"" + std::string(bad) + "\": try routes, or name(argument, ...)");
      }
   }
}

TEST(InspectPath, APrefixOfTheOtherFamilyDoesNotSuit) {
   EXPECT_TRUE(InspectPath("routes").suits(Corenet::ipv4));
   EXPECT_TRUE(InspectPath("routes").suits(Corenet::ipv6));
   EXPECT_TRUE(InspectPath("route(10.0.0.0/8)").suits(Corenet::ipv4));
   EXPECT_FALSE(InspectPath("route(10.0.0.0/8)").suits(Corenet::ipv6));
   EXPECT_FALSE(InspectPath("a.route(2001:db8::/32)").suits(Corenet::ipv4));
   EXPECT_TRUE(InspectPath("nodes(7)").suits(Corenet::ipv6));
}

TEST(InspectPath, ReadsAttributesAndCallsOperations) {
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   InspectPath("updateRoute(10.0.0.0/8)").read(*trie);  // its payload is null
   EXPECT_EQ(InspectPath("routes").read(*trie).text, "1");
   EXPECT_EQ(InspectPath("longestMatchCommon(10.1.2.3/32, null, null)").read(*trie).text, "10.0.0.0/8");
   EXPECT_EQ(InspectPath("longestMatchCommon(10.1.2.3/32)").read(*trie).text, "10.0.0.0/8");
   EXPECT_EQ(InspectPath("defaultRouteNodeData").read(*trie).text, "null");
}

TEST(InspectPath, WhatIsNotThereRaises) {
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   EXPECT_THROW(InspectPath("nothing").read(*trie), Corvid::RangeException);
   EXPECT_THROW(InspectPath("routes.nothing").read(*trie), Corvid::RangeException);
   EXPECT_THROW(InspectPath("defaultRouteNodeData.nothing").read(*trie), Corvid::RangeException);
   EXPECT_THROW(InspectPath("routes(1)").read(*trie), Corvid::RangeException);
   EXPECT_THROW(InspectPath("routes(1, 2)").read(*trie), Corvid::RangeException);
   EXPECT_THROW(InspectPath("longerRoutePresentCommon").read(*trie), Corvid::RangeException);
}

}  // namespace InspectPathTest
}  // namespace Rtrie
