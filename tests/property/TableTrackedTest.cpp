// Tracked tables beside slow models: every watched answer is found anew, by looking at all routes, after each change, and has to be
// what the watches have told since; digests are found anew from the routes; journals are read by readers who lag behind.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "tests/property/Scale.h"
#include "tests/property/TrackedSession.h"

namespace Property::Tracked {
namespace TableTrackedTest {

using routetrie::table4;
using routetrie::table6;

template <class Table>
class TableTrackedTest : public TrackedSession<Table> {};
using Tables = testing::Types<table4<Hop>, table6<Hop>>;
TYPED_TEST_SUITE(TableTrackedTest, Tables);

TYPED_TEST(TableTrackedTest, watchesAreToldWhatASlowModelFinds) { this->run(0, sized(4, 6, 16)); }
TYPED_TEST(TableTrackedTest, watchesWhoseFunctionsChangeTheTable) { this->run(12, sized(4, 6, 16)); }

// Of one change at a time, without functions that do more: each watch whose answer changes is told once and no other.
TYPED_TEST(TableTrackedTest, oneChangeIsToldOnce) {
   for (int i = 0; i < 60; ++i) {
      this->watch(0);
   }
   for (int i = sized(100, 1000, 4000); i-- != 0;) {  // routes add up, and each is looked at with each change
      std::vector<std::size_t> expected;
      std::vector<std::size_t> before;
      const auto told = [&] {
         std::vector<std::optional<std::pair<typename TypeParam::prefix_type, std::uint32_t>>> list;
         for (const auto& w : this->watched) {
            list.push_back(this->answer(*w));
         }
         return list;
      };
      const auto first = told();
      const auto routesBefore = this->routes;
      for (const auto& w : this->watched) {
         before.push_back(w->calls);
      }
      this->change();
      const auto second = told();
      for (std::size_t n = 0; n < this->watched.size(); ++n) {
         const auto& w = *this->watched[n];
         bool isTold = first[n] != second[n];
         if (w.kind == watch_kind::anything_under) {
            const auto now = this->under(w.at);
            const auto routesNow = std::exchange(this->routes, routesBefore);
            isTold = now != this->under(w.at);
            this->routes = routesNow;
         }
         ASSERT_EQ(before[n] + (isTold ? 1u : 0u), w.calls) << w.at;
      }
   }
   this->compare();
}

// Readers who look now and then, and bring a copy of the prefixes up to date by the journal; or by the whole table, if it is too old.
TYPED_TEST(TableTrackedTest, journalsBringReadersUpToDate) {
   using Prefix = typename TypeParam::prefix_type;
   struct Reader {
      std::map<Prefix, std::uint32_t> known;
      std::uint64_t generation = 0;
   };
   std::vector<Reader> readers(4);
   std::size_t late = 0;
   std::size_t inTime = 0;
   this->table.keep_changes(40);
   for (int i = sized(200, 5000, 30'000); i-- != 0;) {
      this->below(10) == 0 ? this->changeMany() : this->change();
      Reader& reader = readers[this->below(4)];
      if (this->below(10) != 0) {
         continue;
      }
      if (const auto changes = this->table.changes_since(reader.generation)) {
         ++inTime;
         std::uint64_t last = reader.generation;
         for (const auto& c : *changes) {
            ASSERT_EQ(++last, c.generation);
            const auto now = this->table.find(c.prefix);
            now == this->table.end() ? (void)reader.known.erase(c.prefix)
                                     : (void)(reader.known[c.prefix] = now->value.number);
         }
         ASSERT_EQ(this->table.generation(), last);
      } else {
         ++late;
         reader.known = this->under(Prefix());
      }
      reader.generation = this->table.generation();
      ASSERT_EQ(this->under(Prefix()), reader.known);
   }
   EXPECT_GT(late, 0u);
   EXPECT_GT(inTime, 0u);
}

}  // namespace TableTrackedTest
}  // namespace Property::Tracked
