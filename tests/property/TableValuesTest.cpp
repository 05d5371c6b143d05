// Values of every kind in a table: the construction of each is matched by one destruction, whatever the table does with them; and
// a value that raises at any of its steps leaves the table, and what lives, as it was.
#include "tests/property/TableValues.h"

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/property/Scale.h"

namespace Property {
namespace TableValuesTest {

using routetrie::prefix4;
using routetrie::prefix6;
using routetrie::table4;
using routetrie::table6;

template <class P>
P randomPrefix(std::mt19937_64& random) {
   using Word = typename P::Bits::Word;
   // Few bits vary, at three depths, so that routes meet.
   const unsigned length = static_cast<unsigned>(random() % 3 * (P::width / 3) + random() % 6);
   const auto below = [&](unsigned limit) { return static_cast<Word>(random() % limit); };
   const auto word = static_cast<Word>(below(64) << (P::width - 6) | below(16) << (P::width / 2) | below(8));
   return P::cut(typename P::Bits(word), std::min<unsigned>(length, P::width));
}

template <class Table>
class TableValuesTest : public testing::Test {
  public:
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;
   using Session = TableSession<Table>;
   static constexpr bool copies = std::is_copy_constructible_v<T>;

   TableValuesTest() : random(seed()) { ValueLog::fault.clear(); }
   ~TableValuesTest() override {
      EXPECT_EQ("", ValueLog::fault);
      EXPECT_EQ(0u, ValueLog::live.size()) << "values outlive the tables";
   }

   // The table holds what the oracle holds, and no more values live than that.
   static std::string fault(Session& session) {
      std::string text = session.wholeFault();
      if (text.empty() && ValueLog::live.size() != session.oracle.size()) {
         text = fmt::format("{} values live, of {} routes", ValueLog::live.size(), session.oracle.size());
      }
      return text.empty() ? ValueLog::fault : text;
   }

   static void fill(Session& session, std::mt19937_64& random, std::size_t routes) {
      for (std::size_t i = 0; i < routes; ++i) {
         const P p = randomPrefix<P>(random);
         const auto number = static_cast<std::uint32_t>(i);
         session.oracle.add(p, number);
         session.table.try_emplace(p, number);
      }
   }

   // Runs the change on a table with each of its steps raising in turn; the oracle changes once it succeeds. How many raised.
   template <class Change, class Changed>
   std::size_t raiseEach(std::size_t routes, const Change& change, const Changed& changed) {
      std::mt19937_64 same(random());
      for (std::size_t n = 1;; ++n) {
         Session session;
         std::mt19937_64 repeated = same;
         fill(session, repeated, routes);
         bool raised = false;
         ValueLog::raisesAt = n;
         try {
            change(session.table);
         } catch (const Raised&) {
            raised = true;
         }
         ValueLog::raisesAt = 0;
         if (raised) {
            EXPECT_EQ("", fault(session)) << "step " << n << " raised";
            change(session.table);
         }
         changed(session.oracle);
         EXPECT_EQ("", fault(session)) << "step " << n;
         if (!raised || testing::Test::HasFailure()) {
            return n - 1;
         }
      }
   }

