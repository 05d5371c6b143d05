// Shared tables when memory runs out: each allocation of each operation fails in turn. What readers have locked stays as it is; what they
// see from then on is what was there before or, of an operation on several routes, some of what it does; and the same operation, with
// memory enough, then does the rest. Changes of one route and slices: tests/property/TableFaultTest.cpp.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/shared_table.h"
#include "tests/property/Faults.h"
#include "tests/property/Scale.h"
#include "tests/property/TableOracle.h"

namespace Property {
namespace SharedTableFaultTest {

using namespace routetrie::literals;
using routetrie::basic_shared_table;
using routetrie::table4;
using routetrie::table6;

// All of an operation is done, or nothing; or some of it may be.
enum class Done { allOrNothing, some };

template <class Table>
class SharedTableFaultTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;
   using Word = typename P::Bits::Word;
   using Shared = basic_shared_table<Table>;

   SharedTableFaultTest() : random(seed()) {}

   P anything() {
      auto word = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         word = Word{random()} << 64 | word;
      }
      return P::cut(typename P::Bits(word), 4 + static_cast<unsigned>(random() % (P::width - 3)));
   }
   std::vector<P> some(unsigned routes) {
      std::vector<P> list;
      for (unsigned i = 0; i < routes; ++i) {
         list.push_back(anything());
         if (i % 3 == 0) {
            list.push_back(P::cut(list.back().bits(), list.back().len() / 2u));
         }
      }
      return list;
   }
   static Table tableOf(const std::vector<P>& prefixes, std::uint32_t number) {
      Table t;
      for (const P& p : prefixes) {
         put(t, p, number);
      }
      return t;
   }
   template <class Any>
   static void put(Any& t, const P& p, std::uint32_t number) {
      if constexpr (Table::has_values) {
         t.insert_or_assign(p, NumberIn<T>::valueOf(number));
      } else {
         t.insert(p);
      }
   }
   // What insert() of a range takes.
   static auto listOf(const std::vector<P>& prefixes, std::uint32_t number) {
      std::vector<typename Table::insertable> list;
      for (const P& p : prefixes) {
         if constexpr (Table::has_values) {
            list.push_back({p, NumberIn<T>::valueOf(number)});
         } else {
            list.push_back(p);
         }
      }
      return list;
   }

   static bool isSame(const auto& at, const auto& end, const auto& route) {
      if (at == end) {
         return false;
      }
      if constexpr (Table::has_values) {
         return (*at).value == route.value;
      } else {
         return true;
      }
   }
   // Each prefix has what one of the two has for it.
   static std::string between(const auto& now, const Table& before, const Table& after) {
      for (const auto& route : now) {
         const P p = routetrie::Impl::prefixOf(route);
         if (!isSame(before.find(p), before.end(), route) && !isSame(after.find(p), after.end(), route)) {
            return fmt::format("{} was never so", p);
         }
      }
      for (const auto& route : before) {
         const P p = routetrie::Impl::prefixOf(route);
         if (after.contains(p) && !now.contains(p)) {
            return fmt::format("{} is lost", p);
         }
      }
      return "";
   }

   // The change of a shared table with these routes, with each allocation failing; of a plain one without. `first` goes before each. How
   // many failed.
   std::size_t failEach(Done done, const auto& change, const auto& changePlain, const auto& first) {
      std::size_t failures = 0;
      for (const unsigned routes : {0u, 3u, 40u}) {
         const std::vector<P> world = some(routes);
         failures += eachFailure([&](Source source, std::size_t n) {
            SCOPED_TRACE(fmt::format("{} routes", routes));
            const Table before = tableOf(world, 1);
            Table after(before);
            Shared shared{Table(before)};
            first(shared);
            changePlain(after);
            const auto reader = shared.reader();
            const auto locked = reader.lock();
            const bool failed = failsWith(source, n, [&] { change(shared); });
            EXPECT_EQ("", shared.audit());
            EXPECT_TRUE(*locked == before) << "a version stays as it is";
            EXPECT_EQ("", locked->audit());
            if (failed) {
               if (done == Done::allOrNothing) {
                  EXPECT_TRUE(*reader.lock() == before);
               } else {
                  EXPECT_EQ("", between(*reader.lock(), before, after));
               }
               change(shared);
            }
            EXPECT_TRUE(*reader.lock() == after);
            EXPECT_EQ("", shared.audit());
            EXPECT_TRUE(*locked == before);
            return failed;
         });
      }
      return failures;
   }
   std::size_t failEach(Done done, const auto& change, const auto& changePlain) {
      return failEach(done, change, changePlain, [](Shared&) {});
   }

