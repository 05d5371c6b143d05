#include "routetrie/trie/patricia/PatriciaTrieNodeWithDataImpl.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/trie/patricia/PatriciaKinds.h"

namespace PatriciaTrieNodeWithDataImplTest {

using namespace PatriciaTrieImpl;
using testing_support::ContainerPtr;
using testing_support::DataPtr;

// A payload that records its calls, and stays in place of what would remove it if told so.
class Recording : public Routing::PrefixData {
  public:
   explicit Recording(std::vector<std::string>& calls, std::string name) : calls_(calls), name_(std::move(name)) {}
   void onAddition() override { calls_.push_back(name_ + " onAddition"); }
   void onDeletion() override { calls_.push_back(name_ + " onDeletion"); }
   DataPtr insertData(const DataPtr& data) override {
      calls_.push_back(name_ + " insertData");
      return keeps ? DataPtr(this) : data;
   }
   DataPtr removeData(const DataPtr& data) override {
      calls_.push_back(name_ + " removeData");
      return keeps ? DataPtr(this) : data;
   }
   bool keeps = false;

  private:
   std::vector<std::string>& calls_;
   std::string name_;
};

template <class Node>
class PatriciaTrieNodeWithDataTest : public testing::Test {
  protected:
   using Key = typename Node::KeyPrefix;

   static Key key(std::string_view ipv4Text) {
      const auto prefix = testing_support::prefixOf<Node::family>(ipv4Text);
      if constexpr (Node::family == Corenet::AddressFamily::ipv4) {
         return prefix.v4Prefix();
      } else {
         return prefix.v6Prefix();
      }
   }
   static std::unique_ptr<Node> node(std::string_view text, const DataPtr& data) {
      return std::make_unique<Node>(key(text).len(), key(text), bool(data), data);
   }
   // Adds a route as the trie does: data first, then the bit.
   static void add(Node& node, U32 len, const DataPtr& data) {
      node.dataIs(len, data);
      node.blackIs(len, true);
   }
   Corvid::Ptr<Recording> recording(std::string name) { return Corvid::ptrIsImpl<Recording>(calls, std::move(name)); }

