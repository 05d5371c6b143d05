// MeasuredEngine: that its comparison with the oracle finds one wrong answer of each kind, and passes an engine without
// any. The engines here are a std::map that answers one question wrongly.
#include "bench/MeasuredEngine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bench/engines/StdMap.h"

namespace Bench {
namespace MeasuredEngineTest {

using testing::StartsWith;

enum class Wrong {
   nothing,
   match,
   bulk,
   lookup,
   lookupBulk,
   matchIf,
   previous,
   children,
   exact,
   parent,
   longer,
   next,
   walk,
   iterator,
   steps,
   difference,
   aggregate,
   insert
};

// Answers rightly but for what `wrong` says, and there of one route alone.
template <class F, Wrong wrong>
class Liar {
  public:
   using Key = Route<F>;
   using Query = typename F::Bits;
   using Answer = U32;
   using BulkAnswer = U32;
   using LookupAnswer = U32;
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   explicit Liar(const Workload<F>& work) : honest_(work), oracle_(work.routes) {}

   static Key key(const Route<F>& route) { return route; }
   static Query query(typename F::Bits address) { return address; }
   static std::uint64_t token(Answer answer) { return answer; }
   static std::optional<Route<F>> route(Answer answer, const Workload<F>& work) {
      return answer == 0 ? std::optional<Route<F>>() : work.routeOf(answer);
   }
   static std::optional<Route<F>> bulkRoute(BulkAnswer answer, const Workload<F>& work) {
      return route(answer, work);
   }

   bool insert(const Key& key, U32 id) { return honest_.insert(key, id) && !(wrong == Wrong::insert && id == lieId); }
   bool erase(const Key& key) { return honest_.erase(key); }

   Answer match(const Query& query) const { return twisted<Wrong::match>(honest_.match(query)); }
   void matchBulk(std::span<const Query> queries, std::span<BulkAnswer> answers) const {
      for (std::size_t i = 0; i < queries.size(); ++i) {
         answers[i] = twisted<Wrong::bulk>(honest_.match(queries[i]));
      }
   }
   U32 lookup(const Query& query) const { return twisted<Wrong::lookup>(honest_.match(query)); }
   void lookupBulk(std::span<const Query> queries, std::span<LookupAnswer> answers) const {
      for (std::size_t i = 0; i < queries.size(); ++i) {
         answers[i] = twisted<Wrong::lookupBulk>(honest_.match(queries[i]));
      }
   }
   static U32 idOf(LookupAnswer answer) { return answer; }
   Answer matchIf(const Query& query) const {
      return twisted<Wrong::matchIf>(idOf(oracle_.evenMatch(hostRoute<F>(query))));
   }
   Answer previous(const Key& key) const { return twisted<Wrong::previous>(idOf(oracle_.previous(key))); }
   std::uint64_t children(const Key& key) const {
      return oracle_.children(key) + (wrong == Wrong::children && key.length == 24 ? 1 : 0);
   }
   bool exact(const Key& key) const { return twisted<Wrong::exact>(honest_.idOf(key)) != 0; }
   Answer parent(const Key& key) const { return twisted<Wrong::parent>(honest_.parent(key)); }
   bool longer(const Key& key) const { return honest_.longer(key) != (wrong == Wrong::longer && key.length == 24); }
   Answer next(const Key& key) const { return twisted<Wrong::next>(honest_.next(key)); }
   std::uint64_t walk() const { return honest_.walk() - (wrong == Wrong::walk ? 1 : 0); }
   std::uint64_t walkIterator() const { return honest_.walk() + (wrong == Wrong::iterator ? 1 : 0); }
   std::uint64_t walkNext() const { return wrong == Wrong::steps ? 0 : honest_.walk(); }

   void keep() { kept_ = honest_.walk(); }
   std::uint64_t differences() const {
      return kept_ - honest_.walk() + (wrong == Wrong::difference && kept_ != honest_.walk() ? 1 : 0);
   }
   void letGo() { kept_ = 0; }
   std::uint64_t aggregate() const { return wrong == Wrong::aggregate ? honest_.walk() + 1 : 1; }

