#include "routetrie/trie/patricia/PatriciaTrieDescent.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieDescentTest {

using namespace testing_support;
using Routing::lpmNodeImpl;
using Routing::PatriciaTrieWalkedPrefixCb;

template <class Kind>
class LpmNode : public PatriciaFixture<Kind> {
  protected:
   // The node found and, behind a colon, the path; "-" for none.
   std::string locate(std::string_view text) {
      PatriciaTrieWalkedPrefixCb path;
      const auto prefix = this->p(text);
      const auto* node = lpmNodeImpl(*this->trie, this->trie->root(), prefix, &path);
      EXPECT_EQ(node, lpmNodeImpl(*this->trie, this->trie->root(), prefix, nullptr)) << "a path changes nothing";
      std::string result = node == nullptr ? "-" : this->describe(node);
      result += " :";
      for (const auto* walked : path.nodes()) {
         result += ' ' + std::to_string(walked->len(this->trie->paf()));
      }
      return result;
   }
   void addAll() {
      for (const auto* route : {"10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16", "10.128.0.0/24"}) {
         this->add(route);
      }
   }
};
TYPED_TEST_SUITE(LpmNode, PatriciaKinds);

TYPED_TEST(LpmNode, emptyTreeHasNoNode) {
   EXPECT_EQ("- :", this->locate("10.0.0.0/8"));
   EXPECT_EQ("- :", this->locate("0.0.0.0/0"));
   this->add("0.0.0.0/0");
   EXPECT_EQ("- :", this->locate("0.0.0.0/0")) << "a null start node comes back";
}

TYPED_TEST(LpmNode, zeroLengthFindsTheStartNodeOnlyWithTheDefaultRoute) {
   this->addAll();
   EXPECT_EQ("- :", this->locate("0.0.0.0/0"));
   this->add("0.0.0.0/0");
   EXPECT_EQ("10.0.0.0/8 {8} : 8", this->locate("0.0.0.0/0"));
}

TYPED_TEST(LpmNode, shorterPrefixFindsTheLongerNode) {
   this->addAll();
   EXPECT_EQ("10.0.0.0/8 {8} : 8", this->locate("10.0.0.0/7"));
   EXPECT_EQ("10.128.0.0/24 {16 24} : 8 24", this->locate("10.128.0.0/12"));
   EXPECT_EQ("10.128.0.0/24 {16 24} : 8 24", this->locate("10.128.0.0/24"));
}

TYPED_TEST(LpmNode, divergenceFindsTheNodeAbove) {
   this->addAll();
   EXPECT_EQ("- :", this->locate("11.0.0.0/8")) << "inside the root's key";
   EXPECT_EQ("10.0.0.0/8 {8} : 8", this->locate("10.64.0.0/16"));
   EXPECT_EQ("10.0.0.0/8 {8} : 8", this->locate("10.128.1.0/24"));
}

TYPED_TEST(LpmNode, longerPrefixFindsTheDeepestNodeThatCoversIt) {
   this->addAll();
   EXPECT_EQ("10.0.0.0/16 {16} : 8 16", this->locate("10.0.5.0/24"));
   EXPECT_EQ("10.128.0.0/24 {16 24} : 8 24", this->locate("10.128.0.1/32"));
}

// Keys decide, whatever the routes on them.
TYPED_TEST(LpmNode, blackLengthsPlayNoPart) {
   this->addAll();
   this->del("10.0.0.0/8");
   EXPECT_EQ("10.0.0.0/8 {} : 8", this->locate("10.64.0.0/16"));
}

template <class Kind>
class WalkAllAncestorsData : public PatriciaFixture<Kind> {
  protected:
   class Callback : public Kind::Cb {
     public:
      bool handlePrefixData(const typename Kind::P& p, const Routing::PrefixData* data) override {
         EXPECT_EQ(nullptr, data);
         lengths.push_back(p.len());
         return false;
      }
      std::vector<U32> lengths;
   };
   std::vector<U32> walk(U32 upToLen) {
      const auto callback = Corvid::ptrIsImpl<Callback>();
      PatriciaTrieImpl::trieVisit<PatriciaTrieImpl::NodePicker>(
         this->trie->paf(), this->trie->root(), [&](auto* node) {
            Routing::walkAllAncestorsData(node, false, this->trie->paf(),
                                          static_cast<typename Kind::Cb*>(callback.get()), upToLen);
         });
      return callback->lengths;
   }
};
TYPED_TEST_SUITE(WalkAllAncestorsData, PatriciaKinds);

TYPED_TEST(WalkAllAncestorsData, reportsOneNodeUpToALength) {
   for (const auto* route : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"}) {
      this->add(route);
   }
   EXPECT_EQ((std::vector<U32>{}), this->walk(0));
   EXPECT_EQ((std::vector<U32>{}), this->walk(7));
   EXPECT_EQ((std::vector<U32>{8}), this->walk(8));
   EXPECT_EQ((std::vector<U32>{8, 16}), this->walk(23));
   EXPECT_EQ((std::vector<U32>{8, 16, 24}), this->walk(24));
}

}  // namespace PatriciaTrieDescentTest
