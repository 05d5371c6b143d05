// RouteList: against all that it was told, taken one after the other.
#include "tools/tables/RouteList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace Rtrie {
namespace RouteListTest {

// All that was told of each prefix, in the order of the lines.
using History = std::map<std::pair<U32, unsigned>, std::vector<U32>>;

template <class Number>
Number widened(U32 address) {
   return static_cast<Number>(Number{address} << (widthBits<Number> - 32));
}

// What stands of a prefix, best first, by the rules as they are told and one line after the other.
std::vector<U32> standing(const std::vector<U32>& told, const Offers& offers) {
   std::vector<U32> standing;
   for (const U32 id : told) {
      const Offer offer = offers.of(id);
      if (offer.isWithdrawal || offer.replaces) {
         std::erase_if(standing, [&](U32 earlier) { return offers.of(earlier).source == offer.source; });
      }
      if (!offer.isWithdrawal) {
         standing.push_back(id);
      }
   }
   std::vector<U32> best;
   const auto take = [&](bool answers, Choice choice) {
      std::vector<U32> some;
      std::copy_if(standing.begin(), standing.end(), std::back_inserter(some),
                   [&](U32 id) { return offers.of(id).answers == answers && offers.of(id).choice == choice; });
      if (choice == Choice::lastLine) {
         std::reverse(some.begin(), some.end());
      }
      std::stable_sort(some.begin(), some.end(), [&](U32 a, U32 b) { return offers.of(a).rank < offers.of(b).rank; });
      best.insert(best.end(), some.begin(), some.end());
   };
   for (const bool answers : {true, false}) {
      for (const auto choice : {Choice::lastLine, Choice::metric, Choice::asPath}) {
         take(answers, choice);
      }
   }
   return best;
}

// Offers of a source that a later one took the place of.
std::uint64_t replacedIn(const std::vector<U32>& told, const Offers& offers) {
   std::map<U32, std::uint64_t> standing;  // by source
   std::uint64_t replaced = 0;
   for (const U32 id : told) {
      const Offer offer = offers.of(id);
      if (offer.replaces && !offer.isWithdrawal) {
         replaced += standing[offer.source];
      }
      if (offer.replaces || offer.isWithdrawal) {
         standing[offer.source] = 0;
      }
      standing[offer.source] += static_cast<std::uint64_t>(offer.source != 0 && !offer.isWithdrawal);
   }
   return replaced;
}

template <class Number>
void equals(const RouteList<Number>& list, const History& history, const Offers& offers) {
   std::size_t count = 0;
   std::uint64_t lost = 0;
   std::uint64_t bound = 0;
   std::uint64_t replaced = 0;
   for (const auto& [prefix, told] : history) {
      replaced += replacedIn(told, offers);
      auto expected = standing(told, offers);
      const auto address = widened<Number>(prefix.first);
      const auto length = static_cast<U8>(prefix.second);
      const auto best = list.offerOf(address, length);
      const bool answers = !expected.empty() && offers.answers(expected.front());
      ASSERT_EQ(answers, best.has_value());
      if (answers) {
         ASSERT_EQ(expected.front(), *best);
         expected.erase(expected.begin());
         ASSERT_EQ(prefix, (std::pair<U32, unsigned>(
                              static_cast<U32>(list.routes()[count].address.number() >> (widthBits<Number> - 32)),
                              list.routes()[count].lengthBits)));
         ++count;
      }
      ASSERT_EQ(expected, list.othersOf(address, length));
      for (const U32 id : expected) {
         ++(offers.answers(id) ? lost : bound);
      }
   }
   ASSERT_EQ(count, list.routes().size());
   ASSERT_EQ(lost, list.lost().count());
   ASSERT_EQ(replaced, list.lost().replaced);
   ASSERT_EQ(0U, list.lost().alike);
   ASSERT_EQ(bound, list.bound());
}

template <class Number>
void randomHistory(unsigned seed, unsigned addresses, unsigned steps) {
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   Offers offers;
   RouteList<Number> list(offers);
   list.othersAreKept();
   History history;
   for (unsigned i = 0; i < steps; ++i) {
      const U32 address = static_cast<U32>(random() % addresses) << 28;
      const U8 length = static_cast<U8>(4 + random() % 3);
      Offer offer;
      offer.payload = i;
      if (random() % 4 != 0) {
         offer.choice = static_cast<Choice>(1 + random() % 2);
         offer.source = static_cast<U32>(1 + random() % 3);
         offer.rank = random() % 3;
         offer.answers = random() % 6 != 0;
         offer.replaces = random() % 3 == 0;
         offer.isWithdrawal = random() % 5 == 0;
      }
      const U32 id = offers.idOf(offer);
      list.add(widened<Number>(address), length, id);
      history[{address, length}].push_back(id);
      if (random() % 16 == 0) {
         list.seal();
         equals(list, history, offers);
      }
   }
   list.seal();
   equals(list, history, offers);
}

TEST(RouteList, answersWithTheBestThatStands) {
   for (unsigned seed = 0; seed < 50; ++seed) {
      randomHistory<U32>(seed, 16, 300);
      randomHistory<Corenet::U128>(seed, 16, 300);
   }
}

TEST(RouteList, whatIsSaidAgainIsCountedByKind) {
   for (const bool isKept : {false, true}) {
      Offers offers;
      RouteList<U32> list(offers);
      if (isKept) {
         list.othersAreKept();
      }
      const auto peers = [&](U32 payload, std::uint64_t rank) {
         Offer offer;
         offer.payload = payload;
         offer.source = 9;
         offer.rank = rank;
         offer.choice = Choice::asPath;
         return offers.idOf(offer);
      };
      Offer kernels;
      kernels.payload = 5;
      kernels.choice = Choice::metric;
      for (const U32 id : {1U, 2U, 1U, 1U, peers(1, 1), peers(1, 1), offers.idOf(kernels)}) {
         list.add(0x0a000000, 8, id);
      }
      list.add(0x0b000000, 8, peers(1, 1));
      list.add(0x0b000000, 8, peers(1, 1));
      list.add(0x0b000000, 8, peers(2, 2));
      list.seal();
      LostOffers expected;
      expected.byChoice = {3, 1, 4};
      expected.alike = 3;  // two of the list, and one of the other prefix
      EXPECT_EQ(expected, list.lost()) << isKept;
      list.dropOthers();
      EXPECT_EQ(expected, list.lost()) << isKept;
   }
}

TEST(RouteList, whatCanNotComeBackIsCountedAndNotKept) {
   Offers offers;
   RouteList<U32> list(offers);
   list.add(0x0a000000, 8, 1);
   list.add(0x0a000000, 8, 2);
   list.seal();
   EXPECT_EQ(1U, list.lost().count());
   EXPECT_TRUE(list.othersOf(0x0a000000, 8).empty());
   Offer offer;
   offer.payload = 3;
   offer.source = 9;
   offer.choice = Choice::asPath;
   list.add(0x0a000000, 8, offers.idOf(offer));
   list.seal();
   EXPECT_EQ(1U, list.othersOf(0x0a000000, 8).size());
   list.dropOthers();
   EXPECT_EQ(2U, list.lost().count());
   EXPECT_TRUE(list.othersOf(0x0a000000, 8).empty());
   EXPECT_EQ(2U, list.offerOf(0x0a000000, 8));
}

TEST(RouteList, sealsItselfWhileOnePrefixIsToldOverAndOver) {
   Offers offers;
   RouteList<U32> list(offers);
   constexpr U32 times = 1'100'000;  // past the number of entries at which the list seals itself
   for (U32 i = 0; i < times; ++i) {
      list.add(0x0a000000, 8, i);
   }
   list.seal();
   ASSERT_EQ(1U, list.routes().size());
   EXPECT_EQ(times - 1, list.offerOf(0x0a000000, 8));
   EXPECT_EQ(times - 1, list.lost().count());
   EXPECT_LT(list.capacity(), times);
}

TEST(RouteList, anEmptyListHasNothing) {
   const Offers offers;
   RouteList<Corenet::U128> list(offers);
   EXPECT_EQ(std::nullopt, list.offerOf(0, 0));
   list.seal();
   EXPECT_EQ(std::nullopt, list.offerOf(0, 0));
   EXPECT_TRUE(list.routes().empty());
}

}  // namespace RouteListTest
}  // namespace Rtrie
