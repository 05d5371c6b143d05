// Snapshots taken at random moments of long random runs: each stays equal to a copy that was made at the same moment, whatever becomes
// of the table and in whatever order they are dropped; and all that versions share is sound after each step. Values in the nodes'
// runs, in slots and none; tables without an index and with one.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "routetrie/shared_table.h"
#include "routetrie/snapshot.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"
#include "tests/property/TableValues.h"

namespace Property {
namespace TableSnapshotTest {

using routetrie::table4;
using routetrie::table6;

template <class Table>
class TableSnapshotTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;
   using Session = TableSession<Table>;
   using Oracle = TableOracle<P>;
   using Snapshot = decltype(std::declval<Table&>().snapshot());

   struct Taken {
      Snapshot snapshot;
      typename Oracle::Routes routes;
      Oracle oracle;
   };

   TableSnapshotTest() : random(seed()) {}

   U32 below(U32 n) { return static_cast<U32>(random() % n); }

   // Prefixes of a small world, so that they meet; or of a large one, for an index.
   P anything() {
      using Word = typename P::Bits::Word;
      const unsigned length = isLarge ? P::width / 2 + below(P::width / 4 + 1) : below(P::width + 1);
      auto word = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         word = Word{random()} << 64 | word;
      }
      if (!isLarge) {
         // A few bits in a few places.
         Word mask = Word{7} << (P::width - 7) | Word{5} << (P::width / 2) | 3;
         word &= static_cast<Word>(mask | Word{1} << below(P::width));
      } else if constexpr (P::width == 128) {
         word = word >> 3 & ~(Word{0xff} << 100);
      } else {
         word &= 0x3fffffffu;
      }
      return P::cut(typename P::Bits(word), length);
   }

   void change(Session& session) {
      const P p = anything();
      switch (below(isLarge ? 6 : 40)) {
         case 0:
         case 1: session.assign(p, below(1000)); break;
         case 2: session.update(p, below(1000)); break;
         case 3:
            if (const auto near = session.oracle.atOrAfter(p)) {
               session.remove(near->prefix);
            }
            break;
         case 4:
            if (const auto near = session.oracle.atOrAfter(p)) {
               session.assign(near->prefix, below(1000));
            }
            break;
         case 6: session.removeCovered(p); break;
         case 7:
            if (below(40) == 0) {
               session.clear();
            }
            break;
         default: (below(2) == 0 ? session.add(p, below(1000)) : session.remove(p)); break;
      }
   }

   static std::string faultOf(const Taken& taken, const P& asked) {
      if (taken.snapshot.size() != taken.routes.size()) {
         return fmt::format("{} routes, not {}", taken.snapshot.size(), taken.routes.size());
      }
      auto at = taken.routes.begin();
      for (const auto& route : taken.snapshot) {
         if (!(Session::routeOf(route) == *at)) {
            return fmt::format("{} at the place of {}", Session::routeOf(route).prefix, at->prefix);
         }
         ++at;
      }
      return questionFault(taken, asked);
   }
   static std::string questionFault(const Taken& taken, const P& asked) {
      const auto a = routetrie::last_address(asked);
      const auto covering = taken.oracle.covering(a.bits(), P::width);
      const auto best = taken.snapshot.match(a);
      if (best.has_value() == covering.empty() || (best && !(Session::routeOf(*best) == covering.back()))) {
         return fmt::format("the match of {}", a);
      }
      if constexpr (Table::has_values) {
         const T* value = taken.snapshot.lookup(a);
         if ((value == nullptr) != covering.empty() ||
             (value != nullptr && NumberIn<T>::numberOf(*value) != covering.back().number)) {
            return fmt::format("the lookup of {}", a);
         }
      }
      std::size_t count = 0;
      for (const auto& route : taken.snapshot.covering(a)) {
         if (count == covering.size() || !(Session::routeOf(route) == covering[count++])) {
            return fmt::format("what covers {}", a);
         }
      }
      const auto found = taken.snapshot.find(asked);
      if ((found != taken.snapshot.end()) != taken.oracle.has(asked)) {
         return fmt::format("whether {} is there", asked);
      }
      const auto ahead = taken.snapshot.lower_bound(asked);
      const auto expected = taken.oracle.atOrAfter(asked);
      if ((ahead != taken.snapshot.end()) != expected.has_value() ||
          (expected && Session::routeOf(*ahead).prefix != expected->prefix)) {
         return fmt::format("what comes after {}", asked);
      }
      return taken.snapshot.has_longer(asked) ==
                   (taken.oracle.countCovered(asked, 2) > (taken.oracle.has(asked) ? 1u : 0u))
                ? ""
                : fmt::format("whether there is more under {}", asked);
   }

