#include <gtest/gtest.h>

#include <type_traits>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieLookupTest {

using namespace testing_support;

const std::string none = "0.0.0.0/255";
const std::string theDefault = "0.0.0.0/0";

//--- pfx ---

TEST(TriePfx, cutsAnAddress) {
   EXPECT_EQ(Corenet::Prefix(), Routing::pfx(0xffffffff, 0));
   EXPECT_EQ(p("128.0.0.0/1"), Routing::pfx(0xffffffff, 1));
   EXPECT_EQ(p("10.128.0.0/9"), Routing::pfx(addressOf("10.129.2.3"), 9));
   EXPECT_EQ(p("10.129.2.3/32"), Routing::pfx(addressOf("10.129.2.3"), 32));
   EXPECT_THROW(Routing::pfx(0, 33), Corvid::RangeException);
   try {
      Routing::pfx(0, 254);
      FAIL();
   } catch (const Corvid::RangeException& e) {
      EXPECT_STREQ("Corenet::Prefix::validAsPrefix != true not allowed", e.what());
   }
}

//--- longest match and exact ---

using TrieLookup = TrieFixture;

TEST_F(TrieLookup, theLongestCoveringRouteMatches) {
   add({"10.0.0.0/8", "10.128.0.0/16"});
   EXPECT_EQ("10.128.0.0/16", match("10.128.2.3/32"));
   EXPECT_EQ("10.128.0.0/16", match("10.128.0.0/16"));
   EXPECT_EQ("10.0.0.0/8", match("10.128.0.0/12"));  // the /16 is longer than the query
   EXPECT_EQ("10.0.0.0/8", match("10.127.0.0/16"));
   EXPECT_EQ(none, match("10.0.0.0/7"));
   EXPECT_EQ(none, match("11.0.0.0/32"));
   EXPECT_FALSE(trie->route(p("10.128.2.3/32")));
   EXPECT_TRUE(trie->route(p("10.128.0.0/16")));
   EXPECT_FALSE(trie->route(p("10.128.0.0/17")));
}

TEST_F(TrieLookup, theAnswerHasNoHostBits) {
   add("10.0.0.0/7");
   EXPECT_EQ("10.0.0.0/7", match("11.2.3.4/32"));
   EXPECT_EQ("10.0.0.0/7", match("10.2.3.4/32"));
}

TEST_F(TrieLookup, withoutARouteTheDefaultRouteAnswers) {
   EXPECT_EQ(none, match("10.0.0.0/8"));
   EXPECT_EQ(none, match("0.0.0.0/0"));
   EXPECT_FALSE(trie->route(p("0.0.0.0/0")));
   add("0.0.0.0/0");
   EXPECT_EQ(theDefault, match("10.0.0.0/8"));
   EXPECT_EQ(theDefault, match("0.0.0.0/0"));
   EXPECT_TRUE(trie->route(p("0.0.0.0/0")));
   add("0.0.0.0/1");
   EXPECT_EQ(theDefault, match("0.0.0.0/0"));
   EXPECT_EQ("0.0.0.0/1", match("0.0.0.0/32"));
   del("0.0.0.0/0");
   EXPECT_FALSE(trie->route(p("0.0.0.0/0")));
}

TEST_F(TrieLookup, aLookupOfTheNullPrefixFindsAtMostTheDefaultRoute) {
   add({"0.0.0.0/1", "0.0.0.0/31", "0.0.0.0/32"});
   EXPECT_EQ(nullPrefix, trie->longestMatch(nullPrefix));
   EXPECT_EQ(nullPrefix, trie->findParent(nullPrefix));
   EXPECT_TRUE(trie->route(nullPrefix));  // the answer compares equal to the question
   add("0.0.0.0/0");
   EXPECT_EQ(Corenet::Prefix(), trie->longestMatch(nullPrefix));
   EXPECT_EQ(Corenet::Prefix(), trie->findParent(nullPrefix));
   EXPECT_FALSE(trie->route(nullPrefix));
}

// It is sought in the two entries of 0.0.0.0/31, and there any route counts as longer.
TEST_F(TrieLookup, routesLongerThanTheNullPrefix) {
   EXPECT_FALSE(trie->longerRoutePresent(nullPrefix));
   add({"0.0.0.0/0", "0.0.0.0/1", "0.0.0.0/28"});
   EXPECT_FALSE(trie->longerRoutePresent(nullPrefix));
   add("0.0.0.2/31");
   EXPECT_FALSE(trie->longerRoutePresent(nullPrefix));
   for (const auto* route : {"0.0.0.0/29", "0.0.0.0/31", "0.0.0.0/32", "0.0.0.1/32"}) {
      add(route);
      EXPECT_TRUE(trie->longerRoutePresent(nullPrefix)) << route;
      del(route);
   }
}

TEST_F(TrieLookup, aRouteOfEveryLengthOnOneWay) {
   for (U32 length = 0; length <= 32; ++length) {
      trie->routeIs(Routing::pfx(0x5a5a5a5a, length), true);
   }
   for (U32 length = 0; length <= 32; ++length) {
      const auto query = Routing::pfx(0x5a5a5a5a, length);
      EXPECT_EQ(query, trie->longestMatch(query));
      EXPECT_TRUE(trie->route(query));
      EXPECT_EQ(length == 0 ? nullPrefix : Routing::pfx(0x5a5a5a5a, length - 1), trie->findParent(query));
      EXPECT_EQ(length < 32, trie->longerRoutePresent(query)) << length;
   }
}

