// Tracked tables when memory runs out. Allocations of the nodes are the table's own matter (TableFaultTest.cpp); here those of
// operator new fail.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>

#include "tests/property/CountedNew.h"
#include "tests/property/Scale.h"
#include "tests/property/TrackedSession.h"

namespace Property::Tracked {
namespace TableTrackedFaultTest {

template <class Table>
class TableTrackedFaultTest : public TrackedSession<Table> {};
using FaultTables = testing::Types<routetrie::table4<Hop>, routetrie::table6<Hop>>;
TYPED_TEST_SUITE(TableTrackedFaultTest, FaultTables);

// Each allocation of a change fails in turn: either nothing has changed, or all has; who could not be told is told later.
TYPED_TEST(TableTrackedFaultTest, memoryRunsOut) {
   using Prefix = typename TypeParam::prefix_type;
   std::size_t failures = 0;
   this->failsAt = &newFailsAt;
   for (unsigned world = 0; world < sized(10u, 60u, 1000u); ++world) {
      for (std::size_t n = 1;; ++n) {
         this->random.seed(world);
         this->routes.clear();
         this->table.clear();
         this->watched.clear();
         for (int i = 0; i < 10; ++i) {
            this->change();
         }
         for (int i = 0; i < 6; ++i) {
            this->watch(0);
         }
         const TypeParam before = this->table.table();
         const auto generation = this->table.generation();
         this->isShortOfMemory = true;
         bool isFailed = false;
         newFailsAt = n;
         try {
            switch (world % 4) {
               case 0: this->table.erase_covered(Prefix()); break;
               case 1: this->table.clear(); break;
               case 2: this->table.insert_or_assign(Prefix(), Hop{77}); break;
               default:
                  this->table.batch([](auto& t) {
                     t.insert_or_assign(Prefix(), Hop{77});
                     t.erase_covered(Prefix::cut(typename Prefix::Bits(), 1));
                  });
                  break;
            }
         } catch (const std::bad_alloc&) {
            isFailed = true;
         }
         newFailsAt = 0;
         failures += isFailed ? 1 : 0;
         ASSERT_EQ("", this->table.audit());
         ASSERT_EQ(routetrie::digest(this->table.table()), this->table.digest());
         if (this->table.generation() == generation) {
            ASSERT_EQ(before, this->table.table()) << "world " << world << " allocation " << n;
         }
         this->table.insert_or_assign(Prefix::cut(routetrie::last_address(Prefix()).bits(), 30), Hop{88});
         this->isShortOfMemory = false;
         this->routes.clear();
         for (const auto& [p, hop] : this->table) {
            this->routes[{p.bits().word(), p.len()}] = hop.number;
         }
         ASSERT_NO_FATAL_FAILURE(this->compare()) << "world " << world << " allocation " << n;
         if (!isFailed) {
            break;
         }
      }
   }
   EXPECT_GT(failures, 50u);
}

}  // namespace TableTrackedFaultTest
}  // namespace Property::Tracked
