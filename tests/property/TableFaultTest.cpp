// What is left when memory runs out: each allocation of each operation on a table fails in turn, and the table is as it was; the
// operation is then repeated with memory enough. Allocations of the nodes can be made to fail in builds with fault injection only;
// those of operator new, which slots, copies and texts take, in any.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <initializer_list>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "routetrie/shared_table.h"
#include "routetrie/table.h"
#include "routetrie/table/Tree.h"
#include "tests/property/BothOracle.h"
#include "tests/property/CountedNew.h"
#include "tests/property/Faults.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"
#include "tests/support/Backwards.h"

namespace Property {
namespace TableFaultTest {

using routetrie::table4;
using routetrie::table6;

template <class Table>
class TableFaultTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;
   using Session = TableSession<Table>;
   using Word = typename P::Bits::Word;

   TableFaultTest() : random(seed()) {}

   // Some routes: none, alone, a nest of all lengths, a full bush of a stride, a spread of long ones, and random ones.
   std::vector<std::vector<P>> worlds() {
      std::vector<std::vector<P>> list{{}, {P()}, {host(0)}};
      auto& nest = list.emplace_back();
      for (unsigned n = 0; n <= P::width; n += P::width == 32 ? 1u : 5u) {
         nest.push_back(P::cut(typename P::Bits(static_cast<Word>(~Word{0})), n));
      }
      auto& bush = list.emplace_back();
      for (unsigned i = 0; i < 64; ++i) {
         bush.push_back(P::cut(typename P::Bits(static_cast<Word>(Word{i} << (P::width - 6 - 6))), 12));
      }
      auto& spread = list.emplace_back();
      for (unsigned i = 0; i < 40; ++i) {
         spread.push_back(anything(P::width));
      }
      auto& any = list.emplace_back();
      for (unsigned i = 0; i < 200; ++i) {
         any.push_back(anything(8 + static_cast<unsigned>(random() % (P::width - 7))));
      }
      return list;
   }
   P anything(unsigned length) {
      auto word = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         word = Word{random()} << 64 | word;
      }
      return P::cut(typename P::Bits(word), length);
   }
   static P host(unsigned number) {
      return P::cut(typename P::Bits(static_cast<Word>(Word{number} << (P::width / 2))), P::width);
   }

   static void put(Table& table, const P& p, std::uint32_t number) {
      if constexpr (Table::has_values) {
         table.insert_or_assign(p, NumberIn<T>::valueOf(number));
      } else {
         table.insert(p);
      }
   }
   static void fill(Session& session, const std::vector<P>& world) {
      std::uint32_t number = 0;
      for (const P& p : world) {
         session.add(p, ++number);
      }
   }

   // The change, with each allocation failing. `changed` does the same to the oracle. How many failed.
   template <class Change, class Changed>
   std::size_t failEach(const std::vector<P>& world, const Change& change, const Changed& changed) {
      return eachFailure([&](Source source, std::size_t n) {
         Session session;
         fill(session, world);
         const Table before(session.table);
         const auto snapshot = holdsSnapshot ? session.table.snapshot() : decltype(session.table.snapshot())();
         const bool failed = failsWith(source, n, [&] { change(session.table); });
         if (failed) {
            EXPECT_EQ("", session.wholeFault());
            change(session.table);
         }
         if (holdsSnapshot) {
            EXPECT_TRUE(snapshot == before);
            EXPECT_EQ("", snapshot.audit());
         }
         changed(session.oracle);
         EXPECT_EQ("", session.wholeFault());
         return failed;
      });
   }

   std::mt19937_64 random;
   bool holdsSnapshot = false;
};

struct TableName {
   template <class Table>
   static std::string GetName(int) {
      using T = typename Table::mapped_type;
      return std::string(Table::prefix_type::width == 32 ? "Ipv4" : "Ipv6") +
             (std::is_void_v<T>                ? "Set"
              : std::is_same_v<T, std::string> ? "Strings"
                                               : "Numbers");
   }
};
using Tables = testing::Types<table4<std::uint32_t>, table6<std::uint64_t>, table4<std::string>, table6<void>>;
TYPED_TEST_SUITE(TableFaultTest, Tables, TableName);

