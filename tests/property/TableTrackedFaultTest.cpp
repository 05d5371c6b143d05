// Tracked tables when memory runs out: each allocation of each operation fails in turn, of operator new, and of the nodes where those can
// be made to fail.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/property/CountedNew.h"
#include "tests/property/Faults.h"
#include "tests/property/Scale.h"
#include "tests/property/TrackedSession.h"

namespace Property::Tracked {
namespace TableTrackedFaultTest {

template <class Table>
class TableTrackedFaultTest : public TrackedSession<Table> {};
using FaultTables = testing::Types<routetrie::table4<Hop>, routetrie::table6<Hop>>;
TYPED_TEST_SUITE(TableTrackedFaultTest, FaultTables);

// Either nothing has changed, or all that digests, journals and watches know of has; who could not be told is told later.
TYPED_TEST(TableTrackedFaultTest, memoryRunsOut) {
   using Prefix = typename TypeParam::prefix_type;
   using Tracked = typename TestFixture::TrackedTable;
   using Told = typename TestFixture::Event;
   const auto low = Prefix::cut(typename Prefix::Bits(), 1);
   TypeParam other;       // of each operation that takes one
   Tracked otherTracked;  // the same
   const auto token = std::make_shared<int>(0);
   routetrie::watch_handle handle;
   Prefix there;  // a route, if any
   const auto isOdd = [](const auto& route) { return route.value.number % 2 == 1; };
   const auto areAlike = [](const Hop& a, const Hop& b) { return a.number / 2 == b.number / 2; };
   const auto tell = [token](const Told&) { ++*token; };
   struct Operation {
      std::string_view name;
      std::function<void(Tracked&)> run;
      bool changesRoutes = true;
      bool takesMemory = true;
   };
   const std::vector<Operation> operations{
      {"erase_covered", [](Tracked& t) { t.erase_covered(Prefix()); }},
      {"clear", [](Tracked& t) { t.clear(); }},
      {"insert_or_assign", [](Tracked& t) { t.insert_or_assign(Prefix(), Hop{77}); }},
      {"batch",
       [&](Tracked& t) {
          t.batch([&](Tracked& u) {
             u.insert_or_assign(Prefix(), Hop{77});
             u.erase_covered(low);
          });
       }},
      {"erase", [&](Tracked& t) { t.erase(there); }},
      {"insert",
       [&](Tracked& t) {
          t.insert({Prefix::cut(there.bits(), 3), Hop{78}});
       }},
      {"insert of what is there",
       [&](Tracked& t) {
          t.insert({there, Hop{78}});
       },
       true, false},
      {"insert of a range", [&](Tracked& t) { t.insert(other); }},
      {"update", [&](Tracked& t) { t.update(there, [](Hop& h) { ++h.number; }); }},
      {"modify", [&](Tracked& t) { t.modify(there, [](Hop& h) { ++h.number; }); }},
      {"update of what is not there", [&](Tracked& t) { t.update(low, [](Hop& h) { h.number += 5; }); }},
      {"erase_if", [&](Tracked& t) { erase_if(t, isOdd); }},
      {"erase_if, a slice", [&](Tracked& t) { erase_if(t, isOdd, 5); }},
      {"merge", [&](Tracked& t) { t.merge(other); }},
      {"merge by a rule",
       [&](Tracked& t) { t.merge(other, [](const Prefix&, Hop& mine, Hop&& theirs) { mine = theirs; }); }},
      {"merge of a tracked table", [&](Tracked& t) { t.merge(otherTracked); }},
      {"merge of a tracked table by a rule",
       [&](Tracked& t) { t.merge(otherTracked, [](const Prefix&, Hop& mine, Hop&& theirs) { mine = theirs; }); }},
      {"replace", [&](Tracked& t) { t.replace(other); }},
      {"replace by what is alike", [&](Tracked& t) { t.replace(other, areAlike); }},
      {"sweep", [](Tracked& t) { t.sweep(20); }},
      {"keep_changes", [](Tracked& t) { t.keep_changes(7); }, false},
      {"key_is",
       [](Tracked& t) {
          t.key_is({1, 2});
       },
       false, false},
      {"recheck", [](Tracked& t) { t.recheck(Prefix()); }, false},
      {"watch", [&](Tracked& t) { handle = t.watch(low, watch_kind::best_match, tell); }, false},
      {"watch of anything under", [&](Tracked& t) { handle = t.watch(Prefix(), watch_kind::anything_under, tell); },
       false},
      {"watch_if", [&](Tracked& t) { handle = t.watch_if(there, isOdd, tell); }, false},
   };
   std::vector<std::size_t> failures(operations.size());
   this->failsAt = &newFailsAt;
   for (unsigned world = 0; world < operations.size() * sized(3u, 3u, 40u); ++world) {
      const Operation& operation = operations[world % operations.size()];
      for (const Source source : sources) {
         bool isFailed = true;
         for (std::size_t n = 1; isFailed; ++n) {
            SCOPED_TRACE(fmt::format("{}, world {}, allocation {}", operation.name, world, n));
            this->random.seed(world);
            this->routes.clear();
            this->down.clear();
            this->watched.clear();  // before what would tell them
            this->table.clear();
            for (int i = 0; i < 10; ++i) {
               this->change();
            }
            for (int i = 0; i < 8; ++i) {
               this->watch(0);
            }
            this->set(Prefix::cut(this->anyPrefix().bits(), 9), 3);
            there = this->table.begin()->prefix;
            other.clear();
            for (int i = 0; i < 6; ++i) {
               other.insert({this->anyPrefix(), Hop{this->below(8)}});
            }
            for (const auto& [p, hop] : this->table) {
               other.insert({p, Hop{hop.number ^ this->below(2)}});
            }
            otherTracked.clear();
            otherTracked.insert(other);
            const std::size_t all = otherTracked.size();
            if (operation.name == "sweep") {
               this->table.mark();
               this->set(there, 4);
            }
            if (operation.name == "recheck") {
               this->watched.clear();
               this->set(Prefix(), 5);
               this->down = {5};
               handle = this->table.watch_if(
                  Prefix(), [this](const auto& r) { return this->isUp(r.value.number); }, tell);
               this->down.clear();
            }
            const TypeParam before = this->table.table();
            const auto generation = this->table.generation();
            const auto kept = this->table.kept_changes();
            const auto key = this->table.key();
            *token = 0;
            this->isShortOfMemory = true;
            isFailed = failsWith(source, n, [&] { operation.run(this->table); });
            failures[world % operations.size()] += isFailed ? 1u : 0u;
            ASSERT_EQ("", this->table.audit());
            ASSERT_EQ(routetrie::digest(this->table.table(), this->table.key()), this->table.digest());
            ASSERT_EQ(routetrie::digest(otherTracked.table()), otherTracked.digest());
            if (this->table.generation() == generation) {
               ASSERT_EQ(before, this->table.table());
            }
            if (operation.name.starts_with("merge of")) {
               for (const auto& route : other) {
                  ASSERT_TRUE(this->table.contains(route.prefix) || otherTracked.contains(route.prefix));
               }
               ASSERT_LE(otherTracked.size(), all);
            }
            if (!operation.changesRoutes) {
               ASSERT_EQ(before, this->table.table());
               ASSERT_EQ(generation, this->table.generation());
               ASSERT_TRUE(this->table.changes_since(generation - 5)) << "the journal has what it had";
               if (isFailed) {
                  ASSERT_EQ(kept, this->table.kept_changes());
                  ASSERT_EQ(key, this->table.key());
               }
            }
            if (operation.name.starts_with("watch")) {
               ASSERT_EQ(!isFailed, static_cast<bool>(handle));
               ASSERT_EQ(isFailed ? 2 : 3, token.use_count()) << "what could not be kept is let go";
            }
            this->table.key_is({});
            this->table.keep_changes(1024);
            this->table.unmark();
            this->table.insert_or_assign(Prefix::cut(routetrie::last_address(Prefix()).bits(), 30), Hop{88});
            if (operation.name == "recheck") {
               ASSERT_EQ(1, *token) << "at the latest behind the next change";
            }
            // The one that was added is told of what changes from then on.
            if (operation.name == "watch of anything under") {
               ASSERT_EQ(isFailed ? 0 : 1, *token);
            }
            handle = {};
            this->isShortOfMemory = false;
            this->routes.clear();
            for (const auto& [p, hop] : this->table) {
               this->routes[{p.bits().word(), p.len()}] = hop.number;
            }
            if (operation.name != "replace by what is alike") {
               ASSERT_NO_FATAL_FAILURE(this->compare());
            }
            ASSERT_FALSE(this->HasFailure());
         }
      }
   }
   for (std::size_t i = 0; i < operations.size(); ++i) {
      EXPECT_EQ(operations[i].takesMemory, failures[i] != 0) << operations[i].name;
   }
}

}  // namespace TableTrackedFaultTest
}  // namespace Property::Tracked
