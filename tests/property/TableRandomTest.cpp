// Long random runs of changes and questions on tables of each family and of both, beside the oracle: dense and sparse mixes, values in the
// nodes, in slots and none, iterators that live on while the table changes under them. 10^7 operations at full size.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "routetrie/route_set.h"
#include "tests/property/BothOracle.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"
#include "tests/property/Workload.h"

namespace Property {
namespace TableRandomTest {

using routetrie::table4;
using routetrie::table6;

template <class P>
P of(const IpGenPrefix& p) {
   if constexpr (std::is_same_v<P, routetrie::prefix>) {
      return p;
   } else if constexpr (P::width == 32) {
      return p.v4Prefix();
   } else {
      return p.v6Prefix();
   }
}

// Prefixes of one family, or in no order of either.
template <class P>
class Work {
  public:
   Work(const Mix& mix, std::uint64_t number) : four_(Corenet::ipv4, mix, number), six_(Corenet::ipv6, mix, number) {}
   Op op() { return one().op(); }
   IpGenPrefix fresh() { return one().fresh(); }
   U32 below(U32 limit) { return four_.below(limit); }

  private:
   Workload& one() {
      if constexpr (std::is_same_v<P, routetrie::prefix>) {
         return below(2) == 0 ? four_ : six_;
      } else {
         return P::width == 32 ? four_ : six_;
      }
   }

   Workload four_;
   Workload six_;
};

// The half of its family's addresses that the prefix lies in.
template <class P>
P half(const P& p) {
   if constexpr (std::is_same_v<P, routetrie::prefix>) {
      return p.af() == Corenet::ipv4 ? P(half(p.v4Prefix())) : P(half(p.v6Prefix()));
   } else {
      return P::cut(p.bits(), 1);
   }
}

template <class Table>
class TableRandomTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using Session = TableSession<Table>;