TYPED_TEST(TableFaultTest, oneRouteMoreOrLess) {
   using Prefix = typename TestFixture::P;
   std::size_t failures = 0;
   for (const auto& world : this->worlds()) {
      std::vector<Prefix> changed{Prefix(), this->host(0), this->host(77), this->anything(24), this->anything(31)};
      for (std::size_t i = 0; i < world.size(); i += 1 + world.size() / 4) {
         changed.push_back(world[i]);
         changed.push_back(Prefix::cut(world[i].bits(), world[i].len() / 2u));
         changed.push_back(
            Prefix::cut(routetrie::last_address(world[i]).bits(), std::min<U32>(Prefix::width, world[i].len() + 2u)));
      }
      for (const Prefix& p : changed) {
         SCOPED_TRACE(fmt::format("{} of {} routes", p, world.size()));
         failures += this->failEach(
            world, [&](auto& table) { TestFixture::put(table, p, 1000); },
            [&](auto& oracle) {
               oracle.set(p, NumberIn<typename TypeParam::mapped_type>::cut(TypeParam::has_values ? 1000
                                                                            : oracle.has(p) ? oracle.get(p)->number
                                                                                            : 0));
            });
         failures += this->failEach(
            world, [&](auto& table) { table.erase(p); }, [&](auto& oracle) { oracle.remove(p); });
         if (this->HasFailure()) {
            return;
         }
      }
   }
   // Without fault injection only slots come from operator new.
   EXPECT_TRUE(failures > 0 ||
               (std::size(sources) == 1 && !std::is_same_v<typename TypeParam::mapped_type, std::string>));
}

// What a snapshot has seen is copied before it is written, so that erasing takes memory too.
TYPED_TEST(TableFaultTest, changesBesideASnapshot) {
   using Prefix = typename TestFixture::P;
   using Value = typename TypeParam::mapped_type;
   this->holdsSnapshot = true;
   std::size_t failures = 0;
   for (const auto& world : this->worlds()) {
      std::vector<Prefix> changed{Prefix(), this->host(0), this->anything(24)};
      for (std::size_t i = 0; i < world.size(); i += 1 + world.size() / sized<std::size_t>(2, 4, 12)) {
         changed.push_back(world[i]);
         changed.push_back(Prefix::cut(world[i].bits(), world[i].len() / 2u));
      }
      for (const Prefix& p : changed) {
         SCOPED_TRACE(fmt::format("{} of {} routes", p, world.size()));
         failures += this->failEach(
            world, [&](auto& table) { TestFixture::put(table, p, 1000); },
            [&](auto& oracle) {
               oracle.set(p, NumberIn<Value>::cut(TypeParam::has_values ? 1000
                                                  : oracle.has(p)       ? oracle.get(p)->number
                                                                        : 0));
            });
         failures += this->failEach(
            world, [&](auto& table) { table.erase(p); }, [&](auto& oracle) { oracle.remove(p); });
         if constexpr (TypeParam::has_values) {
            failures += this->failEach(
               world,
               [&](auto& table) { table.update(p, [](Value& value) { value = NumberIn<Value>::valueOf(500); }); },
               [&](auto& oracle) { oracle.set(p, NumberIn<Value>::cut(500)); });
         }
         if (this->HasFailure()) {
            return;
         }
      }
   }
   EXPECT_GT(failures, 0u);
}

// No snapshot, or a whole one; and the table as it was.
TYPED_TEST(TableFaultTest, takingASnapshot) {
   for (const auto& world : this->worlds()) {
      const std::size_t failures = this->failEach(
         world,
         [](auto& table) {
            const auto first = table.snapshot();
            const auto second = table.snapshot();
            EXPECT_TRUE(first == table && second == first);
         },
         [](auto&) {});
      EXPECT_GE(failures, 4u);
   }
}

