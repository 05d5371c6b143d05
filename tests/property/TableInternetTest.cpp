// A whole Internet table in a family_table: loaded in random order, asked about what lies in, just inside and just outside its
// routes, walked, changed, and emptied in another order. The audit, which recounts everything, is held at a few of the steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/property/InternetTable.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"

namespace Property {
namespace TableInternetTest {

using routetrie::table4;
using routetrie::table6;

template <class Table>
class TableInternetTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using Session = TableSession<Table>;

   TableInternetTest() : random(seed()) {
      // The whole table at full size; otherwise as much of it as is done in no time.
      PrefixList all = isFull() ? internetTable(ROUTETRIE_INTERNET_TABLE, P::family)
                                : syntheticTable(P::family, sized<U32>(200, 30, 1), random());
      std::shuffle(all.begin(), all.end(), random);
      for (const auto& p : all) {
         if constexpr (P::width == 32) {
            routes.push_back(p.v4Prefix());
         } else {
            routes.push_back(p.v6Prefix());
         }
      }
      std::vector<P> known = routes;
      std::sort(known.begin(), known.end());
      EXPECT_EQ(known.end(), std::adjacent_find(known.begin(), known.end())) << "a route stands there twice";
   }

   // A route, or what is near one.
   P question() {
      const P p = routes[random() % routes.size()];
      const unsigned length = p.len();
      using Word = typename P::Bits::Word;
      auto noise = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         noise = Word{random()} << 64 | noise;
      }
      const auto inside = static_cast<Word>(p.bits().word() | (noise & ~P::Bits::mask(length)));
      switch (random() % 6) {
         case 0: return p;
         case 1: return P::cut(p.bits(), static_cast<U32>(random() % (length + 1)));
         case 2: return P::cut(typename P::Bits(inside), std::min<U32>(P::width, length + 1u));
         case 3: {
            const auto last = length == 0 ? Word{0} : static_cast<Word>(Word{1} << (P::width - length));
            return P::cut(typename P::Bits(p.bits().word() ^ last), length);
         }
         case 4: return P::cut(typename P::Bits(noise), length);
         default: return P::cut(typename P::Bits(inside), P::width);
      }
   }
   void ask(Session& session, std::size_t count) {
      for (std::size_t i = 0; i < count; ++i) {
         ASSERT_EQ("", session.faultAt(question(), 300)) << "with " << session.oracle.size() << " routes";
      }
   }

   std::mt19937_64 random;
   std::vector<P> routes;
};
struct FamilyName {
   template <class Table>
   static std::string GetName(int) {
      return Table::prefix_type::width == 32 ? "Ipv4" : "Ipv6";
   }
};
using Tables = testing::Types<table4<std::uint32_t>, table6<std::uint32_t>>;
TYPED_TEST_SUITE(TableInternetTest, Tables, FamilyName);

TYPED_TEST(TableInternetTest, wholeTable) {
   auto& list = this->routes;
   const auto questions = sized<std::size_t>(200, 1500, 100'000);
   typename TestFixture::Session session;
   std::uint32_t number = 0;
   for (const std::size_t stop : {list.size() / 50, list.size() / 3, list.size()}) {
      for (; number < stop; ++number) {
         session.add(list[number], number);
      }
      ASSERT_EQ("", session.wholeFault());
      ASSERT_NO_FATAL_FAILURE(this->ask(session, questions));
   }
   // The default route comes over all of it, and goes.
   const typename TestFixture::P everything;
   session.assign(everything, 77);
   ASSERT_EQ("", session.table.audit());
   ASSERT_NO_FATAL_FAILURE(this->ask(session, questions / 4));
   session.remove(everything);
   ASSERT_NO_FATAL_FAILURE(this->ask(session, questions / 4));

   const TypeParam copy(session.table);
   EXPECT_TRUE(copy == session.table);

   std::shuffle(list.begin(), list.end(), this->random);
   std::size_t removed = 0;
   for (const std::size_t stop : {list.size() / 2, list.size() - list.size() / 50, list.size()}) {
      for (; removed < stop; ++removed) {
         session.remove(list[removed]);
      }
      ASSERT_EQ("", session.wholeFault());
      ASSERT_NO_FATAL_FAILURE(this->ask(session, questions / 2));
   }
   EXPECT_TRUE(session.table.empty());
   // The copy shares nothing with it.
   EXPECT_EQ(list.size(), copy.size());
   EXPECT_EQ("", copy.audit());
}

// Withdrawn and announced, over and over, at one size: places are used again.
TYPED_TEST(TableInternetTest, churn) {
   auto& list = this->routes;
   typename TestFixture::Session session;
   for (const auto& p : list) {
      session.add(p, 1);
   }
   const std::size_t before = session.table.memory().total();
   for (int round = 0; round < 3; ++round) {
      for (std::size_t i = 0; i < list.size() / 2; ++i) {
         const auto& p = list[this->random() % list.size()];
         session.remove(p);
         session.assign(p, static_cast<std::uint32_t>(i));
      }
      ASSERT_EQ("", session.wholeFault());
      ASSERT_NO_FATAL_FAILURE(this->ask(session, sized<std::size_t>(50, 300, 10'000)));
   }
   EXPECT_LE(session.table.memory().total(), before + before / 2) << "churn at one size must not grow the table";
}

}  // namespace TableInternetTest
}  // namespace Property
