// RouteSet: both families with their payloads.
#include "tools/tables/RouteSet.h"

#include <cstdint>

#include "Support.h"

namespace Rtrie {
namespace RouteSetTest {

using Support::prefix;
using testing::ElementsAre;

TEST(RouteSet, keepsFamiliesApartAndSorted) {
   RouteSet routes;
   routes.add(prefix("2001:db8::/32"), "docs");
   routes.add(prefix("10.0.0.0/16"), "");
   routes.add(prefix("10.0.0.0/8"), "private");
   routes.add(prefix("::/0"), "all");
   EXPECT_THAT(Support::textOf(routes),
               ElementsAre("10.0.0.0/8 private", "10.0.0.0/16 ", "::/0 all", "2001:db8::/32 docs"));
   EXPECT_EQ(2U, routes.size(Corenet::ipv4));
   EXPECT_EQ(2U, routes.size(Corenet::ipv6));
   EXPECT_EQ(4U, routes.size());
}

TEST(RouteSet, theLastPayloadOfAPrefixCounts) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "old");
   routes.add(prefix("11.0.0.0/8"), "other");
   routes.add(prefix("10.0.0.0/8"), "new");
   EXPECT_THAT(Support::textOf(routes), ElementsAre("10.0.0.0/8 new", "11.0.0.0/8 other"));
}

OfferText byPeer(std::string_view peer, std::string_view path, std::uint64_t rank) {
   OfferText offer;
   offer.payload = path;
   offer.source = peer;
   offer.choice = Choice::asPath;
   offer.rank = rank;
   return offer;
}

TEST(RouteSet, aSourceWithdrawsWhatItOffers) {
   RouteSet routes;
   routes.withdraw(prefix("12.0.0.0/8"), "a");
   routes.add(prefix("10.0.0.0/8"), byPeer("a", "1 2", 2));
   routes.add(prefix("10.0.0.0/8"), byPeer("b", "1 2 3", 3));
   routes.withdraw(prefix("10.0.0.0/8"), "a");
   routes.add(prefix("2001:db8::/32"), byPeer("a", "1", 1));
   routes.withdraw(prefix("2001:db8::/32"), "b");
   routes.add(prefix("2001:db9::/32"), byPeer("a", "1", 1));
   routes.withdraw(prefix("2001:db9::/32"), "a");
   EXPECT_THAT(Support::textOf(routes), ElementsAre("10.0.0.0/8 1 2 3", "2001:db8::/32 1"));
   EXPECT_EQ(0U, routes.lost().count());
}

TEST(RouteSet, candidatesBestFirst) {
   RouteSet routes;
   routes.candidatesAreKept();
   auto bound = byPeer("c", "for some", 0);
   bound.answers = false;
   routes.add(prefix("10.0.0.0/8"), bound);
   routes.add(prefix("10.0.0.0/8"), byPeer("a", "1 2 3", 3));
   routes.add(prefix("10.0.0.0/8"), byPeer("b", "4 5", 2));
   routes.add(prefix("11.0.0.0/8"), "alone");
   routes.add(prefix("12.0.0.0/8"), bound);
   routes.seal();
   EXPECT_EQ("4 5", routes.payload(prefix("10.0.0.0/8")));
   const auto candidates = routes.candidates(prefix("10.0.0.0/8"));
   ASSERT_EQ(3U, candidates.size());
   EXPECT_EQ("4 5", candidates[0].payload);
   EXPECT_EQ("b", candidates[0].source);
   EXPECT_TRUE(candidates[0].chosen);
   EXPECT_EQ("1 2 3", candidates[1].payload);
   EXPECT_FALSE(candidates[1].chosen);
   EXPECT_EQ("for some", candidates[2].payload);
   EXPECT_FALSE(candidates[2].answers);
   EXPECT_EQ(1U, routes.candidates(prefix("11.0.0.0/8")).size());
   EXPECT_EQ(1U, routes.candidates(prefix("12.0.0.0/8")).size());
   EXPECT_EQ(std::nullopt, routes.payload(prefix("12.0.0.0/8")));
   EXPECT_TRUE(routes.candidates(prefix("13.0.0.0/8")).empty());
   EXPECT_EQ(1U, routes.lost().count());
   EXPECT_EQ(2U, routes.bound());
}

TEST(RouteSet, withoutBeingAskedForThemCandidatesAreCountedAndLetGo) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), byPeer("a", "1 2 3", 3));
   routes.add(prefix("10.0.0.0/8"), byPeer("b", "4 5", 2));
   routes.seal();
   EXPECT_EQ(1U, routes.candidates(prefix("10.0.0.0/8")).size());
   EXPECT_EQ(1U, routes.lost().count());
}

TEST(RouteSet, payloadOfWhatIsThere) {
   RouteSet routes;
   routes.add(prefix("10.0.0.0/8"), "a");
   routes.seal();
   EXPECT_EQ("a", routes.payload(prefix("10.0.0.0/8")));
   EXPECT_EQ(std::nullopt, routes.payload(prefix("10.0.0.0/9")));
   EXPECT_EQ(std::nullopt, routes.payload(prefix("a00::/8")));  // the same bits in the other family
}

TEST(RouteSet, countsByLength) {
   RouteSet routes;
   routes.addRange(U32{0x0a000001}, U32{0x0a000006}, "r");
   routes.add(prefix("::/0"), "");
   routes.add(prefix("2001:db8::1/128"), "");
   routes.seal();
   const auto ipv4 = routes.countByLength(Corenet::ipv4);
   ASSERT_EQ(33U, ipv4.size());
   EXPECT_EQ(2U, ipv4[32]);
   EXPECT_EQ(2U, ipv4[31]);
   EXPECT_EQ(0U, ipv4[30]);
   const auto ipv6 = routes.countByLength(Corenet::ipv6);
   ASSERT_EQ(129U, ipv6.size());
   EXPECT_EQ(1U, ipv6[0]);
   EXPECT_EQ(1U, ipv6[128]);
}

// Whether the set was sealed in between or not.
TEST(RouteSet, aSourceThatIsLostTakesItsOffers) {
   const auto by = [](std::string_view payload, std::string_view source) {
      OfferText offer;
      offer.payload = payload;
      offer.source = source;
      offer.choice = Choice::asPath;
      return offer;
   };
   for (const bool isSealed : {false, true}) {
      RouteSet routes;
      routes.candidatesAreKept();
      routes.add(Support::prefix("10.0.0.0/8"), by("a", "192.0.2.1 7"));
      routes.add(Support::prefix("10.0.0.0/8"), by("b", "192.0.2.1 70"));
      routes.add(Support::prefix("11.0.0.0/8"), by("c", "192.0.2.1 7 3"));
      routes.add(Support::prefix("12.0.0.0/8"), "of a list");
      if (isSealed) {
         routes.seal();
      }
      routes.loseSource("192.0.2.1 7");
      routes.add(Support::prefix("13.0.0.0/8"), by("d", "192.0.2.1 7"));
      EXPECT_THAT(Support::textOf(routes),
                  testing::ElementsAre("10.0.0.0/8 b", "12.0.0.0/8 of a list", "13.0.0.0/8 d"));
      EXPECT_EQ(1U, routes.candidates(Support::prefix("10.0.0.0/8")).size());
      EXPECT_EQ("192.0.2.1 7", routes.candidates(Support::prefix("13.0.0.0/8")).front().source);
   }
}

}  // namespace RouteSetTest
}  // namespace Rtrie