// A route that was taken over is in one of the two, whatever fails, and the snapshot of the other has it still.
TYPED_TEST(TableFaultTest, mergesFromATableWithASnapshot) {
   const auto all = this->worlds();
   eachFailure([&](Source source, std::size_t n) {
      typename TestFixture::Session to;
      typename TestFixture::Session from;
      TestFixture::fill(to, all[4]);
      TestFixture::fill(from, all[3]);
      const TypeParam before(from.table);
      const auto snapshot = from.table.snapshot();
      const std::size_t sum = to.table.size() + from.table.size();
      const bool failed = failsWith(source, n, [&] { to.table.merge(from.table); });
      EXPECT_EQ("", to.table.audit());
      EXPECT_EQ("", from.table.audit());
      EXPECT_EQ(sum, to.table.size() + from.table.size());
      EXPECT_TRUE(snapshot == before);
      to.table.merge(from.table);
      for (const auto& route : from.oracle.all()) {
         EXPECT_TRUE(to.table.contains(route.prefix)) << route.prefix;
      }
      return failed;
   });
}

// A sweep that fails has judged no route that it did not erase; the next slice goes on where it was.
TYPED_TEST(TableFaultTest, sweepsBesideASnapshot) {
   const auto all = this->worlds();
   eachFailure([&](Source source, std::size_t n) {
      typename TestFixture::Session session;
      TestFixture::fill(session, all.back());
      const auto snapshot = session.table.snapshot();
      session.table.mark();
      TestFixture::put(session.table, all.back().front(), 1000);
      const bool failed = failsWith(source, n, [&] { session.table.sweep(20); });
      EXPECT_EQ("", session.table.audit());
      while (!session.table.sweep(50).done) {
      }
      EXPECT_EQ(1u, session.table.size());
      EXPECT_EQ(session.oracle.size(), snapshot.size());
      return failed;
   });
}

// The same of a shared table, whose readers see what was there before or what is there now.
TYPED_TEST(TableFaultTest, changesOfASharedTable) {
   using Prefix = typename TestFixture::P;
   using Value = typename TypeParam::mapped_type;
   std::size_t failures = 0;
   for (const auto& world : this->worlds()) {
      std::vector<Prefix> changed{Prefix(), this->host(0)};
      for (std::size_t i = 0; i < world.size(); i += 1 + world.size() / sized<std::size_t>(1, 2, 12)) {
         changed.push_back(world[i]);
         changed.push_back(Prefix::cut(world[i].bits(), world[i].len() / 2u));
      }
      typename TestFixture::Session session;
      TestFixture::fill(session, world);
      routetrie::basic_shared_table<TypeParam> shared{TypeParam(session.table)};
      const auto reader = shared.reader();
      const auto each = [&](const auto& change, const auto& changeTable) {
         failures += eachFailure([&](Source source, std::size_t n) {
            const auto before = reader.lock();
            const bool failed = failsWith(source, n, [&] { change(shared); });
            EXPECT_EQ("", shared.audit());
            EXPECT_TRUE(*before == session.table);
            if (!failed) {
               changeTable(session.table);
            }
            EXPECT_TRUE(*reader.lock() == session.table);
            return failed;
         });
      };
      for (const Prefix& p : changed) {
         SCOPED_TRACE(fmt::format("{} of {} routes", p, world.size()));
         const auto put = [&](auto& t) {
            if constexpr (TypeParam::has_values) {
               t.insert_or_assign(p, NumberIn<Value>::valueOf(1000));
            } else {
               t.insert(p);
            }
         };
         each(put, put);
         const auto drop = [&](auto& t) { t.erase(p); };
         each(drop, drop);
         each(put, put);
         if (this->HasFailure()) {
            return;
         }
      }
   }
   EXPECT_GT(failures, 0u);
}