   std::uint64_t bytes() const { return honest_.bytes(); }

  private:
   static constexpr U32 lieId = 7;

   template <Wrong here>
   static Answer twisted(Answer id) {
      return wrong == here && id == lieId ? 0 : id;
   }

   Answer idOf(const std::optional<Route<F>>& route) const { return route ? honest_.idOf(*route) : 0; }

   StdMap<F> honest_;
   Oracle<F> oracle_;
   std::uint64_t kept_ = 0;  // routes
};

// Routes in a row, each inside the one before: each is asked of, and all but the ends are a parent and follow one.
template <class F>
Workload<F> workload() {
   std::vector<Route<F>> routes;
   const auto one = typename F::Bits(typename F::Bits::Word{10} << (F::width - 8));
   for (U32 length = 8; length <= 24; ++length) {
      routes.push_back({one, length});
   }
   return makeWorkload<F>(routes, routes.size(), 300);
}

template <class F, Wrong wrong>
std::string fault() {
   const auto work = workload<F>();
   EXPECT_EQ("", work.fault);
   return MeasuredEngine<F, Liar<F, wrong>>(work).check();
}

template <class F>
class MeasuredEngineTest : public testing::Test {};
using Families = testing::Types<V4, V6>;
TYPED_TEST_SUITE(MeasuredEngineTest, Families);

TYPED_TEST(MeasuredEngineTest, PassesAnHonestEngine) { EXPECT_EQ("", (fault<TypeParam, Wrong::nothing>())); }

TYPED_TEST(MeasuredEngineTest, FindsAWrongAnswerOfEachKind) {
   EXPECT_THAT((fault<TypeParam, Wrong::match>()), StartsWith("longest match of "));
   EXPECT_THAT((fault<TypeParam, Wrong::bulk>()), StartsWith("longest match in a burst of "));
   EXPECT_THAT((fault<TypeParam, Wrong::lookup>()), StartsWith("lookup of "));
   EXPECT_THAT((fault<TypeParam, Wrong::lookupBulk>()), StartsWith("lookup in a burst of "));
   EXPECT_THAT((fault<TypeParam, Wrong::matchIf>()), StartsWith("match of an even length of "));
   EXPECT_THAT((fault<TypeParam, Wrong::previous>()), StartsWith("route before of "));
   EXPECT_EQ((fault<TypeParam, Wrong::children>()).find("number of children of "), 0U);
   EXPECT_THAT((fault<TypeParam, Wrong::exact>()), StartsWith("exact match of "));
   EXPECT_THAT((fault<TypeParam, Wrong::parent>()), StartsWith("parent of "));
   EXPECT_THAT((fault<TypeParam, Wrong::longer>()), StartsWith("longer route of "));
   EXPECT_THAT((fault<TypeParam, Wrong::next>()), StartsWith("next route of "));
   EXPECT_EQ((fault<TypeParam, Wrong::walk>()), "walk: 16 routes instead of 17");
   EXPECT_EQ((fault<TypeParam, Wrong::iterator>()), "walk by iterator: 18 routes instead of 17");
   EXPECT_EQ((fault<TypeParam, Wrong::steps>()), "walk by steps: 0 routes instead of 17");
   EXPECT_EQ((fault<TypeParam, Wrong::difference>()), "difference: 2 routes instead of 1");
   EXPECT_EQ((fault<TypeParam, Wrong::aggregate>()), "aggregate: 18 routes instead of 17");
}

TYPED_TEST(MeasuredEngineTest, RefusesAnEngineThatRefusesARoute) {
   EXPECT_THROW((fault<TypeParam, Wrong::insert>()), std::runtime_error);
}

TEST(MeasuredEngine, theSlowestIsSetBesideTheMedian) {
   EXPECT_EQ(1.0, slowestToMedian({3.0}));
   EXPECT_EQ(4.0, slowestToMedian({1.0, 8.0, 2.0}));
   EXPECT_EQ(2.5, slowestToMedian({5.0, 1.0, 3.0, 1.0}));
}

}  // namespace MeasuredEngineTest
}  // namespace Bench
