// Erasing in slices beside a slow model, while the table changes between them: each slice looks at the next routes behind the place where
// the one before it ended, as the table then is, and erases those that pass. Of tables of one family and of both, shared and tracked ones.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

#include "routetrie/digest.h"
#include "routetrie/journal.h"
#include "routetrie/shared_table.h"
#include "routetrie/tracked_table.h"
#include "tests/property/Scale.h"

namespace Property {
namespace TableSliceTest {

using routetrie::prefix;
using routetrie::prefix4;
using routetrie::prefix6;

template <class Any>
class TableSliceTest : public testing::Test {
  public:
   using P = typename Any::prefix_type;

   TableSliceTest() : random(seed()) {}

   template <class Family>
   Family anyOf() {
      using Word = typename Family::Bits::Word;
      const unsigned length = random() % 3 == 0 ? Family::width - static_cast<unsigned>(random() % 4)
                                                : static_cast<unsigned>(random() % 12);
      const auto word = static_cast<Word>(Word{static_cast<std::uint32_t>(random() % 512)} << (Family::width - 9) |
                                          Word{static_cast<std::uint32_t>(random() % 4)});
      return Family::cut(typename Family::Bits(word), length);
   }
   P anyPrefix() {
      if constexpr (std::is_same_v<P, prefix>) {
         return random() % 2 == 0 ? prefix(anyOf<prefix4>()) : prefix(anyOf<prefix6>());
      } else {
         return anyOf<P>();
      }
   }
   void change() {
      const P p = anyPrefix();
      const auto value = static_cast<std::uint32_t>(random() % 100);
      if (random() % 3 == 0) {
         ASSERT_EQ(model.erase(p), table.erase(p));
      } else {
         model[p] = value;
         table.insert_or_assign(p, value);
      }
   }
   template <class Test, class Token>
   auto slice(const Test& test, std::size_t budget, const Token& from) {
      if constexpr (requires { table.erase_if(test, budget, from); }) {
         return table.erase_if(test, budget, from);
      } else {
         return erase_if(table, test, budget, from);
      }
   }
   // All routes, of a shared table as a reader has them.
   template <class Routes>
   void expectModel(const Routes& routes) {
      ASSERT_EQ(model.size(), routes.size());
      auto wanted = model.begin();
      for (const auto& route : routes) {
         ASSERT_EQ(wanted->first, route.prefix);
         ASSERT_EQ(wanted->second, route.value);
         ++wanted;
      }
   }
   void compare() {
      if constexpr (requires { table.reader(); }) {
         const auto reader = table.reader();
         expectModel(*reader.lock());
      } else {
         expectModel(table);
      }
      if constexpr (requires { table.digest(); }) {
         ASSERT_EQ(routetrie::digest(table.table()), table.digest());
      }
      ASSERT_EQ("", table.audit());
   }

   std::mt19937_64 random;
   Any table;
   std::map<P, std::uint32_t> model;
};

template <class Table>
using Tracked = routetrie::tracked_table<Table, routetrie::digest_tracker, routetrie::journal_tracker>;
using Sliced = testing::Types<routetrie::table4<std::uint32_t>, routetrie::table6<std::uint32_t>,
                              routetrie::table<std::uint32_t>, routetrie::shared_table4<std::uint32_t>,
                              routetrie::shared_table6<std::uint32_t>, routetrie::shared_table<std::uint32_t>,
                              Tracked<routetrie::table6<std::uint32_t>>, Tracked<routetrie::table<std::uint32_t>>>;
TYPED_TEST_SUITE(TableSliceTest, Sliced);

TYPED_TEST(TableSliceTest, erasesWhatItPassesAsTheTableIsThen) {
   using Prefix = typename TestFixture::P;
   std::size_t erasedInAll = 0;
   for (int round = sized(2, 8, 400); round-- != 0;) {
      for (int i = 0; i < 150; ++i) {
         ASSERT_NO_FATAL_FAILURE(this->change());
      }
      const auto rest = static_cast<std::uint32_t>(this->random() % 4);
      std::size_t asked = 0;
      const auto test = [&](const auto& route) {
         ++asked;
         return route.value % 4 == rest;
      };
      std::optional<Prefix> place;
      using Token = routetrie::basic_walk_token<Prefix>;
      for (std::optional<Token> token(std::in_place); token;) {
         const std::size_t budget = 1 + this->random() % 20;
         asked = 0;
         const auto slice = this->slice(test, budget, *token);
         std::size_t erased = 0;
         std::size_t looked = 0;
         auto at = place ? this->model.upper_bound(*place) : this->model.begin();
         for (; at != this->model.end() && looked < budget; ++looked) {
            place = at->first;
            if (at->second % 4 == rest) {
               at = this->model.erase(at);
               ++erased;
            } else {
               ++at;
            }
         }
         erasedInAll += erased;
         ASSERT_EQ(erased, slice.erased);
         ASSERT_EQ(looked, asked) << "each is asked once";
         ASSERT_EQ(at != this->model.end(), slice.next.has_value());
         token = slice.next;
         ASSERT_NO_FATAL_FAILURE(this->compare());
         for (int i = static_cast<int>(this->random() % 12); token && i-- != 0;) {
            ASSERT_NO_FATAL_FAILURE(this->change());
         }
      }
   }
   EXPECT_GT(erasedInAll, 50u);
}

}  // namespace TableSliceTest
}  // namespace Property