// A slice that fails has erased some of its routes, which readers see go at once, and the next goes on where it was.
TYPED_TEST(TableFaultTest, slicesOfASharedTable) {
   const auto world = this->worlds().back();
   const auto valueOf = [](const auto& route) {
      if constexpr (TypeParam::has_values) {
         return route.value;
      } else {
         return route;
      }
   };
   std::size_t failures = 0;
   const auto each = [&](std::size_t left, const auto& slice, const auto& goOn) {
      failures += eachFailure([&](Source source, std::size_t n) {
         typename TestFixture::Session session;
         TestFixture::fill(session, world);
         routetrie::basic_shared_table<TypeParam> shared{TypeParam(session.table)};
         const auto reader = shared.reader();
         shared.mark();
         const auto before = reader.lock();
         const bool failed = failsWith(source, n, [&] { slice(shared); });
         EXPECT_EQ("", shared.audit());
         EXPECT_TRUE(*before == session.table) << "a version stays as it is";
         const auto now = reader.lock();
         EXPECT_GE(now->size() + 20, world.size());
         for (const auto& route : *now) {
            const auto was = session.table.find(routetrie::Impl::prefixOf(route));
            EXPECT_TRUE(was != session.table.end() && valueOf(*was) == valueOf(route));
         }
         goOn(shared);
         EXPECT_EQ(left, reader.size());
         EXPECT_EQ("", shared.audit());
         return failed;
      });
   };
   each(
      0, [](auto& t) { t.sweep(20); },
      [](auto& t) {
         while (!t.sweep(50).done) {
         }
      });
   const auto isLong = [](const auto& route) { return routetrie::Impl::prefixOf(route).len() > 12; };
   std::size_t left = 0;
   for (const auto& p : world) {
      left += p.len() > 12 ? 0u : 1u;
   }
   each(
      left, [&](auto& t) { t.erase_if(isLong, 20); },
      [&](auto& t) {
         for (auto slice = t.erase_if(isLong, 50); slice.next; slice = t.erase_if(isLong, 50, *slice.next)) {
         }
      });
   EXPECT_GT(failures, 0u);
}

TYPED_TEST(TableFaultTest, updates) {
   if constexpr (TypeParam::has_values) {
      using Value = typename TypeParam::mapped_type;
      for (const auto& world : this->worlds()) {
         for (const auto& p : {world.empty() ? this->host(1) : world.front(), this->host(9)}) {
            this->failEach(
               world,
               [&](auto& table) { table.update(p, [](Value& value) { value = NumberIn<Value>::valueOf(500); }); },
               [&](auto& oracle) { oracle.set(p, NumberIn<Value>::cut(500)); });
         }
      }
   }
}

// What raises has touched nothing, so that the sweep takes all.
TYPED_TEST(TableFaultTest, changesOfAMarkedTable) {
   for (const auto& world : this->worlds()) {
      for (const auto& p : {world.empty() ? this->host(1) : world.front(), this->host(9)}) {
         eachFailure([&](Source source, std::size_t n) {
            typename TestFixture::Session session;
            this->fill(session, world);
            session.table.mark();
            const bool failed = failsWith(source, n, [&] { TestFixture::put(session.table, p, 1000); });
            EXPECT_EQ("", session.table.audit());
            while (!session.table.sweep(50).done) {
            }
            EXPECT_EQ(failed ? 0u : 1u, session.table.size());
            return failed;
         });
      }
   }
}

TYPED_TEST(TableFaultTest, copies) {
   for (const auto& world : this->worlds()) {
      const std::size_t failures = this->failEach(
         world,
         [&](auto& table) {
            const TypeParam copy(table);
            EXPECT_TRUE(copy == table);
         },
         [](auto&) {});
      EXPECT_TRUE(failures > 0 || world.size() < 30 || std::size(sources) == 1) << "a few routes may need no memory";
      this->failEach(
         world,
         [&](auto& table) {
            TypeParam other;
            TestFixture::put(other, this->host(3), 3);
            other = table;
            EXPECT_TRUE(other == table);
         },
         [](auto&) {});
      if (this->HasFailure()) {
         return;
      }
   }
}

// Of those that change several routes, some may be done; none is lost or doubled.
TYPED_TEST(TableFaultTest, severalAtOnce) {
   using Prefix = typename TestFixture::P;
   const auto all = this->worlds();
   eachFailure([&](Source source, std::size_t n) {
      typename TestFixture::Session to;
      typename TestFixture::Session from;
      TestFixture::fill(to, all.back());
      TestFixture::fill(from, all[3]);
      const std::size_t sum = to.table.size() + from.table.size();
      const bool failed = failsWith(source, n, [&] { to.table.merge(from.table); });
      EXPECT_EQ("", to.table.audit());
      EXPECT_EQ("", from.table.audit());
      EXPECT_EQ(sum, to.table.size() + from.table.size());
      for (const auto& route : from.oracle.all()) {
         EXPECT_TRUE(to.table.contains(route.prefix) || from.table.contains(route.prefix)) << route.prefix;
      }
      return failed;
   });
   eachFailure([&](Source source, std::size_t n) {
      typename TestFixture::Session session;
      TestFixture::fill(session, all.back());
      const std::size_t before = session.table.size();
      const bool failed = failsWith(source, n, [&] { session.table.erase_covered(Prefix()); });
      EXPECT_EQ("", session.table.audit());
      EXPECT_LE(session.table.size(), failed ? before : 0u);
      EXPECT_EQ(session.table.size(),
                static_cast<std::size_t>(std::distance(session.table.begin(), session.table.end())));
      return failed;
   });
}

