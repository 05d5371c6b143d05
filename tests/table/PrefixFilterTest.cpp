#include "routetrie/table/PrefixFilter.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/table/Kinds.h"

namespace routetrie::Impl::prefix_filter_test {
namespace PrefixFilterTest {

template <class P>
P anyPrefix(std::mt19937_64& random) {
   using Word = typename P::Bits::Word;
   auto word = static_cast<Word>(random());
   if constexpr (P::width == 128) {
      word = word << 64 | static_cast<Word>(random());
   }
   return P::cut(typename P::Bits(word), static_cast<unsigned>(random() % (P::width + 1)));
}

// "No" is never said of what is there, and of little else "maybe".
template <class P>
void isNeverWrong() {
   std::mt19937_64 random(20260101);
   for (const std::size_t count : {1u, 10u, 1000u, 20'000u}) {
      PrefixFilter under;
      PrefixFilter over;
      EXPECT_FALSE(under.mayHaveLastStep(P()) || over.mayHaveAnyStep(P())) << "nothing is in";
      EXPECT_TRUE(under.isFull());
      under.reset(count * 22);
      over.reset(count);
      TableOfPrefix<P, void> all;
      while (all.size() < count) {
         const P p = anyPrefix<P>(random);
         all.insert(p);
         under.addAllSteps(p);
         over.addLastStep(p);
      }
      EXPECT_FALSE(under.isFull());
      for (const P& p : all) {
         ASSERT_TRUE(over.mayHaveLastStep(p));
         const auto cut = P::cut(p.bits(), static_cast<unsigned>(random() % (p.len() + 1u)));
         ASSERT_TRUE(under.mayHaveLastStep(cut)) << p << " lies under " << cut;
         const auto longer = static_cast<unsigned>(p.len() + random() % (P::width - p.len() + 1u));
         ASSERT_TRUE(over.mayHaveAnyStep(P::cut(last_address(p).bits(), longer))) << p;
      }
      std::size_t maybe = 0;
      for (int i = 0; i < 10'000; ++i) {
         const P p = P::cut(anyPrefix<P>(random).bits(), 24);
         maybe += under.mayHaveLastStep(p) && !all.contains(p) && !all.has_longer(p) ? 1u : 0u;
      }
      EXPECT_LT(maybe, 600u);
   }
}

TEST(PrefixFilter, ipv4) { isNeverWrong<prefix4>(); }
TEST(PrefixFilter, ipv6) { isNeverWrong<prefix6>(); }

// Of those that lie apart each takes all of its steps. Who adds one after the other must not have to fill it anew with each.
template <class P>
void refillsHaveRoom() {
   std::mt19937_64 random(20260102);
   std::vector<P> all;
   PrefixFilter filter;
   std::size_t refills = 0;
   while (all.size() < 20'000) {
      if (filter.isFull()) {
         ++refills;
         filter.refill(std::max<std::size_t>(32, all.size()), [&] {
            for (const P& p : all) {
               filter.addAllSteps(p);
            }
         });
         ASSERT_FALSE(filter.isFull());
      }
      all.push_back(host_prefix(typename P::AddressType(anyPrefix<P>(random).bits())));
      filter.addAllSteps(all.back());
   }
   EXPECT_LE(refills, 15u) << "as many as it doubles";
   for (const P& p : all) {
      ASSERT_TRUE(filter.mayHaveLastStep(p));
   }
}
TEST(PrefixFilter, ipv4RefillsHaveRoom) { refillsHaveRoom<prefix4>(); }
TEST(PrefixFilter, ipv6RefillsHaveRoom) { refillsHaveRoom<prefix6>(); }

TEST(PrefixFilter, ofBothFamilies) {
   PrefixFilter filter;
   filter.reset(100);
   filter.addAllSteps(prefix("10.0.0.0/8"_prefix));
   filter.addAllSteps(prefix("2001:db8::/32"_prefix));
   EXPECT_TRUE(filter.mayHaveLastStep(prefix("10.0.0.0/8"_prefix)) && filter.mayHaveLastStep(prefix("::/0"_prefix)));
   EXPECT_TRUE(filter.mayHaveLastStep(prefix("2001:db8::/32"_prefix)));
   EXPECT_FALSE(filter.mayHaveLastStep(prefix("a00::/8"_prefix)));
   EXPECT_EQ(32 * 8u, filter.bytes());
}

}  // namespace PrefixFilterTest
}  // namespace routetrie::Impl::prefix_filter_test
