// EngineTests: what every engine is put through beside the slow oracle, whatever it is made of: long random runs of changes
// and questions, and small worlds tried out whole. An engine's program names the engine, the mixes and the places:
//
//    INSTANTIATE_TEST_SUITE_P(Multibit, RandomOps, mixesOn<MultibitEngine>(), caseName);
//    INSTANTIATE_TEST_SUITE_P(Multibit, SmallWorlds, placesOn<MultibitEngine>({0, 6, 14}), caseName);
//
// The suites themselves know an engine by a function alone, so that they are compiled once for all engines of a program.
// A failure prints the seed and a shrunk list of ops, which can be pasted into tests/property/PatriciaShapeTest.cpp.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "tests/property/LiveCounts.h"
#include "tests/property/Ops.h"
#include "tests/property/Scale.h"
#include "tests/property/SmallWorld.h"
#include "tests/property/Workload.h"

namespace Property {

// The name of a case within its suite.
inline constexpr auto caseName = [](const auto& info) { return info.param.name(); };

//--- long random runs ---

// How many ops a run has (tests/property/Scale.h).
struct RunLength {
   std::size_t small, normal, full;
};
inline constexpr RunLength longRun{6'000, 8'000, 60'000};

struct RandomCase {
   std::string name() const { return std::string(mix.name); }

   Mix mix;
   Corenet::AddressFamily family;
   RunLength length;
   std::string (*reportOf)(const Ops& ops, std::size_t auditEvery);
};

template <Engine E>
auto mixesOn(const RunLength& length = longRun, std::span<const Mix> chosen = mixes) {
   std::vector<RandomCase> cases;
   for (const Mix& mix : chosen) {
      cases.push_back({mix, E::family, length, report<E>});
   }
   return testing::ValuesIn(cases);
}

class RandomOps : public testing::TestWithParam<RandomCase> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RandomOps);

TEST_P(RandomOps, agreeWithTheSlowTable) {
   const auto& [mix, family, length, reportOf] = GetParam();
   const Ops ops = Workload(family, mix, seed()).ops(sized(length.small, length.normal, length.full));
   EXPECT_EQ("", reportOf(ops, 250));
}

//--- small worlds ---

struct WorldCase {
   // What came of a world.
   struct Outcome {
      std::string fault;
      std::size_t states, shapes;
   };
   std::string name() const { return std::to_string(place); }

   U32 place;  // of the world in an address, in bits
   bool setHasOneTree;
   bool asksEachWay;  // at full size a shape is asked on each of the ways that lead to it
   Outcome (*run)(U32 place, bool asksEachTime);
};

template <Engine E>
WorldCase::Outcome runWorld(U32 place, bool asksEachTime) {
   SmallWorld<E> world(place, asksEachTime);
   const std::string fault = world.run();
   return {fault, world.states(), world.shapes()};
}

// Where a set has one tree, or where another engine has the same trees, it would tell nothing to ask each way.
template <Engine E>
auto placesOn(std::initializer_list<U32> places, bool asksEachWay = !E::habits.setHasOneTree) {
   std::vector<WorldCase> cases;
   for (const U32 place : places) {
      cases.push_back({place, E::habits.setHasOneTree, asksEachWay && place == 0, runWorld<E>});
   }
   return testing::ValuesIn(cases);
}

class SmallWorlds : public testing::TestWithParam<WorldCase> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SmallWorlds);

TEST_P(SmallWorlds, everySetInEveryOrder) {
   const auto& [place, setHasOneTree, asksEachWay, runAt] = GetParam();
   const LiveCounts before;
   // A shape is asked on the first of the ways that lead to it; at full size, at one place, on each of them.
   const bool asksEachTime = isFull() && asksEachWay;
   const auto [fault, states, shapes] = runAt(place, asksEachTime);
   EXPECT_EQ("", fault);
   // There are 31 sets of one, 465 of two and 4495 of three. Each is added in all orders, and after each of these
   // removed in all orders or some.
   std::size_t sets = 31 + 465;
   std::size_t expectedStates = (31 + 465 * 2) + (31 + 465 * 2 * 2 * 2);
   if (largestSet(place) == 3) {
      sets += 4495;
      expectedStates += 4495 * 6 + 4495 * 6 * removalsOf(3, place, asksEachTime) * 3;
   }
   EXPECT_EQ(expectedStates, states);
   // And the empty set.
   if (setHasOneTree) {
      EXPECT_EQ(sets + 1, shapes);
   } else {
      EXPECT_GE(shapes, sets + 1);
   }
   EXPECT_EQ("", before.changes());
}

//--- in a test's output ---

inline void PrintTo(const RandomCase& random, std::ostream* out) { *out << random.name(); }
inline void PrintTo(const WorldCase& world, std::ostream* out) { *out << world.name(); }

}  // namespace Property
