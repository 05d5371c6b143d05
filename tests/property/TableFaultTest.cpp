// What is left when memory runs out: each allocation of each operation on a table fails in turn, and the table is as it was; the
// operation is then repeated with memory enough. Allocations of the nodes can be made to fail in builds with fault injection only;
// those of operator new, which slots, copies and texts take, in any.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "routetrie/shared_table.h"
#include "routetrie/table/Tree.h"
#include "tests/property/CountedNew.h"
#include "tests/property/Faults.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"

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
      std::size_t failures = 0;
      for (const Source source : sources) {
         for (std::size_t n = 1;; ++n, ++failures) {
            Session session;
            fill(session, world);
            const Table before(session.table);
            const auto snapshot = holdsSnapshot ? session.table.snapshot() : decltype(session.table.snapshot())();
            const bool failed = failsWith(source, n, [&] { change(session.table); });
            if (failed) {
               EXPECT_EQ("", session.wholeFault()) << "allocation " << n;
               change(session.table);
            }
            if (holdsSnapshot) {
               EXPECT_TRUE(snapshot == before) << "allocation " << n;
               EXPECT_EQ("", snapshot.audit()) << "allocation " << n;
            }
            changed(session.oracle);
            EXPECT_EQ("", session.wholeFault()) << "allocation " << n;
            if (!failed || testing::Test::HasFailure()) {
               break;
            }
         }
      }
      return failures;
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
   for (const Source source : sources) {
      bool failed = true;
      for (std::size_t n = 1; failed && !this->HasFailure(); ++n) {
         typename TestFixture::Session to;
         typename TestFixture::Session from;
         TestFixture::fill(to, all[4]);
         TestFixture::fill(from, all[3]);
         const TypeParam before(from.table);
         const auto snapshot = from.table.snapshot();
         const std::size_t sum = to.table.size() + from.table.size();
         failed = failsWith(source, n, [&] { to.table.merge(from.table); });
         EXPECT_EQ("", to.table.audit());
         EXPECT_EQ("", from.table.audit());
         EXPECT_EQ(sum, to.table.size() + from.table.size()) << "allocation " << n;
         EXPECT_TRUE(snapshot == before);
         to.table.merge(from.table);
         for (const auto& route : from.oracle.all()) {
            EXPECT_TRUE(to.table.contains(route.prefix)) << route.prefix;
         }
      }
   }
}

// A sweep that fails has judged no route that it did not erase; the next slice goes on where it was.
TYPED_TEST(TableFaultTest, sweepsBesideASnapshot) {
   const auto all = this->worlds();
   for (const Source source : sources) {
      bool failed = true;
      for (std::size_t n = 1; failed && !this->HasFailure(); ++n) {
         typename TestFixture::Session session;
         TestFixture::fill(session, all.back());
         const auto snapshot = session.table.snapshot();
         session.table.mark();
         TestFixture::put(session.table, all.back().front(), 1000);
         failed = failsWith(source, n, [&] { session.table.sweep(20); });
         EXPECT_EQ("", session.table.audit()) << "allocation " << n;
         while (!session.table.sweep(50).done) {
         }
         EXPECT_EQ(1u, session.table.size()) << "allocation " << n;
         EXPECT_EQ(session.oracle.size(), snapshot.size());
      }
   }
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
         for (const Source source : sources) {
            for (std::size_t n = 1;; ++n, ++failures) {
               const auto before = reader.lock();
               const bool failed = failsWith(source, n, [&] { change(shared); });
               EXPECT_EQ("", shared.audit()) << "allocation " << n;
               EXPECT_TRUE(*before == session.table) << "allocation " << n;
               if (!failed) {
                  changeTable(session.table);
               }
               EXPECT_TRUE(*reader.lock() == session.table) << "allocation " << n;
               if (!failed || testing::Test::HasFailure()) {
                  break;
               }
            }
         }
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
      for (const Source source : sources) {
         bool failed = true;
         for (std::size_t n = 1; failed && !this->HasFailure(); ++n) {
            SCOPED_TRACE(fmt::format("allocation {}", n));
            typename TestFixture::Session session;
            TestFixture::fill(session, world);
            routetrie::basic_shared_table<TypeParam> shared{TypeParam(session.table)};
            const auto reader = shared.reader();
            shared.mark();
            const auto before = reader.lock();
            failed = failsWith(source, n, [&] { slice(shared); });
            failures += failed ? 1u : 0u;
            EXPECT_EQ("", shared.audit());
            EXPECT_TRUE(*before == session.table) << "a version stays as it is";
            const auto now = reader.lock();
            EXPECT_GE(now->size() + 20, world.size());
            for (const auto& route : *now) {
               const auto was = session.table.find(routetrie::Impl::prefixOf(route));
               ASSERT_NE(session.table.end(), was);
               EXPECT_TRUE(valueOf(*was) == valueOf(route));
            }
            goOn(shared);
            EXPECT_EQ(left, reader.size());
            EXPECT_EQ("", shared.audit());
         }
      }
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
         for (const Source source : sources) {
            bool failed = true;
            for (std::size_t n = 1; failed && !this->HasFailure(); ++n) {
               typename TestFixture::Session session;
               this->fill(session, world);
               session.table.mark();
               failed = failsWith(source, n, [&] { TestFixture::put(session.table, p, 1000); });
               EXPECT_EQ("", session.table.audit()) << "allocation " << n;
               while (!session.table.sweep(50).done) {
               }
               EXPECT_EQ(failed ? 0u : 1u, session.table.size()) << "allocation " << n;
            }
         }
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
   const auto each = [&](const auto& work) {
      for (const Source source : sources) {
         for (std::size_t n = 1; failsWith(source, n, [&] { work(source, n); }) && !this->HasFailure(); ++n) {
         }
      }
   };
   each([&](Source source, std::size_t n) {
      failAt(source, 0);
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
      if (failed) {
         throw std::bad_alloc();
      }
   });
   each([&](Source source, std::size_t n) {
      failAt(source, 0);
      typename TestFixture::Session session;
      TestFixture::fill(session, all.back());
      const std::size_t before = session.table.size();
      const bool failed = failsWith(source, n, [&] { session.table.erase_covered(Prefix()); });
      EXPECT_EQ("", session.table.audit());
      EXPECT_LE(session.table.size(), failed ? before : 0u);
      EXPECT_EQ(session.table.size(),
                static_cast<std::size_t>(std::distance(session.table.begin(), session.table.end())));
      if (failed) {
         throw std::bad_alloc();
      }
   });
}

// No question takes memory.
TYPED_TEST(TableFaultTest, questionsAllocateNothing) {
   using Prefix = typename TestFixture::P;
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

}  // namespace TableFaultTest
}  // namespace Property
