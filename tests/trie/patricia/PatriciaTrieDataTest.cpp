#include "routetrie/trie/patricia/PatriciaTrieData.h"

#include <gtest/gtest.h>

#include "routetrie/platform/Tesk/AllocTrack.h"

namespace PatriciaTrieDataTest {

using namespace Routing;

TEST(PrefixData, baseClassReplacesAndRemoves) {
   const auto data = prefixDataFactory();
   const auto other = PrefixData::PrefixDataIs();
   EXPECT_EQ(1u, data->uses());
   data->onAddition();
   data->onDeletion();
   EXPECT_EQ(other, data->insertData(other));
   EXPECT_EQ(other, data->removeData(other));
   EXPECT_FALSE(data->removeData(nullptr));
   EXPECT_EQ(1u, other->uses());
   EXPECT_EQ(nullptr, data->publisher());
}

TEST(PrefixDataContainer, holdsAReference) {
   const auto data = prefixDataFactory();
   auto container = prefixDataContainerFactory();
   EXPECT_FALSE(container->prefixData());
   container->prefixDataIs(data);
   EXPECT_EQ(data, container->prefixData());
   EXPECT_EQ(2u, data->uses());
   container = nullptr;
   EXPECT_EQ(1u, data->uses());
}

TEST(PrefixData, objectsAreCountedByTheirClass) {
   const auto first = prefixDataFactory();
   const auto before = PrefixData::memAllocationTracker_->liveObjects();
   {
      const auto second = prefixDataFactory();
      EXPECT_EQ(before + 1, PrefixData::memAllocationTracker_->liveObjects());
   }
   EXPECT_EQ(before, PrefixData::memAllocationTracker_->liveObjects());
}

}  // namespace PatriciaTrieDataTest