   std::vector<std::string> calls;
};
using Nodes = testing::Types<V4NodeWithData, V6NodeWithData, V6CompactNodeWithData>;
TYPED_TEST_SUITE(PatriciaTrieNodeWithDataTest, Nodes);
using Calls = std::vector<std::string>;

TYPED_TEST(PatriciaTrieNodeWithDataTest, oneRouteIsTheWordItself) {
   const auto data = this->recording("a");
   const auto node = this->node("10.0.0.0/8", data);
   EXPECT_EQ(1u, node->dataArray().size());
   EXPECT_EQ(std::bit_cast<std::uint64_t>(static_cast<Routing::PrefixData*>(data.get())), node->dataArray().word());
   EXPECT_EQ(Calls{"a onAddition"}, this->calls);
   EXPECT_EQ(2u, data->uses());
   EXPECT_EQ(data, DataPtr(node->data(8)));
   EXPECT_EQ(nullptr, node->data(7));
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, noDataNoElement) {
   const auto node = this->node("10.0.0.0/8", nullptr);
   EXPECT_EQ(0u, node->dataArray().size());
   EXPECT_EQ(~std::uint64_t{1}, node->dataArray().word());
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, elementsFollowTheLengthsWhateverTheOrderOfAdding) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   const auto c = this->recording("c");
   const auto node = this->node("10.1.2.0/24", c);
   this->add(*node, 8, a);
   EXPECT_EQ(2u, node->dataArray().size());
   EXPECT_EQ(1u, node->dataArray().word() & 1) << "a block";
   EXPECT_EQ(a.get(), node->dataArray().elementMaybeCompressed(0)) << "the shorter comes first";
   this->add(*node, 16, b);
   EXPECT_EQ(3u, node->dataArray().size());
   EXPECT_EQ(a.get(), node->data(8));
   EXPECT_EQ(b.get(), node->data(16));
   EXPECT_EQ(c.get(), node->data(24));
   EXPECT_EQ((Calls{"c onAddition", "a onAddition", "b onAddition"}), this->calls);
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, presentRouteOffersTheNewObject) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   const auto node = this->node("10.0.0.0/8", a);
   this->add(*node, 8, b);
   EXPECT_EQ(b.get(), node->data(8));
   EXPECT_EQ(1u, node->dataArray().size());
   EXPECT_EQ(1u, a->uses());
   EXPECT_EQ((Calls{"a onAddition", "b onAddition", "a insertData"}), this->calls);
   b->keeps = true;
   this->add(*node, 8, a);
   EXPECT_EQ(b.get(), node->data(8)) << "the same pointer back: nothing to store";
   EXPECT_EQ(2u, b->uses());
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, deletionReturnsTheObjectAndClearsTheBit) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   const auto node = this->node("10.1.0.0/16", b);
   this->add(*node, 8, a);
   this->calls.clear();
   EXPECT_EQ(a, node->dataDel(8, nullptr));
   EXPECT_FALSE(node->black(8));
   EXPECT_EQ(std::bit_cast<std::uint64_t>(static_cast<Routing::PrefixData*>(b.get())), node->dataArray().word())
      << "one element: the word itself again";
   EXPECT_EQ((Calls{"a onDeletion", "a removeData"}), this->calls);
   EXPECT_EQ(b, node->dataDel(16, nullptr));
   EXPECT_EQ(~std::uint64_t{1}, node->dataArray().word());
   EXPECT_TRUE(node->isWhite());
   EXPECT_EQ(1u, a->uses());
   EXPECT_EQ(1u, b->uses());
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, deletionThatKeepsTheRoute) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   const auto node = this->node("10.0.0.0/8", a);
   EXPECT_EQ(a, node->dataDel(8, b)) << "the old object";
   EXPECT_TRUE(node->black(8));
   EXPECT_EQ(b.get(), node->data(8));
   EXPECT_EQ((Calls{"a onAddition", "a onDeletion", "a removeData"}), this->calls);
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, deletionOfAWhiteLength) {
   const auto a = this->recording("a");
   const auto node = this->node("10.1.0.0/16", a);
   EXPECT_FALSE(node->dataDel(8, nullptr));
   EXPECT_EQ(1u, node->dataArray().size());
   EXPECT_EQ(Calls{"a onAddition"}, this->calls);
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, splitTakesTheLowerElements) {
   std::vector<DataPtr> data;
   for (const auto* name : {"8", "16", "24"}) {
      data.push_back(this->recording(name));
   }
   for (const U32 at : {7u, 8u, 15u, 16u, 24u}) {
      const auto other = this->node("10.1.2.0/24", data[2]);
      this->add(*other, 8, data[0]);
      this->add(*other, 16, data[1]);
      const auto branch = this->node("10.1.2.0/24", nullptr);
      branch->splitData(other.get(), at);
      const U32 taken = at / 8;
      ASSERT_EQ(taken, branch->dataArray().size()) << at;
      ASSERT_EQ(3 - taken, other->dataArray().size()) << at;
      for (U32 i = 0; i < 3; ++i) {
         const auto& array = i < taken ? branch->dataArray() : other->dataArray();
         ASSERT_EQ(data[i].get(), array.elementMaybeCompressed(i < taken ? i : i - taken));
         ASSERT_EQ(2u, data[i]->uses());
      }
      if (taken == 3) {
         ASSERT_EQ(~std::uint64_t{1}, other->dataArray().word());
      }
   }
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, mergePutsTheParentsElementsFirst) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   const auto c = this->recording("c");
   const auto parent = this->node("10.0.0.0/8", a);
   const auto child = this->node("10.1.2.0/24", c);
   this->add(*child, 16, b);
   child->mergeData(parent.get());
   ASSERT_EQ(3u, child->dataArray().size());
   EXPECT_EQ(a.get(), child->dataArray().elementMaybeCompressed(0));
   EXPECT_EQ(b.get(), child->dataArray().elementMaybeCompressed(1));
   EXPECT_EQ(c.get(), child->dataArray().elementMaybeCompressed(2));
   EXPECT_EQ(1u, parent->dataArray().size()) << "the other keeps its own";
   EXPECT_EQ(3u, a->uses());
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, mergeWithAWhiteNode) {
   const auto a = this->recording("a");
   const auto white = this->node("10.0.0.0/8", nullptr);
   const auto child = this->node("10.1.0.0/16", a);
   child->mergeData(white.get());
   EXPECT_EQ(a.get(), child->data(16));
   white->mergeData(this->node("0.0.0.0/4", nullptr).get());
   EXPECT_EQ(0u, white->dataArray().size());
   const auto leaf = this->node("10.1.2.0/24", nullptr);
   leaf->mergeData(child.get());
   EXPECT_EQ(1u, leaf->dataArray().size());
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, functionsByNodeType) {
   const auto type = patriciaTrieNodeType(TypeParam::family, std::is_same_v<TypeParam, V6CompactNodeWithData>);
   const auto a = this->recording("a");
   const auto node = this->node("10.1.0.0/16", a);
   const auto b = this->recording("b");
   Routing::setPrefixData(node.get(), type, 8, b);
   node->blackIs(8, true);
   EXPECT_EQ(b.get(), Routing::getNodeData(type, node.get(), 8));
   EXPECT_EQ(nullptr, Routing::getNodeData(type, node.get(), 9));
   const auto container = Routing::prefixDataContainerFactory();
   Routing::setPrefixDataFromNode(node.get(), type, 16, container);
   EXPECT_EQ(a, container->prefixData());
   Routing::setPrefixDataFromNode(node.get(), type, 9, container);
   EXPECT_FALSE(container->prefixData());
   Routing::setPrefixDataFromNode(node.get(), type, 16, nullptr);
   EXPECT_EQ(b, Routing::delPrefixData(node.get(), type, 8, nullptr));
   Routing::delPrefixDataAll(node.get(), type, false);
   EXPECT_EQ(1u, node->dataArray().size());
   this->calls.clear();
   Routing::delPrefixDataAll(node.get(), type, true);
   EXPECT_EQ(0u, node->dataArray().size());
   EXPECT_EQ(Calls{}, this->calls) << "no hook is called";
}

