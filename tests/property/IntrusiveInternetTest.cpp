// A whole IPv6 Internet table in an intrusive trie: loaded in random order, asked about what lies in, just inside and just
// outside its routes, walked whole, and emptied in another order, by prefix and by handle.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/property/InternetTable.h"
#include "tests/property/IntrusiveEngine.h"
#include "tests/property/LengthTable.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace Property {
namespace IntrusiveInternetTest {

class IntrusiveInternet : public testing::Test {
  protected:
   // A route, what covers it, what lies beneath it, and what differs in one bit.
   IpGenPrefix question() {
      const IpGenPrefix& p = routes[random() % routes.size()];
      const auto upTo = [this](U32 limit) { return static_cast<U32>(random() % (limit + 1)); };
      switch (random() % 5) {
         case 0: return p;
         case 1: return cut(p, upTo(p.len()));
         case 2: return p.len() == 0 ? p : flipped(p, upTo(p.len() - 1U));
         case 3: return p.len() == 128 ? p : flipped(cut(p, p.len() + 1U), p.len());
         default: return cut(p, p.len() + upTo(128U - p.len()));
      }
   }

   // The first answer that is wrong when `routes` is what the engine has to hold.
   std::string ask(std::size_t count) {
      const LengthTable table(routes);
      PrefixList ordered = routes;
      std::sort(ordered.begin(), ordered.end());
      std::string fault;
      for (std::size_t i = 0; i < count && fault.empty(); ++i) {
         const IpGenPrefix p = question();
         Answers answers(SlowTable(), p);
         answers.exact = table.exact(p);
         answers.longestMatch = table.longestMatch(p);
         answers.parent = table.parent(p);
         answers.longer = table.longer(p);
         fault = faultAt(engine, p, answers);
         const auto from = std::lower_bound(ordered.begin(), ordered.end(), p);
         auto after = from;
         after += after != ordered.end() && *after == p ? 1 : 0;
         if (fault.empty()) {
            fault = faultOf("next", p, engine.next(p), after == ordered.end() ? MaybePrefix() : MaybePrefix(*after));
         }
         if (fault.empty() && p.len() >= 28) {
            auto to = from;
            while (to != ordered.end() && covers(p, *to)) {
               ++to;
            }
            fault = faultOf("subtree", p, engine.subtree(p), PrefixList(from, to));
         }
      }
      if (fault.empty() && engine.ordered() != ordered) {
         fault = "the walk over all routes differs";
      }
      return fault.empty() ? engine.audit() : fault;
   }

   Ipv6IntrusiveEngine engine;
   PrefixList routes;
   std::mt19937_64 random;
};

TEST_F(IntrusiveInternet, wholeTable) {
   routes = internetTable(ROUTETRIE_INTERNET_TABLE, Corenet::ipv6);
   ASSERT_GT(routes.size(), 100'000U);
   random.seed(seed());
   std::shuffle(routes.begin(), routes.end(), random);
   routes.resize(std::min(routes.size(), sized<std::size_t>(20'000, 40'000, routes.size())));
   const auto questions = sized<std::size_t>(10'000, 20'000, 200'000);
   const LiveCounts before;
   for (const auto& p : routes) {
      engine.add(p);
   }
   EXPECT_EQ("", ask(questions));

   std::shuffle(routes.begin(), routes.end(), random);
   while (!routes.empty()) {
      const std::size_t stays = routes.size() > 1000 ? routes.size() / 3 : 0;
      for (; routes.size() > stays; routes.pop_back()) {
         ASSERT_TRUE(engine.remove(routes.back())) << routes.back();
         ASSERT_FALSE(engine.exact(routes.back())) << routes.back();
      }
      if (!routes.empty()) {
         ASSERT_EQ("", ask(questions / 5));
      }
   }
   EXPECT_EQ("", engine.audit());
   EXPECT_TRUE(engine.engine().empty());
   EXPECT_EQ("", before.changes());
}

}  // namespace IntrusiveInternetTest
}  // namespace Property