// Runs `work` on a table of these routes with each allocation failing; `check` sees what is left. How many failed.
template <class Fixture, class Work, class Check>
std::size_t failOn(const std::vector<typename Fixture::P>& world, const Work& work, const Check& check) {
   return eachFailure([&](Source source, std::size_t n) {
      typename Fixture::Session session;
      Fixture::fill(session, world);
      const auto before = session.table.snapshot();
      const bool failed = failsWith(source, n, [&] { work(session.table); });
      EXPECT_EQ("", session.table.audit());
      EXPECT_EQ("", before.audit());
      EXPECT_EQ(world.size(), before.size());
      check(session, failed);
      return failed;
   });
}

// What came before the one that failed is in, whole, and nothing else.
TYPED_TEST(TableFaultTest, insertingARange) {
   using Value = typename TypeParam::mapped_type;
   const auto all = this->worlds();
   const auto& added = all[5];
   std::vector<typename TypeParam::insertable> list;
   for (std::size_t i = 0; i < added.size(); ++i) {
      if constexpr (TypeParam::has_values) {
         list.emplace_back(added[i], NumberIn<Value>::valueOf(static_cast<std::uint32_t>(1000 + i)));
      } else {
         list.push_back(added[i]);
      }
   }
   const auto whole = list;
   std::set<std::size_t> sizes;
   const auto failures = failOn<TestFixture>(
      all[4], [&](auto& table) { table.insert(list); },
      [&](auto& session, bool failed) {
         const std::size_t in = session.table.size() - all[4].size();
         sizes.insert(in);
         EXPECT_EQ(failed, in < added.size());
         for (std::size_t i = 0; i < in; ++i) {
            session.oracle.set(added[i], NumberIn<Value>::cut(static_cast<std::uint32_t>(1000 + i)));
         }
         EXPECT_EQ("", session.wholeFault());
         EXPECT_EQ(whole, list) << "what is the caller's stays whole";
         session.table.insert(list);
         EXPECT_EQ(all[4].size() + added.size(), session.table.size());
      });
   EXPECT_GT(failures, 0u);
   EXPECT_GT(sizes.size(), 1u);
   // Of a table that is made of a range nothing is left.
   eachFailure([&](Source source, std::size_t n) {
      const bool failed = failsWith(source, n, [&] {
         const TypeParam made(list);
         EXPECT_EQ(list.size(), made.size());
      });
      EXPECT_EQ(whole, list);
      return failed;
   });
}

// Each route is in one of the two with its value, or in the first by the rule; what failed goes on when it is repeated.
TYPED_TEST(TableFaultTest, mergesByARule) {
   if constexpr (TypeParam::has_values) {
      using Value = typename TypeParam::mapped_type;
      const auto all = this->worlds();
      for (const bool beside : {false, true}) {
         std::size_t failures = 0;
         failures += eachFailure([&](Source source, std::size_t n) {
            typename TestFixture::Session to;
            typename TestFixture::Session from;
            TestFixture::fill(to, all[3]);
            TestFixture::fill(from, all[5]);
            for (std::size_t i = 0; i < all[3].size(); i += 3) {
               from.assign(all[3][i], 500);
            }
            const auto snapshot = from.table.snapshot();
            auto mine = beside ? to.table.snapshot() : decltype(to.table.snapshot())();
            const auto work = [&] {
               to.table.merge(from.table, [](const auto&, Value& value, Value&& theirs) {
                  value =
                     NumberIn<Value>::valueOf(NumberIn<Value>::numberOf(value) + NumberIn<Value>::numberOf(theirs));
               });
            };
            const bool failed = failsWith(source, n, work);
            EXPECT_EQ("", to.table.audit());
            EXPECT_EQ("", from.table.audit());
            work();
            EXPECT_EQ("", to.table.audit());
            EXPECT_TRUE(from.table.empty());
            EXPECT_EQ(from.oracle.size(), snapshot.size());
            EXPECT_EQ(beside ? all[3].size() : 0u, mine.size());
            for (const auto& route : from.oracle.all()) {
               to.oracle.set(route.prefix,
                             (to.oracle.has(route.prefix) ? to.oracle.get(route.prefix)->number : 0) + route.number);
            }
            EXPECT_EQ("", to.wholeFault()) << "no route is lost, doubled, or ruled on twice";
            return failed;
         });
         EXPECT_GT(failures, 0u);
      }
   }
}

