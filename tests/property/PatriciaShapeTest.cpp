// Named trees of PatriciaTrie, on each engine and at several places of an address: after each op the tree must be node by
// node the one that the slow model keeps, and at the end it must hold the nodes and routes that are told here.
//
// Prefixes are written as IPv4; at a place p they stand behind p fixed bits, so that "10.0.0.0/8" has length p + 8 there.
// What a random run finds is pasted here under the name of the fault.
#include <gtest/gtest.h>

#include <string>

#include "tests/property/Ops.h"
#include "tests/property/PatriciaEngine.h"

namespace Property {
namespace PatriciaShapeTest {

template <class E>
class PatriciaShape : public testing::Test {
  protected:
   static std::vector<U32> places() {
      return E::family == AddressFamily::ipv4 ? std::vector<U32>{0} : std::vector<U32>{0, 28, 45, 60, 96};
   }

   // Runs the ops everywhere; afterwards the tries hold so many nodes and routes.
   void expect(const std::string& text, int nodes, U32 routes) {
      for (const U32 place : places()) {
         Session<E> session;
         for (Op op : opsOf(text)) {
            op.prefix = placed(E::family, place, op.prefix);
            ASSERT_EQ("", faultOf(session, op)) << text << " at place " << place;
            ASSERT_EQ("", session.audit()) << text << " at place " << place;
         }
         EXPECT_EQ(nodes, session.engine().trie().nodes()) << text << " at place " << place;
         EXPECT_EQ(routes, session.engine().trie().routes()) << text << " at place " << place;
         EXPECT_EQ(routes == 0, session.engine().trie().empty()) << text << " at place " << place;
         EXPECT_EQ(nodes == 0, session.engine().trie().root() == nullptr) << text << " at place " << place;
      }
   }
};

using Engines = PatriciaEngines<testing::Types>;
TYPED_TEST_SUITE(PatriciaShape, Engines, EngineName);

TYPED_TEST(PatriciaShape, routesThatNestCostNoNode) {
   this->expect("+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24 ?10.1.2.3/32", 1, 3);
   this->expect("+10.1.2.0/24 +10.1.0.0/16 +10.0.0.0/8 ?10.1.2.3/32", 1, 3);
   this->expect("+10.1.0.0/16 +10.1.2.0/24 +10.0.0.0/8 ?10.1.2.3/32", 1, 3);
}

TYPED_TEST(PatriciaShape, aLeafIsLengthened) {
   this->expect("+10.0.0.0/8", 1, 1);
   this->expect("+10.0.0.0/8 +10.1.0.0/16 ?10.0.0.0/12", 1, 2);
   this->expect("+10.0.0.0/8 +10.0.0.0/8", 1, 1);
}

TYPED_TEST(PatriciaShape, keysThatPartCostABranchAndALeaf) {
   this->expect("+10.0.0.0/8 +11.0.0.0/8 ?10.0.0.0/7", 3, 2);
   this->expect("+0.0.0.0/1 +128.0.0.0/1", 3, 2);
   // Of the lengths 8 and 24, 8 goes to the branch of length 16.
   this->expect("+10.0.0.0/8 +10.1.2.0/24 +10.1.128.0/20 ?10.1.2.0/24 ?10.1.128.0/20 ?10.1.0.0/17", 3, 3);
}

TYPED_TEST(PatriciaShape, aWhiteLeafStandsUntilTheTrieIsEmptiedOrARouteLandsOnIt) {
   const std::string ops = "+10.0.0.0/8 +10.1.2.0/24 -10.1.2.0/24 +10.200.0.0/16 ?10.0.0.0/8 ?10.1.2.0/24";
   this->expect(ops, 3, 2);
   this->expect(ops + " -10.0.0.0/8 -10.200.0.0/16 ?10.1.2.0/24 ?10.1.0.0/16", 1, 0);
   this->expect(ops + " -10.200.0.0/16 -10.0.0.0/8", 0, 0);
   this->expect(ops + " -10.0.0.0/8 -10.200.0.0/16 +10.1.0.0/16 -10.1.0.0/16", 0, 0);
   this->expect(ops + " -10.0.0.0/8 -10.200.0.0/16 +11.0.0.0/8", 3, 1);
}

// Beneath a branch none of whose leaves holds a route, longer() is true all the same.
TYPED_TEST(PatriciaShape, aWhiteSubtreeStands) {
   const std::string ops =
      "+10.0.0.0/8 +10.64.1.0/24 -10.64.1.0/24 +10.128.1.0/24 +10.128.0.0/16 -10.128.1.0/24 +10.128.128.0/24 "
      "-10.128.0.0/16 -10.128.128.0/24 ?10.0.0.0/8 ?10.128.0.0/16 ?10.64.1.0/24";
   this->expect(ops, 3, 1);
   this->expect(ops + " -10.0.0.0/8 ?10.0.0.0/8 ?10.0.0.0/7", 3, 0);

   Session<TypeParam> session;
   for (Op op : opsOf(ops)) {
      op.prefix = placed(TypeParam::family, 0, op.prefix);
      ASSERT_EQ("", faultOf(session, op));
   }
   const auto p = placed(TypeParam::family, 0, IpGenPrefix::fromString("10.0.0.0/8"));
   EXPECT_EQ(2, session.engine().tree().whiteLeaves());
   EXPECT_TRUE(session.engine().longer(p));
   EXPECT_FALSE(session.table().longer(p));
}

TYPED_TEST(PatriciaShape, aLeafKeepsItsKeyWhenItsLongestRouteGoes) {
   this->expect("+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24 -10.1.2.0/24 ?10.1.2.0/24 ?10.1.0.0/16", 1, 2);
   // Its key parts from the new one after 23 bits.
   this->expect("+10.0.0.0/8 +10.1.0.0/16 +10.1.2.0/24 -10.1.2.0/24 +10.1.3.0/24 ?10.1.2.0/24", 3, 3);
}

TYPED_TEST(PatriciaShape, aBranchStaysWhenItsLastRouteGoes) {
   this->expect("+10.0.0.0/7 +10.0.0.0/8 +11.0.0.0/8 -10.0.0.0/7 ?10.0.0.0/8 ?10.0.0.0/7", 3, 2);
}

TYPED_TEST(PatriciaShape, aSiblingTakesTheRoutesOfTheParentThatGoes) {
   this->expect("+10.0.0.0/8 +11.0.0.0/8 -11.0.0.0/8 ?10.0.0.0/8", 1, 1);
   this->expect("+0.0.0.0/4 +10.0.0.0/8 +11.0.0.0/8 -11.0.0.0/8", 1, 2);
   this->expect("+8.0.0.0/5 +10.0.0.0/8 +11.0.0.0/8 -11.0.0.0/8 ?8.0.0.0/5 ?10.0.0.0/8 ?11.0.0.0/8", 1, 2);
   // A sibling that is a branch takes them as well.
   this->expect("+8.0.0.0/7 +10.0.0.0/8 +11.0.0.0/8 +8.0.0.0/6 -8.0.0.0/7 ?10.0.0.0/8 ?8.0.0.0/6", 3, 3);
   // One beneath another branch, in the grandparent's left and in its right.
   this->expect("+10.0.0.0/8 +11.0.0.0/8 +12.0.0.0/8 -10.0.0.0/8 ?11.0.0.0/8 ?10.0.0.0/8", 3, 2);
   this->expect("+10.0.0.0/8 +14.0.0.0/8 +15.0.0.0/8 -15.0.0.0/8 ?14.0.0.0/8 ?15.0.0.0/8", 3, 2);
}

TYPED_TEST(PatriciaShape, aRemoveThatFindsNothingChangesNothing) {
   const std::string ops = "+10.0.0.0/8 +10.1.2.0/24 +11.0.0.0/8";
   for (const char* absent :
        {"10.1.0.0/16", "10.1.2.0/25", "10.1.3.0/24", "10.0.0.0/7", "12.0.0.0/8", "128.0.0.0/1"}) {
      this->expect(ops + " -" + absent, 3, 3);
   }
   this->expect("-10.0.0.0/8", 0, 0);
}

TYPED_TEST(PatriciaShape, longRoutesLieInLaterWords) {
   this->expect("+10.0.0.0/8 +10.1.2.3/32 +10.1.2.2/31 ?10.1.2.3/32 -10.1.2.3/32 ?10.1.2.3/32 ?10.1.2.2/32", 1, 2);
   this->expect("+10.1.2.3/32 +10.1.2.2/32 +10.1.2.0/24 ?10.1.2.2/31 ?10.1.2.2/32 -10.1.2.3/32", 1, 2);
}

// At place 0 alone: the default route is the prefix of length 0.
TYPED_TEST(PatriciaShape, theDefaultRouteIsInNoNode) {
   Session<TypeParam> session;
   const auto run = [&](const std::string& text) {
      for (Op op : opsOf(text)) {
         op.prefix = placed(TypeParam::family, 0, op.prefix);
         ASSERT_EQ("", faultOf(session, op)) << text;
         ASSERT_EQ("", session.audit()) << text;
      }
   };
   run("-0.0.0.0/0 +0.0.0.0/0 +0.0.0.0/0 ?0.0.0.0/0 ?10.0.0.0/8");
   EXPECT_EQ(0, session.engine().trie().nodes());
   EXPECT_EQ(1U, session.engine().trie().routes());
   EXPECT_FALSE(session.engine().trie().empty());
   run("+0.0.0.0/1 ?0.0.0.0/0 ?0.0.0.0/1 ?128.0.0.0/1 -0.0.0.0/0 ?0.0.0.0/0 ?0.0.0.0/1 -0.0.0.0/0");
   EXPECT_EQ(1, session.engine().trie().nodes());
   EXPECT_EQ(1U, session.engine().trie().routes());
}

}  // namespace PatriciaShapeTest
}  // namespace Property