   std::mt19937_64 random;
};

struct ValueName {
   template <class Table>
   static std::string GetName(int) {
      using T = typename Table::mapped_type;
      return std::string(Table::prefix_type::width == 32 ? "Ipv4" : "Ipv6") +
             (std::is_same_v<T, Copyable>       ? "Copyable"
              : std::is_same_v<T, MoveOnly>     ? "MoveOnly"
              : std::is_same_v<T, MovesRaising> ? "MovesRaising"
              : std::is_same_v<T, Overaligned>  ? "Overaligned"
                                                : "MovesOnlyRaising");
   }
};
using Tables = testing::Types<table4<Copyable>, table6<MoveOnly>, table6<MovesRaising>, table4<Overaligned>,
                              table4<MovesOnlyRaising>>;
TYPED_TEST_SUITE(TableValuesTest, Tables, ValueName);

TYPED_TEST(TableValuesTest, eachLivesOnceAsLongAsItsRoute) {
   using Value = typename TypeParam::mapped_type;
   using Prefix = typename TypeParam::prefix_type;
   typename TestFixture::Session session;
   auto& dice = this->random;
   for (int i = 0; i < sized(300, 2000, 10'000); ++i) {
      const auto p = randomPrefix<Prefix>(dice);
      const auto number = static_cast<std::uint32_t>(dice() % 100);
      switch (dice() % 8) {
         case 0:
         case 1: session.add(p, number); break;
         case 2: session.assign(p, number); break;
         case 3: session.remove(p); break;
         case 4: session.removeAt(p); break;
         case 5:
            session.oracle.set(p, (session.oracle.has(p) ? session.oracle.get(p)->number : 0) + 1);
            session.table.update(p, [](Value& value) { value.numberIs(value.number() + 1); });
            break;
         case 6:
            if (dice() % 40 == 0) {
               session.removeCovered(p);
            }
            break;
         default:
            if (dice() % 100 == 0) {
               session.clear();
            } else if (dice() % 20 == 0) {
               TypeParam moved(std::move(session.table));
               EXPECT_TRUE(session.table.empty());
               session.table = std::move(moved);
            }
            break;
      }
      ASSERT_EQ("", this->fault(session)) << "after op " << i;
   }
   if constexpr (TestFixture::copies) {
      const TypeParam copy(session.table);
      EXPECT_TRUE(copy == session.table);
      EXPECT_EQ(2 * session.oracle.size(), ValueLog::live.size());
      TypeParam assigned;
      assigned.try_emplace(Prefix(), 1u);
      assigned = copy;
      EXPECT_TRUE(copy == assigned);
      // What is free in a copy is used again, and nothing twice.
      assigned.erase_covered(Prefix());
      EXPECT_EQ(2 * session.oracle.size(), ValueLog::live.size());
   }
}

TYPED_TEST(TableValuesTest, whatRaisesChangesNothing) {
   using Value = typename TypeParam::mapped_type;
   using Prefix = typename TypeParam::prefix_type;
   for (const std::size_t routes : {0u, 1u, 8u, 9u, 60u}) {
      for (int round = 0; round < sized(1, 3, 30); ++round) {
         const auto p = randomPrefix<Prefix>(this->random);
         const auto add = [&](auto& oracle) { oracle.add(p, 1000); };
         EXPECT_LE(routes == 0 ? 1u : 0u, this->raiseEach(
                                             routes, [&](auto& table) { table.try_emplace(p, 1000u); }, add));
         this->raiseEach(
            routes, [&](auto& table) { table.insert(std::pair<Prefix, Value>(p, Value(1000))); }, add);
         const auto set = [&](auto& oracle) { oracle.set(p, 1000); };
         EXPECT_LE(1u, this->raiseEach(
                          routes, [&](auto& table) { table.insert_or_assign(p, Value(1000)); }, set));
         if constexpr (TestFixture::copies) {
            this->raiseEach(
               routes,
               [&](auto& table) {
                  const Value value(1000);
                  table.insert_or_assign(p, value);
               },
               set);
            // A change that raises when it has already changed the value that it was given.
            this->raiseEach(
               routes,
               [&](auto& table) {
                  table.update(p, [](Value& value) {
                     value.numberIs(1000);
                     ValueLog::step();
                  });
               },
               set);
            this->raiseEach(
               routes, [&](auto& table) { TypeParam copy(table), other(copy); }, [](auto&) {});
            this->raiseEach(
               routes,
               [&](auto& table) {
                  TypeParam other;
                  other.try_emplace(p, 1u);
                  other = table;
               },
               [](auto&) {});
         } else {
            // Of one that cannot be copied, only what raises before it is changed leaves it whole.
            this->raiseEach(
               routes, [&](auto& table) { table.update(p, [](Value& value) { value.numberIs(1000); }); }, set);
         }
      }
   }
}

// Routes that were taken over are here, the others there; a value that raises on its way is still in one of the two.
TYPED_TEST(TableValuesTest, aMergeThatRaisesLosesNothing) {
   for (std::size_t n = 1;; ++n) {
      typename TestFixture::Session to;
      typename TestFixture::Session from;
      std::mt19937_64 same(7);
      TestFixture::fill(to, same, 20);
      TestFixture::fill(from, same, 40);
      bool raised = false;
      ValueLog::raisesAt = n;
      try {
         to.table.merge(from.table);
      } catch (const Raised&) {
         raised = true;
      }
      ValueLog::raisesAt = 0;
      EXPECT_EQ(to.oracle.size() + from.oracle.size(), to.table.size() + from.table.size());
      EXPECT_EQ("", to.table.audit());
      EXPECT_EQ("", from.table.audit());
      for (const auto& route : from.oracle.all()) {
         const auto at = from.table.find(route.prefix);
         if (at != from.table.end()) {
            ASSERT_EQ(route.number, at->value.number()) << route.prefix << ", step " << n;
         } else {
            ASSERT_EQ(route.number, to.table.find(route.prefix)->value.number()) << route.prefix << ", step " << n;
         }
      }
      if (!raised || testing::Test::HasFailure()) {
         EXPECT_EQ(n > 1, (std::is_same_v<typename TypeParam::mapped_type, MovesRaising> ||
                           std::is_same_v<typename TypeParam::mapped_type, MovesOnlyRaising>));
         break;
      }
   }
}

//--- values in the nodes, and others that need no log ---

template <class Table>
class TableSmallValuesTest : public testing::Test {};

struct Nothing {
   friend bool operator==(Nothing, Nothing) = default;
};
struct Three {
   char bytes[3];
};
struct NoDefault {
   explicit NoDefault(std::uint32_t n) : number(n) {}
   explicit operator std::uint32_t() const { return number; }
   std::uint32_t number;
};
enum class Kind : std::uint16_t {};
}  // namespace TableValuesTest

template <>
struct NumberIn<TableValuesTest::Nothing> {
   static TableValuesTest::Nothing valueOf(std::uint32_t) { return {}; }
   static std::uint32_t numberOf(TableValuesTest::Nothing) { return 0; }
   static std::uint32_t cut(std::uint32_t) { return 0; }
};
template <>
struct NumberIn<TableValuesTest::Three> {
   static TableValuesTest::Three valueOf(std::uint32_t n) {
      return {{static_cast<char>(n), static_cast<char>(n >> 8), static_cast<char>(n >> 16)}};
   }
   static std::uint32_t numberOf(const TableValuesTest::Three& value) {
      return static_cast<std::uint8_t>(value.bytes[0]) |
             static_cast<std::uint32_t>(static_cast<std::uint8_t>(value.bytes[1])) << 8 |
             static_cast<std::uint32_t>(static_cast<std::uint8_t>(value.bytes[2])) << 16;
   }
   static std::uint32_t cut(std::uint32_t n) { return n & 0xffffff; }
};
template <>
struct NumberIn<double> {
   static double valueOf(std::uint32_t n) { return n + 0.5; }
   static std::uint32_t numberOf(double value) { return static_cast<std::uint32_t>(value - 0.5); }
   static std::uint32_t cut(std::uint32_t n) { return n; }
};

namespace TableValuesTest {

using SmallTables = testing::Types<table4<std::uint8_t>, table6<Kind>, table4<Three>, table6<double>, table6<Nothing>,
                                   table4<NoDefault>, table6<void>>;
TYPED_TEST_SUITE(TableSmallValuesTest, SmallTables);

TYPED_TEST(TableSmallValuesTest, agreesWithTheOracle) {
   using P = typename TypeParam::prefix_type;
   using T = typename TypeParam::mapped_type;
   static_assert(std::is_void_v<T> || std::is_same_v<T, NoDefault> || std::is_default_constructible_v<T>);
   std::mt19937_64 random(seed());
   TableSession<TypeParam> session;
   for (int i = 0; i < sized(300, 2000, 10'000); ++i) {
      const auto p = randomPrefix<P>(random);
      const auto number = static_cast<std::uint32_t>(random());
      switch (random() % 4) {
         case 0: session.add(p, number); break;
         case 1: session.assign(p, number); break;
         case 2: session.remove(p); break;
         default: ASSERT_EQ("", session.faultAt(p)); break;
      }
      ASSERT_EQ("", session.wholeFault());
   }
}

// What neither moves nor copies is made in its place, and stays there.
TEST(TableOfImmovables, keepsThem) {
   struct Locked {
      explicit Locked(int n) : number(n) {}
      std::mutex mutex;
      int number;
   };
   table6<Locked> table;
   std::vector<const Locked*> places;
   for (unsigned i = 0; i < 100; ++i) {
      const prefix6 p = prefix6::cut(prefix6::Bits(Corenet::U128{i} << 120), 8 + i % 3);
      const auto [at, added] = table.try_emplace(p, static_cast<int>(i));
      ASSERT_TRUE(added);
      places.push_back(&at->value);
   }
   for (unsigned i = 0; i < 100; ++i) {
      const prefix6 p = prefix6::cut(prefix6::Bits(Corenet::U128{i} << 120), 8 + i % 3);
      EXPECT_EQ(places[i], &table.find(p)->value);
      EXPECT_EQ(static_cast<int>(i), table.find(p)->value.number);
   }
   table6<Locked> moved(std::move(table));
   EXPECT_EQ(100u, moved.size());
   EXPECT_EQ(0u, table.size());
   table = std::move(moved);
   EXPECT_EQ(50u + 50u, table.erase_covered(prefix6()));
}

}  // namespace TableValuesTest
}  // namespace Property
