// What a slice of a sweep does, without a clock, whatever the table: it looks at as many routes as its budget has, ends the values of
// those that go and touches no other's, and needs no memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/table.h"
#include "tests/property/CountedNew.h"
#include "tests/property/Scale.h"

namespace Property {
namespace AllocationOfSlicesTest {

// A value that counts what befalls it.
struct Counted {
   static inline std::size_t made = 0, ended = 0;

   Counted() noexcept { ++made; }
   Counted(const Counted&) noexcept { ++made; }
   Counted(Counted&&) noexcept { ++made; }
   Counted& operator=(const Counted&) noexcept {
      ++made;
      return *this;
   }
   Counted& operator=(Counted&&) noexcept {
      ++made;
      return *this;
   }
   ~Counted() { ++ended; }
};

template <class P>
class AllocationOfSlicesTest : public testing::Test {
  public:
   using Bits = typename P::Bits;
   using Word = typename Bits::Word;

   struct World {
      std::string name;
      std::vector<P> routes;  // in order
   };

   AllocationOfSlicesTest() : random(seed()) {}

   std::vector<World> worlds() {
      std::vector<World> list{{"one", {P()}},
                              {"scattered", {}},
                              {"scattered hosts", {}},
                              {"side by side under the default route", {P()}},
                              {"nests of all lengths", {}}};
      const std::size_t size = sized<std::size_t>(5'000, 20'000, 500'000);
      for (std::size_t i = 0; i < size; ++i) {
         list[1].routes.push_back(P::cut(any(), 8 + static_cast<unsigned>(random() % 41) % (P::width - 8)));
         list[2].routes.push_back(P::cut(any(), P::width));
         list[3].routes.push_back(P::cut(Bits(static_cast<Word>(Word(i) << (P::width - 24))), 24));
      }
      for (std::size_t i = 0; i < size / P::width; ++i) {
         const Bits path = any();
         for (unsigned length = 0; length <= P::width; ++length) {
            list[4].routes.push_back(P::cut(path, length));
         }
      }
      for (World& world : list) {
         std::sort(world.routes.begin(), world.routes.end());
         world.routes.erase(std::unique(world.routes.begin(), world.routes.end()), world.routes.end());
      }
      return list;
   }
   Bits any() {
      auto word = static_cast<Word>(random());
      if constexpr (P::width == 128) {
         word = word << 64 | random();
      }
      return Bits(word);
   }

   std::mt19937_64 random;
};

using Families = testing::Types<routetrie::prefix4, routetrie::prefix6>;
TYPED_TEST_SUITE(AllocationOfSlicesTest, Families);

TYPED_TEST(AllocationOfSlicesTest, touchNoMoreThanTheirBudget) {
   using P = TypeParam;
   for (const auto& [name, routes] : this->worlds()) {
      for (const unsigned goes : {1u, 2u, 10u}) {  // of so many, one
         SCOPED_TRACE(name + ", one of " + std::to_string(goes) + " goes");
         routetrie::basic_table<P::width, Counted> t;
         for (const P& p : routes) {
            t.try_emplace(p);
         }
         t.mark();
         std::vector<bool> isTouched(routes.size());
         for (std::size_t i = 0; i < routes.size(); ++i) {
            isTouched[i] = this->random() % goes != 0;
            if (isTouched[i]) {
               t.try_emplace(routes[i]);
            }
         }
         const std::size_t budget = 1000;
         std::size_t looked = 0;
         for (routetrie::sweep_slice slice; !slice.done;) {
            const std::size_t end = std::min(looked + budget, routes.size());
            const auto untouched =
               static_cast<std::size_t>(std::count(isTouched.begin() + static_cast<std::ptrdiff_t>(looked),
                                                   isTouched.begin() + static_cast<std::ptrdiff_t>(end), false));
            const std::size_t madeBefore = Counted::made, endedBefore = Counted::ended, newBefore = newCalls;
            const std::size_t bytesBefore = t.memory().total();
            slice = t.sweep(budget);
            ASSERT_EQ(untouched, slice.erased) << "of the routes from number " << looked;
            ASSERT_EQ(untouched, Counted::ended - endedBefore);
            ASSERT_EQ(0u, Counted::made - madeBefore) << "no value is copied or moved";
            ASSERT_EQ(0u, newCalls - newBefore);
            ASSERT_LE(t.memory().total(), bytesBefore);
            looked = end;
            ASSERT_EQ(looked == routes.size(), slice.done);
         }
         ASSERT_EQ(static_cast<std::size_t>(std::count(isTouched.begin(), isTouched.end(), true)), t.size());
         ASSERT_EQ("", t.audit());
      }
   }
}

}  // namespace AllocationOfSlicesTest
}  // namespace Property
