// The four ways through a PatriciaTrie in order, beside each other and the slow table: the walk, which gives the default
// route first, the iterator, which gives it last, the loop of successors, which never gives it and ends early where a
// subtree is all white, and the dump, which writes what the walk gives.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tests/property/Ops.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace OrderTest {

// What is planted, to see that each way is looked at.
enum class Plant { none, walk, iterator, next, dump };

PrefixList iterated(const TriePtr& trie, bool isCompact) {
   PrefixList list;
   if (isCompact) {
      for (const auto& p : Routing::compactRoutesOf(trie)) {
         list.push_back(p.genPrefix());
      }
   } else {
      for (const auto& p : Routing::routesOf(trie)) {
         list.push_back(p);
      }
   }
   return list;
}

PrefixList stepped(PatriciaTrie& trie) {
   PrefixList list;
   for (auto p = nextOf(trie, zeroLength(trie.af())); p; p = nextOf(trie, *p)) {
      list.push_back(*p);
   }
   return list;
}

PrefixList dumped(const PatriciaTrie& trie) {
   std::stringstream out;
   const auto context = Keel::dumpContextFactory(out);
   context->verbosityIs(Keel::DumpContext::verbose);
   trie.dumpState(context, 0);
   PrefixList list;
   std::string line;
   std::getline(out, line);  // heading
   std::getline(out, line);  // count
   while (std::getline(out, line)) {
      list.push_back(IpGenPrefix::fromString(line.substr(4)));
   }
   return list;
}

std::string faultOf(std::string_view way, const PrefixList& found, const PrefixList& expected) {
   return found == expected ? "" : fmt::format("{}: found {}, expected {}", way, textOf(found), textOf(expected));
}

// The first way that departs from the table, or nothing.
template <class E>
std::string orderFault(const E& engine, const SlowTable& table, Plant plant = Plant::none) {
   const TriePtr trie(&engine.trie());
   const auto spoilt = [plant](PrefixList list, Plant here) {
      if (plant == here) {
         list.pop_back();
      }
      return list;
   };
   const PrefixList ordered = table.ordered();
   PrefixList withoutDefault = ordered;
   std::erase_if(withoutDefault, [](auto& p) { return p.len() == 0; });
   PrefixList defaultLast = withoutDefault;
   if (withoutDefault.size() != ordered.size()) {
      defaultLast.push_back(ordered.front());
   }

   std::string fault = faultOf("walk", spoilt(engine.ordered(), Plant::walk), ordered);
   for (const bool isCompact : {false, true}) {
      if (fault.empty()) {
         fault = faultOf("iterator", spoilt(iterated(trie, isCompact), Plant::iterator), defaultLast);
      }
   }
   if (fault.empty()) {
      fault = faultOf("dump", spoilt(dumped(*trie), Plant::dump), ordered);
   }
   if constexpr ((E::abilities & nextAbility) != 0) {
      if (fault.empty()) {
         PrefixList steps = withoutDefault;
         const auto last = std::find_if(steps.begin(), steps.end(), [&](auto& p) { return engine.endsAtWhite(p); });
         steps.erase(last == steps.end() ? last : last + 1, steps.end());
         fault = faultOf("next", spoilt(stepped(*trie), Plant::next), steps);
      }
   }
   return fault;
}

template <class E>
class OrderTest : public testing::Test {
  protected:
   // Compares after every `each` ops of each mix, up to so many ops; how often an order ended early.
   static void run() {
      const std::uint64_t number = seed();
      int early = 0;
      for (const Mix& mix : mixes) {
         E engine;
         SlowTable table;
         int i = 0;
         for (const Op& op : Workload(E::family, mix, number).ops(sized<std::size_t>(2'000, 6'000, 60'000))) {
            change(engine, op);
            if (!(E::habits.defaultStays && op.kind == Op::remove && op.prefix.len() == 0)) {
               change(table, op);
            }
            if (++i % 40 == 0) {
               ASSERT_EQ("", orderFault(engine, table)) << mix.name << " after " << i << " ops";
               early += (E::abilities & nextAbility) != 0 &&
                        stepped(engine.trie()).size() + engine.trie().isDefaultRoutePresent() < table.size();
            }
         }
      }
      EXPECT_EQ((E::abilities & nextAbility) != 0, early > 0) << "no order ended early: the mixes are too tame";
   }
};
TYPED_TEST_SUITE_P(OrderTest);

TYPED_TEST_P(OrderTest, everyWayAgrees) { this->run(); }

TYPED_TEST_P(OrderTest, eachWayIsLookedAt) {
   TypeParam engine;
   SlowTable table;
   const auto add = [&](const char* text) {
      const auto p = placed(TypeParam::family, 0, IpGenPrefix::fromString(text));
      engine.add(p);
      table.add(p);
   };
   for (const auto* text : {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"}) {
      add(text);
   }
   EXPECT_EQ("", orderFault(engine, table));
   EXPECT_TRUE(orderFault(engine, table, Plant::walk).starts_with("walk: "));
   EXPECT_TRUE(orderFault(engine, table, Plant::iterator).starts_with("iterator: "));
   EXPECT_TRUE(orderFault(engine, table, Plant::dump).starts_with("dump: "));
   EXPECT_EQ((TypeParam::abilities & nextAbility) != 0, orderFault(engine, table, Plant::next).starts_with("next: "));
}

REGISTER_TYPED_TEST_SUITE_P(OrderTest, everyWayAgrees, eachWayIsLookedAt);
using Engines = PatriciaEngines<testing::Types>;
INSTANTIATE_TYPED_TEST_SUITE_P(Plain, OrderTest, Engines, EngineName);
using DataEngines = PatriciaDataEngines<testing::Types>;
INSTANTIATE_TYPED_TEST_SUITE_P(Data, OrderTest, DataEngines, EngineName);

}  // namespace OrderTest
}  // namespace Property
