// The battery, its runner and its shrinker, on an engine that is right and on engines with one planted fault each: every
// question must notice when it is answered wrongly.
#include "tests/property/Battery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Ops.h"
#include "tests/property/Workload.h"

namespace Property {
namespace BatteryTest {

using testing::HasSubstr;
using testing::StartsWith;

enum class Plant {
   none,
   routes,
   remove,
   exact,
   longestMatch,
   parent,
   longer,
   next,
   covering,
   subtree,
   children,
   ordered,
   audit,
   leak,
   habit,
   nextHabit,
};

std::vector<Corvid::Ptr<Routing::PrefixData>> leaked;

// A SlowTable behind an adapter. The planted fault shows as soon as a /16 is in the table.
template <Plant plant>
class PlantedEngine {
  public:
   static constexpr Corenet::AddressFamily family = Corenet::AddressFamily::ipv4;
   static constexpr std::string_view name = "Planted";
   static constexpr U32 abilities = parentAbility | longerAbility | nextAbility | coveringAbility | subtreeAbility |
                                    childrenAbility | orderedAbility;
   static constexpr Habits habits{.longerOfDefaultIsFalse = plant == Plant::habit,
                                  .nextOfAbsentIsNone = plant == Plant::nextHabit};

   void add(const IpGenPrefix& p) {
      table_.add(p);
      if (bites(Plant::leak)) {
         leaked.push_back(Routing::prefixDataFactory());
      }
   }
   bool remove(const IpGenPrefix& p) { return table_.remove(p) != (bites(Plant::remove) && p.len() == 8); }
   std::size_t routes() const { return table_.size() + bites(Plant::routes); }
   bool exact(const IpGenPrefix& p) const { return table_.exact(p) != bites(Plant::exact); }
   MaybePrefix longestMatch(const IpGenPrefix& p) const {
      return spoilt(table_.longestMatch(p), Plant::longestMatch);
   }
   MaybePrefix parent(const IpGenPrefix& p) const { return spoilt(table_.parent(p), Plant::parent); }
   bool longer(const IpGenPrefix& p) const { return table_.longer(p) != bites(Plant::longer); }
   MaybePrefix next(const IpGenPrefix& p) const { return spoilt(table_.next(p), Plant::next); }
   PrefixList covering(const IpGenPrefix& p) const { return spoilt(table_.covering(p), Plant::covering); }
   PrefixList subtree(const IpGenPrefix& p) const { return spoilt(table_.subtree(p), Plant::subtree); }
   PrefixList children(const IpGenPrefix& p) const { return spoilt(table_.children(p), Plant::children); }
   PrefixList ordered() const { return spoilt(table_.ordered(), Plant::ordered); }
   std::string audit() const { return bites(Plant::audit) ? "audit: planted" : ""; }

  private:
   bool bites(Plant here) const { return plant == here && table_.exact(IpGenPrefix::fromString("10.1.0.0/16")); }
   MaybePrefix spoilt(MaybePrefix answer, Plant here) const {
      return !bites(here) ? answer : answer ? std::nullopt : MaybePrefix(IpGenPrefix::fromString("10.1.0.0/16"));
   }
   PrefixList spoilt(PrefixList answer, Plant here) const {
      if (bites(here)) {
         answer.push_back(IpGenPrefix::fromString("10.1.0.0/16"));
      }
      return answer;
   }