   void run(std::size_t steps, std::size_t startSize, std::size_t auditEvery) {
      std::optional<Session> session(std::in_place);
      while (session->table.size() < startSize) {
         session->add(anything(), below(1000));
      }
      std::vector<Taken> taken;
      for (std::size_t step = 0; step < steps && !this->HasFailure(); ++step) {
         change(*session);
         if (below(isLarge ? 100 : 8) == 0 && taken.size() < 12) {
            taken.push_back({session->table.snapshot(), session->oracle.all(), session->oracle});
         } else if (below(isLarge ? 100 : 9) == 0 && !taken.empty()) {
            const std::size_t i = below(static_cast<U32>(taken.size()));
            ASSERT_EQ("", faultOf(taken[i], anything()));
            std::swap(taken[i], taken.back());
            taken.pop_back();
         } else if (below(500) == 0) {
            session->table.reclaim();
         }
         if (step % auditEvery == 0) {
            ASSERT_EQ("", session->table.audit()) << "after step " << step;
            ASSERT_EQ("", session->wholeFault()) << "after step " << step;
            for (const Taken& one : taken) {
               ASSERT_EQ("", one.snapshot.audit()) << "after step " << step;
               ASSERT_EQ("", faultOf(one, anything())) << "after step " << step;
            }
         } else if (!taken.empty()) {
            ASSERT_EQ("", questionFault(taken[below(static_cast<U32>(taken.size()))], anything()));
         }
      }
      // Some outlive the table, and the others go before it does.
      while (taken.size() > 2) {
         taken.pop_back();
      }
      session->table.reclaim();
      ASSERT_EQ("", session->table.audit());
      session.reset();
      for (const Taken& one : taken) {
         ASSERT_EQ("", one.snapshot.audit());
         ASSERT_EQ("", faultOf(one, anything()));
      }
   }

   std::mt19937_64 random;
   bool isLarge = false;
};

struct TableName {
   template <class Table>
   static std::string GetName(int) {
      using T = typename Table::mapped_type;
      return std::string(Table::prefix_type::width == 32 ? "Ipv4" : "Ipv6") +
             (std::is_void_v<T>                 ? "Set"
              : std::is_same_v<T, std::string>  ? "Strings"
              : std::is_same_v<T, std::uint8_t> ? "Bytes"
              : std::is_arithmetic_v<T>         ? "Numbers"
                                                : "Logged");
   }
};
using Tables = testing::Types<table4<std::uint32_t>, table6<std::uint64_t>, table4<std::uint8_t>, table6<std::string>,
                              table4<Copyable>, table6<void>>;
TYPED_TEST_SUITE(TableSnapshotTest, Tables, TableName);

TYPED_TEST(TableSnapshotTest, staysEqualToACopyOfTheSameMoment) {
   for (int round = 0; round < sized(2, 4, 10) && !this->HasFailure(); ++round) {
      this->run(sized<std::size_t>(300, 1000, 4000), 0, 1);
   }
   if (std::is_same_v<typename TypeParam::mapped_type, Copyable>) {
      EXPECT_EQ(0u, ValueLog::live.size());
      EXPECT_EQ("", ValueLog::fault);
   }
}

TYPED_TEST(TableSnapshotTest, theSameOfATableWithAnIndex) {
   this->isLarge = true;
   this->run(sized<std::size_t>(500, 3000, 8000), TypeParam::prefix_type::width == 32 ? 33'000 : 9'000,
             sized<std::size_t>(250, 600, 500));
}

// As many as 10,000 at once, each of a moment of its own, of a table that is shared; half of them go before the others are looked at.
TEST(SharedTableSnapshots, areManyAtOnce) {
   using routetrie::prefix4;
   using Snapshot = routetrie::snapshot4<std::uint32_t>;
   struct Step {
      prefix4 prefix;
      std::uint32_t value;  // 0: none
   };
   std::mt19937_64 random(seed());
   routetrie::shared_table4<std::uint32_t> t;
   const std::size_t count = sized<std::size_t>(1000, 10'000, 10'000);
   std::vector<Step> log;
   std::vector<Snapshot> snapshots;
   for (std::size_t n = 0; n < count; ++n) {
      const auto p =
         prefix4::cut(prefix4::Bits(static_cast<U32>(random() % 512) << 20), 9 + static_cast<unsigned>(random() % 4));
      const bool goes = random() % 4 == 0;
      log.push_back({p, goes ? 0 : static_cast<std::uint32_t>(n + 1)});
      goes ? (void)t.erase(p) : (void)t.insert_or_assign(p, log.back().value);
      snapshots.push_back(t.snapshot());
   }
   EXPECT_EQ("", t.audit());
   EXPECT_GT(t.memory().old, t.memory().for_readers);
   for (std::size_t n = 0; n < count / 2; ++n) {
      snapshots[random() % count] = {};
      if (n % 16 == 0) {
         t.reclaim();
      }
   }
   EXPECT_EQ("", t.audit());
   std::map<prefix4, std::uint32_t> model;
   std::size_t looked = 0;
   for (std::size_t n = 0; n < count; ++n) {
      const auto& [p, value] = log[n];
      value == 0 ? (void)model.erase(p) : (void)(model[p] = value);
      const Snapshot& s = snapshots[n];
      if (s.empty()) {
         continue;
      }
      ++looked;
      ASSERT_EQ(model.size(), s.size());
      const auto at = s.find(p);
      ASSERT_EQ(value, at == s.end() ? 0 : at->value) << p;
      if (n % 97 == 0) {
         ASSERT_EQ("", s.audit());
         auto wanted = model.begin();
         for (const auto& route : s) {
            ASSERT_EQ(wanted->first, route.prefix);
            ASSERT_EQ(wanted->second, route.value);
            ++wanted;
         }
      }
   }
   EXPECT_GT(looked, count / 3);
   snapshots.clear();
   for (int i = 0; i < 2000 && t.memory().old != 0; ++i) {
      t.reclaim();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
   }
   EXPECT_EQ(0u, t.memory().old);
   EXPECT_EQ(0u, t.pending_bytes());
   EXPECT_EQ(model.size(), t.reader().size());
   EXPECT_EQ("", t.audit());
}

}  // namespace TableSnapshotTest
}  // namespace Property