//--- parent ---

TEST_F(TrieLookup, theDefaultRouteHasNoParent) {
   EXPECT_EQ(none, parent("0.0.0.0/0"));
   add("0.0.0.0/0");
   EXPECT_EQ(none, parent("0.0.0.0/0"));
}

TEST_F(TrieLookup, theDefaultRouteIsTheParentOfTheFirst) {
   add("10.0.0.0/8");
   EXPECT_EQ(none, parent("10.0.0.0/8"));
   add("0.0.0.0/0");
   EXPECT_EQ(theDefault, parent("10.0.0.0/8"));
   EXPECT_EQ(theDefault, parent("11.0.0.0/8"));
}

TEST_F(TrieLookup, theParentIsShorterWhetherOrNotThePrefixIsThere) {
   add({"10.1.0.0/16", "10.0.0.0/9", "10.0.0.0/10"});
   EXPECT_EQ("10.1.0.0/16", parent("10.1.1.0/24"));
   EXPECT_EQ("10.0.0.0/10", parent("10.1.0.0/16"));
   EXPECT_EQ("10.0.0.0/9", parent("10.0.0.0/10"));
   EXPECT_EQ(none, parent("10.0.0.0/9"));
   add({"10.1.1.1/32", "10.1.1.0/31", "10.1.1.0/29"});
   EXPECT_EQ("10.1.1.0/31", parent("10.1.1.1/32"));
   EXPECT_EQ("10.1.1.0/31", parent("10.1.1.0/32"));
   EXPECT_EQ("10.1.1.0/29", parent("10.1.1.0/31"));
   EXPECT_EQ("10.1.0.0/16", parent("10.1.1.0/29"));
   del("10.1.1.0/31");
   del("10.1.1.0/29");
   EXPECT_EQ("10.1.0.0/16", parent("10.1.1.1/32"));
}

//--- longer routes ---

static_assert(noexcept(std::declval<const TrieImpl::TrieNode&>().longerRoutePresent(nullPrefix)));

TEST_F(TrieLookup, longerRoutesLieInTheSpan) {
   add("10.0.0.0/7");
   EXPECT_FALSE(longer("10.0.0.0/7"));
   EXPECT_TRUE(longer("8.0.0.0/6"));
   add("12.0.0.0/8");
   EXPECT_FALSE(longer("10.0.0.0/7"));
   add("11.0.0.0/8");
   EXPECT_TRUE(longer("10.0.0.0/7"));
   EXPECT_FALSE(longer("10.0.0.0/8"));
   EXPECT_FALSE(longer("11.0.0.0/8"));
}

TEST_F(TrieLookup, aChildIsALongerRoute) {
   add("10.0.0.0/8");
   EXPECT_FALSE(longer("10.0.0.0/8"));
   add("10.1.1.1/32");
   EXPECT_TRUE(longer("10.0.0.0/8"));
   EXPECT_TRUE(longer("10.1.0.0/16"));
   EXPECT_TRUE(longer("10.1.1.0/24"));
   EXPECT_TRUE(longer("10.1.1.0/31"));
   EXPECT_FALSE(longer("10.1.1.1/32"));
   EXPECT_FALSE(longer("10.1.1.2/31"));
   EXPECT_FALSE(longer("10.2.0.0/16"));
}

TEST_F(TrieLookup, withoutANodeThereIsNoLongerRoute) {
   add("10.0.0.0/8");
   EXPECT_FALSE(longer("10.1.1.0/24"));
   EXPECT_EQ(nullptr, nodeFor("10.1.1.0/24"));
}

TEST_F(TrieLookup, underTheDefaultRouteThereIsEveryRouteButItself) {
   EXPECT_FALSE(longer("0.0.0.0/0"));
   add("0.0.0.0/0");
   EXPECT_FALSE(longer("0.0.0.0/0"));
   add("255.255.255.255/32");
   EXPECT_TRUE(longer("0.0.0.0/0"));
   del("255.255.255.255/32");
   add("128.0.0.0/1");
   EXPECT_TRUE(longer("0.0.0.0/0"));
}

TEST_F(TrieLookup, theNodeOfAPrefixIsThatOfItsLength) {
   add("10.1.1.1/32");
   for (U32 length = 0; length <= 32; ++length) {
      const auto* node = TrieImpl::lpmNode(trie->root(), Routing::pfx(addressOf("10.1.1.1"), length));
      ASSERT_NE(nullptr, node);
      EXPECT_EQ(TrieImpl::levelOf(length), node->level());
   }
   EXPECT_EQ(nullptr, TrieImpl::lpmNode(nullptr, p("10.1.1.1/32")));
   EXPECT_EQ(nullptr, nodeFor("10.1.2.1/32"));
   EXPECT_EQ(trie->root(), nodeFor("99.0.0.0/8"));
}

}  // namespace TrieLookupTest
