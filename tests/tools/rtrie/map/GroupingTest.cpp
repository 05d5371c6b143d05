// Grouping: many values as a few groups of neighbours.
#include "tools/rtrie/map/Grouping.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace Rtrie {
namespace GroupingTest {

using Groups = std::vector<Group>;

TEST(Grouping, isOneAValueWhereThereIsRoom) {
   EXPECT_EQ((Groups{{1, 1, 2}, {3, 3, 5}}), groupsOf({0, 2, 0, 5, 0}, 2));
   EXPECT_EQ(Groups{}, groupsOf({}, 3));
   EXPECT_EQ(Groups{}, groupsOf({0, 0}, 3));
}

TEST(Grouping, putsTheLightestNeighboursTogether) {
   EXPECT_EQ((Groups{{0, 0, 9}, {1, 3, 3}, {4, 4, 8}}), groupsOf({9, 1, 0, 2, 8}, 3));
   EXPECT_EQ((Groups{{0, 1, 2}, {2, 2, 1}}), groupsOf({1, 1, 1}, 2));
   EXPECT_EQ((Groups{{0, 4, 20}}), groupsOf({9, 1, 0, 2, 8}, 1));
   EXPECT_EQ((Groups{{0, 4, 20}}), groupsOf({9, 1, 0, 2, 8}, 0));
}

TEST(GroupingProperty, allAreInOneGroupInOrder) {
   const unsigned seed = std::random_device{}();
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   for (int round = 0; round < 300; ++round) {
      std::vector<double> weights(random() % 40);
      double sum = 0;
      std::size_t values = 0;
      for (double& each : weights) {
         each = random() % 3 == 0 ? 0 : static_cast<double>(random() % 100 + 1);
         sum += each;
         values += each > 0 ? 1 : 0;
      }
      const std::size_t most = 1 + random() % 12;
      const auto groups = groupsOf(weights, most);
      ASSERT_EQ(std::min(most, values), groups.size());
      double all = 0;
      for (std::size_t i = 0; i < groups.size(); ++i) {
         ASSERT_LE(groups[i].first, groups[i].last);
         ASSERT_GT(weights[groups[i].first], 0);
         ASSERT_GT(weights[groups[i].last], 0);
         ASSERT_TRUE(i == 0 || groups[i - 1].last < groups[i].first);
         double own = 0;
         for (std::size_t value = groups[i].first; value <= groups[i].last; ++value) {
            own += weights[value];
         }
         ASSERT_EQ(own, groups[i].weight);
         all += own;
      }
      ASSERT_EQ(sum, all);
   }
}

}  // namespace GroupingTest
}  // namespace Rtrie