   // One change of some kind; a question after some of them.
   static void change(Session& session, Work<P>& work, bool asks) {
      const Op op = work.op();
      const P p = of<P>(op.prefix);
      switch (op.kind) {
         case Op::add:
            switch (work.below(4)) {
               case 0: session.assign(p, work.below(1000)); break;
               case 1: session.update(p, work.below(1000)); break;
               default: session.add(p, work.below(1000)); break;
            }
            break;
         case Op::remove:
            if (work.below(3) == 0) {
               session.removeAt(p);
            } else {
               session.remove(p);
            }
            break;
         case Op::ask:
            if (work.below(400) == 0) {
               session.removeCovered(p);
            } else if (work.below(1000) == 0) {
               session.removeEvery(7, work.below(7));
            } else if (work.below(1000) == 0) {
               session.removeUntil(work.below(static_cast<U32>(session.table.size()) + 2), 5, work.below(5));
            } else if (work.below(20'000) == 0) {
               session.clear();
            } else if (asks) {
               ASSERT_EQ("", session.faultAt(p, 400));
            }
            break;
      }
   }

   void runMixes() {
      const std::uint64_t number = seed();
      // Six types and five mixes: ten million at full size.
      const auto ops = sized<std::size_t>(400, 1500, 334'000);
      for (const Mix& mix : mixes) {
         Session session;
         Work<P> work(mix, number);
         for (std::size_t i = 0; i < ops && !this->HasFatalFailure(); ++i) {
            change(session, work, true);
            if (i < 1000 || i % 1000 == 0) {
               ASSERT_EQ("", session.table.audit()) << mix.name << " after " << i << " ops";
            }
            if (i % (i < 20'000 ? 250 : 2500) == 0) {
               ASSERT_EQ("", session.wholeFault()) << mix.name << " after " << i << " ops";
            }
         }
         ASSERT_EQ("", session.wholeFault()) << mix.name;
         // The same routes, come to in order and in no order, give the same walk.
         const auto all = session.oracle.all();
         Session inOrder;
         for (const auto& route : all) {
            inOrder.add(route.prefix, route.number);
         }
         ASSERT_EQ("", inOrder.wholeFault());
         EXPECT_TRUE(inOrder.table == session.table) << mix.name;
         const Table copy(session.table);
         EXPECT_TRUE(copy == session.table);
         EXPECT_EQ("", copy.audit());
      }
   }

   // Iterators in turn, each followed by changes: each goes to the first route behind its place as the table then is.
   void iteratorsAmongChanges() {
      const std::uint64_t number = seed();
      std::size_t steps = 0;
      for (const Mix& mix : mixes) {
         Session session;
         Work<P> work(mix, number + 1);
         for (int i = 0; i < 200; ++i) {
            session.add(of<P>(work.fresh()), 1);
         }
         for (int round = 0; round < sized(1, 3, 30) && session.table.size() != 0; ++round) {
            std::set<P> stayed;  // routes that are there from the beginning to the end
            for (const auto& route : session.oracle.all()) {
               stayed.insert(route.prefix);
            }
            std::vector<P> seen;
            const P top = half(session.oracle.all().front().prefix);
            auto under = session.table.covered(top).begin();
            std::vector<P> seenUnder;
            for (auto at = session.table.begin(); at != session.table.end(); ++at, ++steps) {
               const P here = Session::routeOf(*at).prefix;
               ASSERT_TRUE(seen.empty() || seen.back() < here) << here << " after " << seen.back();
               seen.push_back(here);
               if (under != std::default_sentinel) {
                  seenUnder.push_back(Session::routeOf(*under).prefix);
                  ASSERT_TRUE(routetrie::covers(top, seenUnder.back())) << seenUnder.back();
               }
               for (U32 changes = work.below(3); changes-- != 0;) {
                  change(session, work, false);
               }
               if (work.below(3) == 0) {
                  session.remove(here);  // the ground is taken from under it
               }
               std::erase_if(stayed, [&](const P& p) { return !session.oracle.has(p); });
               // Its next is the first behind its place, back and forth.
               auto ahead = at;
               ASSERT_EQ(session.oracle.after(here), session.maybe(++ahead)) << here;
               auto back = at;
               ASSERT_EQ(session.oracle.before(here), session.maybe(--back)) << here;
               if (under != std::default_sentinel) {
                  ++under;
               }
            }
            for (const P& p : stayed) {
               ASSERT_EQ(1, std::count(seen.begin(), seen.end(), p)) << p;
            }
            // What it has left out has to lie behind the place that it came to.
            for (const P& p : stayed) {
               if (routetrie::covers(top, p) &&
                   (under == std::default_sentinel || p < Session::routeOf(*under).prefix)) {
                  ASSERT_EQ(1, std::count(seenUnder.begin(), seenUnder.end(), p)) << p;
               }
            }
         }
         ASSERT_EQ("", session.wholeFault());
      }
      EXPECT_GT(steps, 100u);
   }

   void mergesAndOverlaps() {
      const std::uint64_t number = seed();
      for (const Mix& mix : mixes) {
         Work<P> work(mix, number + 2);
         for (int round = 0; round < sized(1, 3, 25); ++round) {
            Session a;
            Session b;
            const U32 sizeA = work.below(40);
            for (U32 i = 0; i < sizeA; ++i) {
               a.add(of<P>(work.fresh()), i);
            }
            for (U32 i = work.below(40) + 1; i-- != 0;) {
               b.add(of<P>(work.fresh()), 100 + i);
            }
            bool overlap = false;
            for (const auto& route : a.oracle.all()) {
               overlap =
                  overlap || !b.oracle.covering(route.prefix).empty() || b.oracle.countCovered(route.prefix, 1) != 0;
            }
            EXPECT_EQ(overlap, a.table.overlaps(b.table));
            EXPECT_EQ(overlap, b.table.overlaps(a.table));
            a.table.merge(b.table);
            for (const auto& route : b.oracle.all()) {
               if (a.oracle.add(route.prefix, route.number)) {
                  b.oracle.remove(route.prefix);
               }
            }
            ASSERT_EQ("", a.wholeFault());
            ASSERT_EQ("", b.wholeFault());
            a.table.merge(a.table);
            ASSERT_EQ("", a.wholeFault());
         }
      }
   }
};

struct TableName {
   template <class Table>
   static std::string GetName(int) {
      using T = typename Table::mapped_type;
      return std::string(std::is_same_v<typename Table::prefix_type, routetrie::prefix>    ? "Both"
                         : std::is_same_v<typename Table::prefix_type, routetrie::prefix4> ? "Ipv4"
                                                                                           : "Ipv6") +
             (std::is_void_v<T>                ? "Set"
              : std::is_same_v<T, std::string> ? "Strings"
                                               : "Numbers");
   }
};
using Tables = testing::Types<table4<std::uint32_t>, table6<std::uint32_t>, table4<void>, table6<std::string>,
                              routetrie::table<std::uint32_t>, routetrie::route_set>;
TYPED_TEST_SUITE(TableRandomTest, Tables, TableName);

TYPED_TEST(TableRandomTest, agreesWithTheOracle) { this->runMixes(); }
TYPED_TEST(TableRandomTest, iteratorsLiveOnAmongChanges) { this->iteratorsAmongChanges(); }
TYPED_TEST(TableRandomTest, mergesAndOverlaps) { this->mergesAndOverlaps(); }

}  // namespace TableRandomTest
}  // namespace Property