   SlowTable table_;
};

static_assert(Engine<PlantedEngine<Plant::none>>);

const Ops ops = opsOf(
   "+10.0.0.0/8 ?10.0.0.0/8 +10.2.0.0/15 +10.1.0.0/16 ?10.1.0.0/16 ?10.0.0.0/7 -11.0.0.0/8 +0.0.0.0/0 -10.1.0.0/16 "
   "?0.0.0.0/0 -0.0.0.0/0");

template <Plant plant>
std::string faultFound() {
   return run<PlantedEngine<plant>>(ops, 1).text;
}

TEST(Battery, findsNoFaultWhereThereIsNone) {
   EXPECT_EQ("", faultFound<Plant::none>());
   for (const Mix& mix : mixes) {
      EXPECT_EQ("", report<PlantedEngine<Plant::none>>(Workload(Corenet::ipv4, mix, 1).ops(300), 50)) << mix.name;
   }
}

TEST(Battery, findsAFaultInEachAnswer) {
   EXPECT_THAT(faultFound<Plant::routes>(), StartsWith("routes: found 4, expected 3"));
   EXPECT_THAT(faultFound<Plant::remove>(), StartsWith("remove(11.0.0.0/8): found yes, expected no"));
   EXPECT_THAT(faultFound<Plant::exact>(), StartsWith("exact(10.1.0.0/16): found no, expected yes"));
   EXPECT_THAT(faultFound<Plant::longestMatch>(),
               StartsWith("longestMatch(10.1.0.0/16): found none, expected 10.1.0.0/16"));
   EXPECT_THAT(faultFound<Plant::parent>(), StartsWith("parent(10.1.0.0/16): found none, expected 10.0.0.0/8"));
   EXPECT_THAT(faultFound<Plant::longer>(), StartsWith("longer(10.1.0.0/16): found yes, expected no"));
   EXPECT_THAT(faultFound<Plant::next>(), StartsWith("next(10.1.0.0/16): found none, expected 10.2.0.0/15"));
   EXPECT_THAT(faultFound<Plant::covering>(),
               StartsWith("covering(10.1.0.0/16): found (10.0.0.0/8 10.1.0.0/16 10.1.0.0/16), expected "
                          "(10.0.0.0/8 10.1.0.0/16)"));
   EXPECT_THAT(faultFound<Plant::subtree>(), StartsWith("subtree(10.1.0.0/16): found (10.1.0.0/16 10.1.0.0/16)"));
   EXPECT_THAT(faultFound<Plant::children>(), StartsWith("children(10.1.0.0/16): found (10.1.0.0/16), expected ()"));
   EXPECT_THAT(faultFound<Plant::ordered>(),
               StartsWith("ordered: found (10.0.0.0/8 10.1.0.0/16 10.2.0.0/15 10.1.0.0/16)"));
   EXPECT_THAT(faultFound<Plant::audit>(), StartsWith("audit: planted"));
   EXPECT_THAT(faultFound<Plant::habit>(), StartsWith("longer(0.0.0.0/0): found yes, expected no"));
   EXPECT_THAT(faultFound<Plant::nextHabit>(), StartsWith("next(10.0.0.0/7): found 10.0.0.0/8, expected none"));
}

TEST(Battery, findsWhatIsNotGivenBack) {
   EXPECT_THAT(faultFound<Plant::leak>(), HasSubstr("objects of Routing::PrefixData: "));
   EXPECT_EQ(2U, leaked.size());
   const LiveCounts before;
   leaked.clear();
   EXPECT_THAT(before.changes(), HasSubstr("objects of Routing::PrefixData: 2 before, 0 now"));
}

TEST(Ops, areTheirText) {
   EXPECT_EQ("+10.0.0.0/8 ?10.0.0.0/8", textOf(Ops(ops.begin(), ops.begin() + 2)));
   EXPECT_EQ(textOf(ops), textOf(opsOf(textOf(ops))));
}

TEST(Ops, aFaultIsReportedWithAShrunkListThatShowsIt) {
   Ops many = Workload(Corenet::ipv4, mixes[1], 7).ops(400);
   many.insert(many.begin() + 200, ops.begin(), ops.end());
   EXPECT_THAT(report<PlantedEngine<Plant::parent>>(many, 50), HasSubstr("shrunk to 2 ops: +10.1.0.0/16 ?"));
   EXPECT_THAT(report<PlantedEngine<Plant::audit>>(many, 1), HasSubstr("shrunk to 1 ops: +10.1.0.0/16\n"));
}

TEST(Workload, isTheSameForTheSameSeed) {
   for (const Mix& mix : mixes) {
      EXPECT_EQ(textOf(Workload(Corenet::ipv6, mix, 3).ops(200)), textOf(Workload(Corenet::ipv6, mix, 3).ops(200)));
      EXPECT_NE(textOf(Workload(Corenet::ipv6, mix, 3).ops(200)), textOf(Workload(Corenet::ipv6, mix, 4).ops(200)));
   }
}

// A workload is worth its time only if its tables stay near their size and its routes nest and part.
TEST(Workload, keepsTablesNearTheirSizeAndRoutesClose) {
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6()}) {
      for (const Mix& mix : mixes) {
         SlowTable table;
         std::size_t hits = 0;
         std::size_t asked = 0;
         for (const Op& op : Workload(family, mix, 5).ops(4000)) {
            change(table, op);
            if (op.kind == Op::ask) {
               ++asked;
               hits += table.longestMatch(op.prefix).has_value();
            }
         }
         EXPECT_GT(table.size(), mix.routes / 3) << mix.name;
         EXPECT_LT(table.size(), mix.routes * 2) << mix.name;
         EXPECT_GT(hits, asked / 4) << mix.name;
         EXPECT_LT(hits, asked) << mix.name;
      }
   }
}

}  // namespace BatteryTest
}  // namespace Property