// Beside a snapshot an erase takes memory; what failed leaves those not yet erased, in order.
TYPED_TEST(TableFaultTest, erasesOfSeveralBesideASnapshot) {
   using Prefix = typename TestFixture::P;
   auto world = this->worlds().back();
   world.resize(sized<std::size_t>(30, 60, 200));
   const auto isLong = [](const auto& route) { return routetrie::Impl::prefixOf(route).len() % 2 == 0; };
   const auto each = [&](const auto& erase, const auto& goes) {
      std::set<std::size_t> sizes;
      const auto failures = failOn<TestFixture>(
         world, [&](auto& table) { erase(table); },
         [&](auto& session, bool failed) {
            std::size_t left = 0;
            std::size_t toGo = 0;
            bool isGone = true;
            for (const auto& route : session.oracle.all()) {
               const bool there = session.table.contains(route.prefix);
               left += there ? 1u : 0u;
               if (!goes(route.prefix)) {
                  EXPECT_TRUE(there) << route.prefix;
                  continue;
               }
               EXPECT_TRUE(isGone || there) << "one behind the one that failed is gone: " << route.prefix;
               isGone = isGone && !there;
               toGo += there ? 1u : 0u;
               if (!there) {
                  session.oracle.remove(route.prefix);
               }
            }
            sizes.insert(left);
            EXPECT_EQ(failed, toGo != 0);
            EXPECT_EQ("", session.wholeFault());
            erase(session.table);
            EXPECT_EQ(left - toGo, session.table.size());
            EXPECT_EQ("", session.table.audit());
         });
      if (std::size(sources) > 1) {
         EXPECT_GT(failures, 5u);
         EXPECT_GT(sizes.size(), 5u);
      }
   };
   each([&](auto& table) { erase_if(table, isLong); }, [](const Prefix& p) { return p.len() % 2 == 0; });
   each([](auto& table) { table.erase_covered(Prefix()); }, [](const Prefix&) { return true; });
}

// The iterator that was given still stands where it stood.
TYPED_TEST(TableFaultTest, erasesAtAnIterator) {
   const auto world = this->worlds().back();
   for (const std::size_t which : {std::size_t{0}, world.size() / 2, world.size() - 1}) {
      std::optional<typename TypeParam::iterator> at;
      const auto failures = failOn<TestFixture>(
         world,
         [&](auto& table) {
            at = table.find(world[which]);
            table.erase(*at);
         },
         [&](auto& session, bool failed) {
            const auto next = session.oracle.after(world[which]);
            if (failed) {
               EXPECT_EQ("", session.wholeFault());
               EXPECT_EQ(world[which], routetrie::Impl::prefixOf(**at));
               EXPECT_EQ(next, session.maybe(session.table.erase(*at)));
            }
            session.oracle.remove(world[which]);
            EXPECT_EQ("", session.wholeFault());
         });
      EXPECT_TRUE(failures > 0 || std::size(sources) == 1);
   }
}

// A mark that fails leaves the table unmarked, or with the mark that it had.
TYPED_TEST(TableFaultTest, marks) {
   const auto world = this->worlds().back();
   for (const bool again : {false, true}) {
      const auto failures = failOn<TestFixture>(
         world,
         [&](auto& table) {
            if (again && !table.is_marked()) {
               const auto source = newFailsAt;
               newFailsAt = 0;
               table.mark();
               newFailsAt = source;
               TestFixture::put(table, world.front(), 1000);
            }
            table.mark();
         },
         [&](auto& session, bool failed) {
            EXPECT_EQ(again || !failed, session.table.is_marked());
            if (session.table.is_marked() && !failed) {
               EXPECT_EQ(20u, session.table.untouched(20).size()) << "nothing is touched";
            }
         });
      EXPECT_GT(failures, 0u);
   }
}