TYPED_TEST(PatriciaTrieNodeWithDataTest, nodesAreCountedByTheirClass) {
   { const auto first = this->node("10.0.0.0/8", nullptr); }
   const auto before = TypeParam::memAllocationTracker_->liveObjects();
   const auto node = this->node("10.0.0.0/8", nullptr);
   EXPECT_EQ(before + 1, TypeParam::memAllocationTracker_->liveObjects());
   EXPECT_EQ(sizeof(TypeParam), TypeParam::memAllocationTracker_->objectSize());
}

// A container that is null is looked at before the node's class: plain nodes have no data.
TEST(SetPrefixDataFromNode, nullContainerOnAPlainNode) {
   PatriciaTrieV4Node plain(8, Corenet::Prefix::fromString("10.0.0.0/8"), true);
   Routing::setPrefixDataFromNode(&plain, nodeTypeIpv4(), 8, nullptr);
}

TEST(PatriciaTrieNodeWithDataDeathTest, arrayAndLengthsOutOfStep) {
   const auto a = Routing::prefixDataFactory();
   V4NodeWithData node(8, Corenet::Prefix::fromString("10.0.0.0/8"), true, a);
   node.blackIs(4, true);
   EXPECT_DEATH(static_cast<void>(node.data(8)), "index < size\\(\\)' failed");
   V4NodeWithData other(8, Corenet::Prefix::fromString("10.0.0.0/8"), true, a);
   EXPECT_DEATH(other.mergeData(&other), "first->lastBlack\\(\\) < second->firstBlack\\(\\)' failed");
}

TEST(PatriciaTrieNodeWithDataDeathTest, unknownType) {
   V4NodeWithData node(8, Corenet::Prefix::fromString("10.0.0.0/8"), true, nullptr);
   EXPECT_DEATH(Routing::getNodeData(static_cast<PatriciaTrieNodeType>(3), &node, 8),
                "false && \"Address family is neither IPv4 nor IPv6\"' failed");
}

//--- through a trie ---

template <class Kind>
class PatriciaTrieWithData : public testing_support::PatriciaFixture<Kind> {
  protected:
   void SetUp() override { this->trie->nodeDataEnabledIs(true); }
   Corvid::Ptr<Recording> recording(std::string name) { return Corvid::ptrIsImpl<Recording>(calls, std::move(name)); }
   DataPtr found(std::string_view text) {
      const auto answer = Routing::prefixDataContainerFactory();
      Kind::match(*this->trie, this->p(text), answer);
      return answer->prefixData();
   }
   std::vector<std::string> calls;
   ContainerPtr container = Routing::prefixDataContainerFactory();
};
TYPED_TEST_SUITE(PatriciaTrieWithData, testing_support::PatriciaKinds);