   std::mt19937_64 random;
};

using SharedFaultTables =
   testing::Types<table4<std::uint32_t>, table6<std::uint64_t>, table4<std::string>, table6<void>>;
TYPED_TEST_SUITE(SharedTableFaultTest, SharedFaultTables);

TYPED_TEST(SharedTableFaultTest, oneRoute) {
   using Value = typename TypeParam::mapped_type;
   if constexpr (TypeParam::has_values) {
      const auto p = this->anything();
      const auto changeOf = [](auto& t, const typename TestFixture::P& of) {
         t.update(of, [](Value& value) { value = NumberIn<Value>::valueOf(7); });
      };
      const auto change = [&](auto& t) { changeOf(t, p); };
      EXPECT_GT(this->failEach(Done::allOrNothing, change, change), 0u);
      // One that is there, too.
      EXPECT_GT(this->failEach(
                   Done::allOrNothing,
                   [&](auto& t) {
                      const auto reader = t.reader();
                      const auto routes = reader.lock();
                      if (!routes->empty()) {
                         changeOf(t, routetrie::Impl::prefixOf(*routes->begin()));
                      }
                   },
                   [&](auto& t) {
                      if (!t.empty()) {
                         changeOf(t, routetrie::Impl::prefixOf(*t.begin()));
                      }
                   }),
                0u);
      const auto emplace = [&](auto& t) { t.try_emplace(p, NumberIn<Value>::valueOf(8)); };
      EXPECT_GT(this->failEach(Done::allOrNothing, emplace, emplace), 0u);
   }
}

TYPED_TEST(SharedTableFaultTest, severalRoutes) {
   const auto list = this->listOf(this->some(20), 5);
   const auto insert = [&](auto& t) { t.insert(list); };
   EXPECT_GT(this->failEach(Done::some, insert, insert), 0u);
   using Prefix = typename TestFixture::P;
   const Prefix half = Prefix::cut(typename Prefix::Bits(), 1);
   const auto erase = [&](auto& t) { t.erase_covered(half); };
   EXPECT_GT(this->failEach(Done::some, erase, erase), 0u);
   const auto isOdd = [](const auto& route) { return routetrie::Impl::prefixOf(route).len() % 2 == 1; };
   EXPECT_GT(this->failEach(
                Done::some, [&](auto& t) { t.erase_if(isOdd); }, [&](auto& t) { erase_if(t, isOdd); }),
             0u);
}

TYPED_TEST(SharedTableFaultTest, batches) {
   using Prefix = typename TestFixture::P;
   const auto more = this->some(6);
   const auto list = this->listOf(more, 11);
   const auto work = [&](auto& t) {
      for (const Prefix& p : more) {
         this->put(t, p, 9);
      }
      t.erase_covered(Prefix::cut(more[1].bits(), 2));
      this->put(t, more[0], 10);
      t.clear();
      t.insert(list);
   };
   const auto batch = [&](auto& t) { t.batch([&](auto& w) { work(w); }); };
   // In between a route may have a value, or be there, that neither state has: so what is published is what the batch had done.
   std::size_t failures = 0;
   failures += eachFailure([&](Source source, std::size_t n) {
      const TypeParam before = this->tableOf(this->some(20), 1);
      typename TestFixture::Shared shared{TypeParam(before)};
      const auto reader = shared.reader();
      const auto locked = reader.lock();
      std::optional<TypeParam> seen;
      const bool failed = failsWith(source, n, [&] {
         shared.batch([&](auto& w) {
            try {
               work(w);
            } catch (...) {
               failAt(source, 0);
               seen.emplace(w.table());
               throw;
            }
         });
      });
      EXPECT_TRUE(*locked == before);
      EXPECT_EQ("", shared.audit());
      if (seen) {
         EXPECT_TRUE(*reader.lock() == *seen) << "what it had done is published";
      } else if (failed) {
         EXPECT_TRUE(*reader.lock() == before) << "it had not begun";
      }
      batch(shared);
      TypeParam after(before);
      work(after);
      EXPECT_TRUE(*reader.lock() == after);
      EXPECT_EQ("", shared.audit());
      return failed;
   });
   EXPECT_GT(failures, 0u);
}