// The operations of a table of both families: what fails in one leaves the other as it is as well.
template <class T>
void bothFamiliesFail() {
   using Table = routetrie::table<T>;
   using Session = TableSession<Table>;
   std::mt19937_64 random(seed());
   std::vector<routetrie::prefix> world;
   while (world.size() < 60) {
      const auto length = 8 + static_cast<unsigned>(random() % 25);
      world.push_back(
         routetrie::prefix4::cut(routetrie::prefix4::Bits(static_cast<std::uint32_t>(random())), length));
      world.push_back(
         routetrie::prefix6::cut(routetrie::prefix6::Bits(Corenet::U128{random()} << 64 | random()), 4 * length));
   }
   std::size_t failures = 0;
   const auto each = [&](bool holds, const auto& change, const auto& changed) {
      failures += eachFailure([&](Source source, std::size_t n) {
         Session session;
         for (const auto& p : world) {
            session.add(p, 7);
         }
         const auto snapshot = holds ? session.table.snapshot() : routetrie::snapshot<T>();
         const bool failed = failsWith(source, n, [&] { change(session.table); });
         if (failed) {
            EXPECT_EQ("", session.wholeFault());
            change(session.table);
         }
         changed(session.oracle);
         EXPECT_EQ("", session.wholeFault());
         EXPECT_EQ(holds ? world.size() : 0u, snapshot.size());
         return failed;
      });
   };
   const auto put = [](Table& t, const routetrie::prefix& p) {
      if constexpr (Table::has_values) {
         t.insert_or_assign(p, NumberIn<T>::valueOf(9));
      } else {
         t.insert(p);
      }
   };
   const std::uint32_t nine = NumberIn<T>::cut(9);
   const routetrie::prefix fresh[] = {routetrie::parse<routetrie::prefix>("203.0.113.7/32").value(),
                                      routetrie::parse<routetrie::prefix>("2001:db8::7/128").value()};
   for (const bool holds : {false, true}) {
      for (const auto& p : {world[0], world[1], fresh[0], fresh[1]}) {
         SCOPED_TRACE(fmt::format("{}", p));
         each(
            holds, [&](Table& t) { put(t, p); }, [&](auto& o) { o.set(p, nine); });
         each(
            holds, [&](Table& t) { t.erase(p); }, [&](auto& o) { o.remove(p); });
         each(
            holds,
            [&](Table& t) {
               if (const auto at = t.find(p); at != t.end()) {
                  t.erase(at);
               }
            },
            [&](auto& o) { o.remove(p); });
         if constexpr (Table::has_values) {
            each(
               holds, [&](Table& t) { t.update(p, [](T& value) { value = NumberIn<T>::valueOf(9); }); },
               [&](auto& o) { o.set(p, nine); });
            each(
               holds, [&](Table& t) { t.modify(p, [](T& value) { value = NumberIn<T>::valueOf(9); }); },
               [&](auto& o) {
                  if (o.has(p)) {
                     o.set(p, nine);
                  }
               });
         }
      }
      each(
         holds, [](Table& t) { const auto one = t.snapshot(); }, [](auto&) {});
      each(
         holds, [](Table& t) { EXPECT_TRUE(Table(t) == t); }, [](auto&) {});
      each(
         holds,
         [](Table& t) {
            EXPECT_FALSE(t.is_marked()) << "a mark that failed marks neither family";
            t.mark();
         },
         [](auto&) {});
   }
   EXPECT_GT(failures, 0u);
}
TEST(TableFault, changesOfBothFamilies) {
   bothFamiliesFail<std::string>();
   bothFamiliesFail<std::uint32_t>();
   bothFamiliesFail<void>();
}

