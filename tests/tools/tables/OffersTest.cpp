// Offers: an id for each different offer, and none of its own for a payload alone.
#include "tools/tables/Offers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace Rtrie {
namespace OffersTest {

TEST(Offers, aPayloadAloneIsItsOwnId) {
   Offers offers;
   Offer plain;
   plain.payload = 7;
   EXPECT_EQ(7U, offers.idOf(plain));
   EXPECT_EQ(plain, offers.of(7));
   EXPECT_EQ(7U, offers.payloadOf(7));
   EXPECT_TRUE(offers.answers(7));
}

TEST(Offers, eachDifferentOneOnce) {
   Offers offers;
   std::vector<U32> ids;
   for (int round = 0; round < 2; ++round) {
      for (U32 i = 0; i < 1000; ++i) {
         Offer offer;
         offer.payload = i % 10;
         offer.source = i / 10 % 10;
         offer.rank = i / 100;
         offer.choice = Choice::metric;
         offer.answers = i % 2 == 0;
         const U32 id = offers.idOf(offer);
         ASSERT_EQ(offer, offers.of(id));
         ASSERT_EQ(i % 10, offers.payloadOf(id));
         ASSERT_EQ(i % 2 == 0, offers.answers(id));
         if (round == 0) {
            ids.push_back(id);
         } else {
            ASSERT_EQ(ids[i], id);
         }
      }
   }
   std::sort(ids.begin(), ids.end());
   EXPECT_EQ(ids.end(), std::unique(ids.begin(), ids.end()));
}

TEST(Offers, aWithdrawalDoesNotAnswer) {
   Offers offers;
   Offer gone;
   gone.source = 1;
   gone.isWithdrawal = true;
   EXPECT_FALSE(offers.answers(offers.idOf(gone)));
}

TEST(Offers, ranksByMetric) {
   EXPECT_LT(metricRank(0), metricRank(1));
   EXPECT_LT(metricRank(1024, 2), metricRank(1024, 1));
   EXPECT_LT(metricRank(0xffffffff, 0, 0), metricRank(0, 2, 1));
   EXPECT_EQ(0xffffffffU, metricOfRank(metricRank(0xffffffff, 1, 3)));
}

}  // namespace OffersTest
}  // namespace Rtrie