// What is taken over is in one of the two tables, whatever fails.
TYPED_TEST(SharedTableFaultTest, merges) {
   using Value = typename TypeParam::mapped_type;
   using Prefix = typename TestFixture::P;
   const auto both = this->some(12);
   const auto theirs = this->some(12);
   const auto merge = [&](bool hasRule, const auto& work) {
      std::size_t failures = 0;
      failures += eachFailure([&](Source source, std::size_t n) {
         const TypeParam before = this->tableOf(both, 1);
         TypeParam from = this->tableOf(both, 2);
         for (const Prefix& p : theirs) {
            this->put(from, p, 2);
         }
         const TypeParam all(from);
         TypeParam after(before);
         TypeParam rest(from);
         work(after, rest);
         typename TestFixture::Shared shared{TypeParam(before)};
         const auto reader = shared.reader();
         const auto locked = reader.lock();
         const bool failed = failsWith(source, n, [&] { work(shared, from); });
         EXPECT_EQ("", shared.audit());
         EXPECT_EQ("", from.audit());
         EXPECT_TRUE(*locked == before);
         EXPECT_EQ("", this->between(*reader.lock(), before, after));
         for (const auto& route : all) {
            const Prefix p = routetrie::Impl::prefixOf(route);
            const auto now = reader.lock();
            EXPECT_TRUE(from.contains(p) || this->isSame(now->find(p), now->end(), route)) << p;
         }
         if (!hasRule) {
            EXPECT_EQ(before.size() + all.size(), reader.size() + from.size()) << "none is lost or doubled";
         }
         work(shared, from);
         EXPECT_TRUE(*reader.lock() == after);
         EXPECT_TRUE(from == rest);
         EXPECT_EQ("", shared.audit());
         return failed;
      });
      EXPECT_GT(failures, 0u);
   };
   merge(false, [](auto& to, TypeParam& from) { to.merge(from); });
   if constexpr (TypeParam::has_values) {
      merge(true, [](auto& to, TypeParam& from) {
         to.merge(from, [](const Prefix&, Value& mine, Value&& other) { mine = std::move(other); });
      });
   }
}

TYPED_TEST(SharedTableFaultTest, wholeTables) {
   const TypeParam next = this->tableOf(this->some(15), 3);
   EXPECT_GT(this->failEach(
                Done::allOrNothing, [](auto& t) { t.clear(); }, [](auto& t) { t.clear(); }),
             0u);
   EXPECT_GT(this->failEach(
                Done::allOrNothing, [&](auto& t) { t.replace(TypeParam(next)); }, [&](auto& t) { t = next; }),
             0u);
}

// A mark that could not be set leaves the one before, with what it knows.
TYPED_TEST(SharedTableFaultTest, marks) {
   using Prefix = typename TestFixture::P;
   std::size_t failures = 0;
   const auto world = this->some(10);
   for (const bool wasMarked : {false, true}) {
      failures += eachFailure([&](Source source, std::size_t n) {
         SCOPED_TRACE(fmt::format("marked {}, allocation {}", wasMarked, n));
         typename TestFixture::Shared shared{this->tableOf(world, 1)};
         const std::size_t size = shared.reader().size();
         if (wasMarked) {
            shared.mark();
            this->put(shared, world[0], 2);
         }
         const bool failed = failsWith(source, n, [&] { shared.mark(); });
         EXPECT_EQ(wasMarked || !failed, shared.is_marked());
         EXPECT_EQ("", shared.audit());
         EXPECT_EQ(size, shared.reader().size());
         if (!shared.is_marked()) {
            shared.mark();
         }
         while (!shared.sweep(7).done) {
         }
         EXPECT_EQ(failed && wasMarked ? 1u : 0u, shared.reader().size());
         EXPECT_EQ("", shared.audit());
         return failed;
      });
   }
   EXPECT_GT(failures, 0u);
   // What clear() fails to do leaves the mark and the routes.
   eachFailure([&](Source source, std::size_t n) {
      typename TestFixture::Shared shared{this->tableOf(world, 1)};
      shared.mark();
      this->put(shared, world[0], 2);
      const bool failed = failsWith(source, n, [&] { shared.clear(); });
      EXPECT_TRUE(shared.is_marked());
      this->put(shared, Prefix(), 2);
      while (!shared.sweep(7).done) {
      }
      EXPECT_EQ(failed ? 2u : 1u, shared.reader().size());
      return failed;
   });
}