// No question takes memory.
TYPED_TEST(TableFaultTest, questionsAllocateNothing) {
   using Prefix = typename TestFixture::P;
   TypeParam other;
   TestFixture::put(other, this->host(5), 1);
   TestFixture::put(other, this->anything(24), 1);
   for (const auto& world : this->worlds()) {
      typename TestFixture::Session session;
      TestFixture::fill(session, world);
      const auto& table = session.table;
      for (const Prefix& p : std::initializer_list<Prefix>{Prefix(), this->host(0), this->anything(20),
                                                           world.empty() ? Prefix() : world.back()}) {
         const auto a = routetrie::first_address(p);
         const std::size_t before = newCalls;
         std::size_t count = 0;
         for (const auto& route : table) {
            count += sizeof route != 0;
         }
         const auto all = [&](auto&& range) {
            for (const auto& route : range) {
               count += sizeof route != 0;
            }
         };
         all(table.covered(p));
         all(table.children(p));
         all(table.covering(p));
         all(table.covering_nearest(a));
         const auto add = [&](bool is) { count += is ? 1 : 0; };
         add(table.match(a) || table.match(p) || table.parent(p) || table.shortest_match(a));
         add(table.match_if(a, [](const auto&) { return false; }).has_value());
         add(table.has_longer(p) || table.overlaps(p) || table.contains(p));
         add(table.find(p) != table.end());
         add(table.lower_bound(p) != table.upper_bound(p));
         add(table.same_answer(a).first == a);
         add(table.overlaps(other) || other.overlaps(table));
         all(TestSupport::Between{table.rbegin(), table.rend()});
         all(TestSupport::backwards(table.covered(p)));
         all(TestSupport::backwards(table.children(p)));
         all(TestSupport::backwards(table.covering(p)));
         for (std::optional<typename TypeParam::token_type> token(std::in_place); token;) {
            auto page = table.walk(7, *token);
            all(page);
            token = page.next();
         }
         all(table.walk_covered(p, 7));
         if constexpr (TypeParam::has_values) {
            add(table.lookup(a) != nullptr);
            const typename TypeParam::address_type asked[] = {a};
            const typename TypeParam::mapped_type* answers[1];
            table.lookup_bulk(asked, answers);
         }
         EXPECT_EQ(before, newCalls) << p << ", " << count;
      }
   }
}

TEST(TableFault, questionsOfBothFamiliesAllocateNothing) {
   routetrie::table<std::string> t;
   for (unsigned i = 0; i < 200; ++i) {
      t.try_emplace(routetrie::make_prefix(routetrie::address4(i << 20), 8 + i % 25, routetrie::host_bits::cut),
                    "four");
      t.try_emplace(routetrie::make_prefix(routetrie::to_address6(std::uint64_t{i} << 40, i), 8 + i % 121,
                                           routetrie::host_bits::cut),
                    "six");
   }
   const routetrie::table<std::string> other{{routetrie::prefix4::fromString("240.0.0.0/8"), "alone"}};
   for (const auto& p : {t.begin()->prefix, t.rbegin()->prefix, routetrie::prefix(routetrie::prefix6())}) {
      const routetrie::address a = p.af() == Corenet::ipv4
                                      ? routetrie::address(routetrie::last_address(p.v4Prefix()))
                                      : routetrie::address(routetrie::last_address(p.v6Prefix()));
      const std::size_t before = newCalls;
      std::size_t count = 0;
      const auto all = [&](auto&& range) {
         for (const auto& route : range) {
            count += sizeof route != 0;
         }
      };
      const auto add = [&](bool is) { count += is ? 1 : 0; };
      all(t);
      all(TestSupport::Between{t.rbegin(), t.rend()});
      all(t.covered(p));
      all(t.children(p));
      all(t.covering(p));
      all(t.covering_nearest(a));
      all(TestSupport::backwards(t.covered(p)));
      all(t.walk(7));
      all(t.walk_covered(p, 7));
      add(t.match(a) || t.match(p) || t.parent(p) || t.shortest_match(a));
      add(t.match_if(a, [](const auto&) { return false; }).has_value());
      add(t.has_longer(p) || t.overlaps(p) || t.overlaps(other) || t.contains(p));
      add(t.find(p) != t.end() && t.lower_bound(p) != t.upper_bound(p));
      add(t.same_answer(a).has_value());
      add(t.lookup(a) != nullptr);
      const routetrie::address asked[] = {a, a};
      const std::string* answers[2];
      t.lookup_bulk(asked, answers);
      EXPECT_EQ(before, newCalls) << p << ", " << count;
   }
}

}  // namespace TableFaultTest
}  // namespace Property
