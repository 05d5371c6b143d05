// A whole Internet table on each engine: loaded in random order, asked about what lies in, just inside and just outside
// its routes, and deleted in another order. Every tree on the way is compared node by node with the slow model.
#include "tests/property/InternetTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "tests/property/LengthTable.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/PatriciaEngine.h"
#include "tests/property/Scale.h"

namespace Property {
namespace InternetTableTest {

// Questions about the table: addresses in random routes, routes themselves, what is a bit longer or shorter, and what
// differs in one bit.
class Questions {
  public:
   Questions(const PrefixList& routes, std::uint64_t seed) : routes_(routes), random_(seed) {}

   IpGenPrefix next() {
      const IpGenPrefix p = routes_[random_() % routes_.size()];
      const U32 width = widthOf(p.af());
      switch (random_() % 8) {
         case 0: return p;
         case 1: return cut(p, below(p.len() + 1U));
         case 2: return extended(p, std::min(width, p.len() + 1U));
         case 3: return p.len() == 0 ? p : extended(flipped(p, p.len() - 1U), width);
         case 4: return p.len() == 0 ? p : flipped(p, below(p.len()));
         default: return extended(p, width);
      }
   }

  private:
   U32 below(U32 limit) { return static_cast<U32>(random_() % limit); }
   IpGenPrefix extended(const IpGenPrefix& p, U32 length) {
      IpGenPrefix longer = cut(p, length);
      for (U32 n = p.len(); n < length; ++n) {
         if (below(2) != 0) {
            longer = flipped(longer, n);
         }
      }
      return longer;
   }

   const PrefixList& routes_;
   std::mt19937_64 random_;
};

// What `faultAt` compares with, from the fast oracle; `SlowTable` has the same form.
Answers answersOf(const LengthTable& table, const IpGenPrefix& p) {
   Answers answers(SlowTable(), p);
   answers.exact = table.exact(p);
   answers.longestMatch = table.longestMatch(p);
   answers.parent = table.parent(p);
   answers.longer = table.longer(p);
   return answers;
}

bool operator==(const Answers& a, const Answers& b) {
   return a.exact == b.exact && a.longestMatch == b.longestMatch && a.parent == b.parent && a.longer == b.longer;
}

template <class E>
class InternetTableTest : public testing::Test {
  protected:
   // The first difference between the engine and the oracle over `count` questions.
   static std::string ask(const E& engine, const PrefixList& routes, std::size_t count, std::uint64_t seed) {
      const LengthTable table(routes);
      Questions questions(routes, seed);
      for (std::size_t i = 0; i < count; ++i) {
         const IpGenPrefix p = questions.next();
         const std::string fault = faultAt(engine, p, answersOf(table, p));
         if (!fault.empty()) {
            return fault;
         }
      }
      return "";
   }

   static void loadAskAndDelete(PrefixList routes, std::uint64_t seed) {
      std::mt19937_64 random(seed);
      const LiveCounts before;
      {
         E engine;
         std::shuffle(routes.begin(), routes.end(), random);
         for (const auto& p : routes) {
            engine.add(p);
         }
         ASSERT_EQ(routes.size(), engine.routes());
         ASSERT_EQ("", engine.audit());
         ASSERT_EQ("", ask(engine, routes, sized<std::size_t>(20'000, 30'000, 200'000), seed + 1));

         std::shuffle(routes.begin(), routes.end(), random);
         std::size_t deleted = 0;
         for (const auto& stop : {routes.size() / 2, routes.size() - routes.size() / 50}) {
            for (; deleted < stop; ++deleted) {
               ASSERT_TRUE(engine.remove(routes[deleted])) << routes[deleted];
            }
            const PrefixList rest(routes.begin() + static_cast<std::ptrdiff_t>(deleted), routes.end());
            ASSERT_EQ(rest.size(), engine.routes());
            ASSERT_EQ("", engine.audit());
            ASSERT_EQ("", ask(engine, rest, sized<std::size_t>(5'000, 8'000, 20'000), seed + deleted));
         }
         for (; deleted < routes.size(); ++deleted) {
            ASSERT_TRUE(engine.remove(routes[deleted])) << routes[deleted];
         }
         EXPECT_EQ(0U, engine.routes());
         EXPECT_EQ(0, engine.trie().nodes());
         EXPECT_EQ("", engine.audit());
      }
      EXPECT_EQ("", before.changes());
   }
};

using Engines = PatriciaEngines<testing::Types>;
TYPED_TEST_SUITE(InternetTableTest, Engines, EngineName);

TYPED_TEST(InternetTableTest, wholeTable) {
   PrefixList routes = internetTable(ROUTETRIE_INTERNET_TABLE, TypeParam::family);
   ASSERT_GT(routes.size(), 100'000U);
   const std::uint64_t number = seed();
   if (!isFull()) {
      std::mt19937_64 random(number);
      std::shuffle(routes.begin(), routes.end(), random);
      routes.resize(std::min<std::size_t>(routes.size(), isSanitized ? 30'000 : 40'000));
   }
   this->loadAskAndDelete(std::move(routes), number);
}

TYPED_TEST(InternetTableTest, madeUpTable) {
   const std::uint64_t number = seed();
   this->loadAskAndDelete(syntheticTable(TypeParam::family, isFull() ? 10 : 25, number), number);
}

TEST(SyntheticTable, hasTheNumbersOfEachLengthAndNoRouteTwice) {
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6()}) {
      const PrefixList routes = syntheticTable(family, 100, 1);
      std::array<U32, 129> found{};
      for (const auto& p : routes) {
         ++found[p.len()];
      }
      EXPECT_EQ(routes.size(), std::unordered_set<IpGenPrefix>(routes.begin(), routes.end()).size());
      EXPECT_EQ(family == Corenet::ipv4 ? 5376U : 754U, found[family == Corenet::ipv4 ? 24 : 48]);
      EXPECT_EQ(1U, found[family == Corenet::ipv4 ? 8 : 128]);
      EXPECT_EQ(0U, found[7]);
   }
   EXPECT_EQ(syntheticTable(Corenet::ipv6, 500, 9), syntheticTable(Corenet::ipv6, 500, 9));
}

TEST(LengthTable, agreesWithTheSlowTable) {
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6()}) {
      PrefixList routes = syntheticTable(family, 200, 3);
      routes.push_back(prefixOf(family, {}, 0));
      const LengthTable table(routes);
      SlowTable slow;
      for (const auto& p : routes) {
         slow.add(p);
      }
      Questions questions(routes, 4);
      for (int i = 0; i < 500; ++i) {
         const IpGenPrefix p = questions.next();
         EXPECT_TRUE(Answers(slow, p) == answersOf(table, p)) << p;
      }
   }
}

}  // namespace InternetTableTest
}  // namespace Property