TYPED_TEST(SharedTableFaultTest, snapshots) {
   using Prefix = typename TestFixture::P;
   std::size_t failures = 0;
   failures += eachFailure([&](Source source, std::size_t n) {
      const TypeParam before = this->tableOf(this->some(20), 1);
      typename TestFixture::Shared shared{TypeParam(before)};
      std::vector<decltype(shared.snapshot())> held;
      held.reserve(3);
      const bool failed = failsWith(source, n, [&] {
         held.push_back(shared.snapshot());
         held.push_back(shared.snapshot());
      });
      this->put(shared, Prefix(), 5);
      held.push_back(shared.snapshot());
      EXPECT_EQ("", shared.audit());
      for (const auto& snapshot : held) {
         EXPECT_EQ("", snapshot.audit());
         EXPECT_TRUE(snapshot == before || &snapshot == &held.back());
      }
      EXPECT_TRUE(held.back() == *shared.reader().lock());
      return failed;
   });
   EXPECT_GT(failures, 0u);
}

TYPED_TEST(SharedTableFaultTest, construction) {
   std::size_t failures = 0;
   const TypeParam routes = this->tableOf(this->some(20), 1);
   failures += eachFailure([&](Source source, std::size_t n) {
      std::optional<typename TestFixture::Shared> shared;
      TypeParam copy(routes);
      const bool failed = failsWith(source, n, [&] { shared.emplace(std::move(copy)); });
      EXPECT_EQ(!failed, shared.has_value());
      if (shared) {
         EXPECT_TRUE(*shared->reader().lock() == routes);
         EXPECT_EQ("", shared->audit());
      }
      return failed;
   });
   EXPECT_GT(failures, 0u);
}

// Of both families, one of which may be done when the other fails.
TEST(SharedTableFaults, bothFamilies) {
   using routetrie::shared_table;
   using routetrie::table;
   const table<std::string> before{
      {"10.0.0.0/8"_prefix, "four"}, {"10.1.0.0/16"_prefix, "four"}, {"2001:db8::/32"_prefix, "six"}};
   const table<std::string> next{{"11.0.0.0/8"_prefix, "next"}, {"2001:db9::/32"_prefix, "next"}};
   std::size_t failures = 0;
   const auto each = [&](const auto& change, const table<std::string>& after, bool marks) {
      failures += eachFailure([&](Source source, std::size_t n) {
         std::optional<shared_table<std::string>> made;
         table<std::string> copy(before);
         const bool failed = failsWith(source, n, [&] { made.emplace(std::move(copy)); });
         return failed;
      });
      failures += eachFailure([&](Source source, std::size_t n) {
         shared_table<std::string> t{table<std::string>(before)};
         const auto reader = t.reader();
         const auto locked = reader.lock();
         const bool failed = failsWith(source, n, [&] { change(t); });
         EXPECT_EQ("", t.audit());
         EXPECT_TRUE(*locked == before);
         EXPECT_TRUE(*reader.lock() == (failed ? before : after));
         EXPECT_EQ(marks && !failed, t.is_marked()) << "of both families or of none";
         change(t);
         EXPECT_TRUE(*reader.lock() == after);
         EXPECT_EQ("", t.audit());
         return failed;
      });
   };
   each([](auto& t) { t.clear(); }, {}, false);
   each([&](auto& t) { t.replace(table<std::string>(next)); }, next, false);
   each([](auto& t) { t.mark(); }, before, true);
   each([](auto& t) { static_cast<void>(t.snapshot()); }, before, false);
   EXPECT_GT(failures, 0u);
}

}  // namespace SharedTableFaultTest
}  // namespace Property