TYPED_TEST(PatriciaTrieWithData, dataStaysWithItsRouteThroughSplitAndMerge) {
   std::map<std::string, DataPtr> data;
   for (const auto* route :
        {"10.1.2.0/24", "10.0.0.0/8", "10.1.0.0/16", "10.1.3.0/24", "10.1.128.0/17", "11.0.0.0/8"}) {
      data[route] = this->recording(route);
      this->add(route, data[route]);
      ASSERT_EQ("", this->trie->audit());
      for (const auto& [text, payload] : data) {
         ASSERT_EQ(payload, this->found(text)) << text << " after " << route;
      }
   }
   while (!data.empty()) {
      const auto [text, payload] = *data.begin();
      data.erase(data.begin());
      ASSERT_TRUE(this->del(text, nullptr, this->container));
      ASSERT_EQ(payload, this->container->prefixData());
      ASSERT_EQ("", this->trie->audit());
      for (const auto& [other, otherPayload] : data) {
         ASSERT_EQ(otherPayload, this->found(other)) << other << " without " << text;
      }
   }
   EXPECT_EQ(0, this->trie->nodes());
}

TYPED_TEST(PatriciaTrieWithData, deleteThatKeepsTheRouteStillLowersTheCount) {
   const auto a = this->recording("a");
   const auto b = this->recording("b");
   this->add("10.0.0.0/8", a);
   EXPECT_TRUE(this->del("10.0.0.0/8", b, this->container));
   EXPECT_EQ(a, this->container->prefixData());
   EXPECT_EQ(b, this->found("10.0.0.0/8"));
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_TRUE(this->trie->empty());
   EXPECT_TRUE(this->del("10.0.0.0/8", nullptr, this->container));
   EXPECT_EQ(b, this->container->prefixData());
   EXPECT_EQ(~0u, this->trie->routes()) << "the count wraps";
   EXPECT_EQ(nullptr, this->trie->root());
}

TYPED_TEST(PatriciaTrieWithData, absentRouteLeavesTheContainerAlone) {
   const auto a = this->recording("a");
   this->add("10.0.0.0/8", a);
   this->container->prefixDataIs(a);
   EXPECT_FALSE(this->del("11.0.0.0/8", nullptr, this->container));
   EXPECT_FALSE(this->del("0.0.0.0/4", nullptr, this->container));
   EXPECT_EQ(a, this->container->prefixData());
}

// The default route's payload is the derived class's affair: here nothing changes.
TYPED_TEST(PatriciaTrieWithData, defaultRouteIsNotDeletedHere) {
   this->add("0.0.0.0/0", this->recording("a"));
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_EQ(Calls{}, this->calls);
   EXPECT_TRUE(this->del("0.0.0.0/0", nullptr, this->container));
   EXPECT_TRUE(this->trie->defaultRoutePresent());
   EXPECT_EQ(1u, this->trie->routes());
   EXPECT_FALSE(this->container->prefixData());
}

TYPED_TEST(PatriciaTrieWithData, presentRouteIsOfferedTheData) {
   this->add("10.0.0.0/8", this->recording("a"));
   this->add("10.0.0.0/8", this->recording("b"));
   EXPECT_EQ((Calls{"a onAddition", "b onAddition", "a insertData"}), this->calls);
   EXPECT_EQ(1u, this->trie->routes());
}

TYPED_TEST(PatriciaTrieWithData, teardownCallsNoHook) {
   const auto a = this->recording("a");
   for (const auto* route : {"10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"}) {
      this->add(route, a);
   }
   this->calls.clear();
   this->trie->handleDeletion();
   EXPECT_EQ(Calls{}, this->calls);
   EXPECT_EQ(1u, a->uses());
   this->add("10.0.0.0/8", a);
   this->trie = TypeParam::newTrie();
   EXPECT_EQ(1u, a->uses());
}

// What a hook raises passes through: the count is lower by then, and the bit still set.
TYPED_TEST(PatriciaTrieWithData, hookThatRaises) {
   class Raising : public Routing::PrefixData {
     public:
      void onDeletion() override { throw std::runtime_error("no"); }
      DataPtr insertData(const DataPtr&) override { throw std::runtime_error("no"); }
   };
   const DataPtr raising = Corvid::ptrIsImpl<Raising>();
   this->add("10.0.0.0/8", raising);
   EXPECT_THROW(this->add("10.0.0.0/8", Routing::prefixDataFactory()), std::runtime_error);
   EXPECT_EQ(raising, this->found("10.0.0.0/8"));
   EXPECT_THROW(this->del("10.0.0.0/8", nullptr, this->container), std::runtime_error);
   EXPECT_EQ(0u, this->trie->routes());
   EXPECT_EQ(raising, this->found("10.0.0.0/8"));
   EXPECT_EQ("", this->trie->audit());
}

}  // namespace PatriciaTrieNodeWithDataImplTest
