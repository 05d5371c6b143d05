#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"

#include <gmock/gmock.h>

#include <vector>

#include "tests/trie/multibit/TrieSupport.h"

namespace TrieWalkCallbackTestTest {

using namespace testing_support;

using Recorder = TrieFixture;

TEST_F(Recorder, isEmptyAtFirst) {
   const auto recorder = Routing::trieWalkCallbackTestFactory();
   EXPECT_EQ(1u, recorder->uses());
   EXPECT_EQ(0u, recorder->walkedPrefix().members());
   // Not the null prefix.
   EXPECT_EQ(Corenet::Prefix(), recorder->walkedPrefixFront());
   EXPECT_EQ(Corenet::Prefix(), recorder->walkedPrefixBack());
   EXPECT_EQ(Corenet::Prefix(), recorder->walkedPrefixDeq());
   EXPECT_EQ(0u, recorder->walkedPrefix().members());
   recorder->walkedPrefixDelAll();
}

TEST_F(Recorder, keepsAWalkInOrder) {
   add({"11.0.0.0/8", "10.0.0.0/7", "10.1.1.1/32"});
   const auto recorder = Routing::TrieWalkCallbackTest::TrieWalkCallbackTestIs();
   trie->preOrderWalk(Corenet::Prefix(), recorder);
   EXPECT_EQ(3u, recorder->walkedPrefix().members());
   EXPECT_EQ(p("10.0.0.0/7"), recorder->walkedPrefixFront());
   EXPECT_EQ(p("11.0.0.0/8"), recorder->walkedPrefixBack());
   EXPECT_EQ(p("10.0.0.0/7"), recorder->walkedPrefixDeq());
   EXPECT_EQ(p("10.1.1.1/32"), recorder->walkedPrefixFront());
   trie->preOrderWalk(p("11.0.0.0/8"), recorder);  // seen twice, kept twice
   std::vector<Corenet::Prefix> rest;
   const auto& queue = recorder->walkedPrefix();
   for (U32 position = queue.frontPosition(); queue.contains(position); ++position) {
      rest.push_back(queue.at(position));
   }
   EXPECT_THAT(rest, testing::ElementsAre(p("10.1.1.1/32"), p("11.0.0.0/8"), p("11.0.0.0/8")));
   recorder->walkedPrefixDelAll();
   EXPECT_EQ(Corenet::Prefix(), recorder->walkedPrefixFront());
}

TEST_F(Recorder, takesWhateverItIsTold) {
   const auto recorder = Routing::trieWalkCallbackTestFactory();
   recorder->walkedPrefixEnq(nullPrefix);
   EXPECT_EQ(1, recorder->handlePrefix(p("10.0.0.0/8")));
   EXPECT_EQ(nullPrefix, recorder->walkedPrefixDeq());
   EXPECT_EQ(p("10.0.0.0/8"), recorder->walkedPrefixBack());
}

}  // namespace TrieWalkCallbackTestTest
