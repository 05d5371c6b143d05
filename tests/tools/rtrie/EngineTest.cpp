// Engine: every engine answers every op that it has as a scan over all routes does.
#include "tools/rtrie/Engine.h"

#include <random>
#include <set>

#include "Support.h"
#include "tests/property/Scale.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Op.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace EngineTest {

using Corenet::AddressFamily;
using Corenet::IpGenPrefix;
using Support::prefix;

// The routes as a list that is scanned in full. Prefixes are of 6 bits at most, at the top of the address.
struct Oracle {
   std::set<std::pair<unsigned, unsigned>> routes;  // first bits as a number of 6 bits, length

   static bool covers(std::pair<unsigned, unsigned> a, std::pair<unsigned, unsigned> b) {
      return a.second <= b.second && a.first >> (6 - a.second) == b.first >> (6 - a.second);
   }
   std::optional<std::pair<unsigned, unsigned>> longest(std::pair<unsigned, unsigned> query, bool shorter) const {
      std::optional<std::pair<unsigned, unsigned>> best;
      for (const auto& route : routes) {
         if (covers(route, query) && !(shorter && route.second == query.second) &&
             (!best || route.second > best->second)) {
            best = route;
         }
      }
      return best;
   }
   // Those that cover the query, shortest first.
   std::vector<std::pair<unsigned, unsigned>> covering(std::pair<unsigned, unsigned> query) const {
      std::vector<std::pair<unsigned, unsigned>> found;
      std::copy_if(routes.begin(), routes.end(), std::back_inserter(found),
                   [&](const auto& route) { return covers(route, query); });
      return found;  // nested ones are in order of length
   }
   std::vector<std::pair<unsigned, unsigned>> subtree(std::pair<unsigned, unsigned> query) const {
      std::vector<std::pair<unsigned, unsigned>> found;
      std::copy_if(routes.begin(), routes.end(), std::back_inserter(found),
                   [&](const auto& route) { return covers(query, route); });
      return found;
   }
   std::vector<std::pair<unsigned, unsigned>> children(std::pair<unsigned, unsigned> query) const {
      std::vector<std::pair<unsigned, unsigned>> found;
      for (const auto& route : subtree(query)) {
         if (route.second > query.second &&
             std::none_of(found.begin(), found.end(), [&](const auto& other) { return covers(other, route); })) {
            found.push_back(route);
         }
      }
      return found;
   }
   std::optional<std::pair<unsigned, unsigned>> next(std::pair<unsigned, unsigned> query) const {
      const auto found =
         std::find_if(routes.upper_bound(query), routes.end(), [](const auto& route) { return route.second != 0; });
      return found == routes.end() ? std::nullopt : std::optional(*found);
   }
   bool longer(std::pair<unsigned, unsigned> query) const {
      return std::any_of(routes.begin(), routes.end(),
                         [&](const auto& route) { return covers(query, route) && route.second > query.second; });
   }
};

IpGenPrefix prefixOfPair(AddressFamily af, std::pair<unsigned, unsigned> pair) {
   const auto length = static_cast<U8>(pair.second);
   return af == AddressFamily::ipv6 ? prefixOf(Corenet::U128{pair.first} << 122, length)
                                    : prefixOf(U32{pair.first} << 26, length);
}

std::vector<IpGenPrefix> listOf(AddressFamily af, std::optional<std::pair<unsigned, unsigned>> found) {
   return found ? std::vector<IpGenPrefix>{prefixOfPair(af, *found)} : std::vector<IpGenPrefix>{};
}

std::vector<IpGenPrefix> listOf(AddressFamily af, const std::vector<std::pair<unsigned, unsigned>>& found) {
   std::vector<IpGenPrefix> routes;
   for (const auto& pair : found) {
      routes.push_back(prefixOfPair(af, pair));
   }
   return routes;
}

Answer asked(const Op& op, const RouteTable& table, const IpGenPrefix& query) {
   Answer answer;
   op.ask(table, query, answer);
   return answer;
}

void agreesWithOracle(const Engine& engine, AddressFamily af, const Oracle& oracle) {
   const auto table = engine.make(af);
   for (const auto& route : oracle.routes) {
      table->routeIs(prefixOfPair(af, route));
      table->routeIs(prefixOfPair(af, route));  // twice is once
   }
   ASSERT_EQ(oracle.routes.size(), table->routes());
   for (unsigned length = 0; length <= 6; ++length) {
      for (unsigned bits = 0; bits < 64; bits += 1U << (6 - length)) {
         const std::pair<unsigned, unsigned> pair{bits, length};
         const IpGenPrefix query = prefixOfPair(af, pair);
         for (const Op& op : ops()) {
            if (!includes(engine.answers, op.needs)) {
               continue;
            }
            SCOPED_TRACE(fmt::format("{} {} {}", engine.name, op.name, query.stringValue()));
            const auto answer = asked(op, *table, query);
            if (op.name == "match") {
               ASSERT_EQ(listOf(af, oracle.longest(pair, false)), answer.routes);
            } else if (op.name == "parent") {
               ASSERT_EQ(listOf(af, oracle.longest(pair, true)), answer.routes);
            } else if (op.name == "exact") {
               ASSERT_EQ(oracle.routes.contains(pair), answer.yes);
            } else if (op.name == "longer") {
               ASSERT_EQ(oracle.longer(pair), answer.yes);
            } else if (op.name == "covering") {
               ASSERT_EQ(listOf(af, oracle.covering(pair)), answer.routes);
            } else if (op.name == "subtree") {
               ASSERT_EQ(listOf(af, oracle.subtree(pair)), answer.routes);
            } else if (op.name == "children") {
               ASSERT_EQ(listOf(af, oracle.children(pair)), answer.routes);
            } else if (op.name == "next") {
               ASSERT_EQ(listOf(af, oracle.next(pair)), answer.routes);
            } else {
               FAIL() << "an op that the oracle does not know";
            }
         }
      }
   }
}

TEST(Engine, answersAsAScanDoes) {
   std::mt19937 random(7);
   for (unsigned round = 0; round < (Property::isFull() ? 40U : 12U); ++round) {
      Oracle oracle;
      for (unsigned long i = random() % 12; i > 0; --i) {
         const unsigned length = static_cast<unsigned>(random() % 7);
         oracle.routes.insert({static_cast<unsigned>(random() % 64) >> (6 - length) << (6 - length), length});
      }
      for (const Engine& engine : engines()) {
         for (auto af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
            if (engine.holds(af)) {
               agreesWithOracle(engine, af, oracle);
            }
         }
      }
   }
}

TEST(Engine, eachHasEveryOpAndBothDumps) {
   for (const Engine& engine : engines()) {
      for (const Op& op : ops()) {
         EXPECT_TRUE(includes(engine.answers, op.needs)) << engine.name << ' ' << op.name;
      }
      EXPECT_TRUE(includes(engine.answers, Questions::dump | Questions::dumpTree)) << engine.name;
   }
}

TEST(Engine, longPrefixes) {
   for (const Engine& engine : engines()) {
      if (!engine.holds(AddressFamily::ipv6)) {
         continue;
      }
      const auto table = engine.make(AddressFamily::ipv6);
      table->routeIs(prefix("2001:db8::/57"));
      table->routeIs(prefix("2001:db8::1/128"));
      EXPECT_EQ(prefix("2001:db8::1/128"), table->longestMatch(prefix("2001:db8::1/128"))) << engine.name;
      EXPECT_EQ(prefix("2001:db8::/57"), table->parent(prefix("2001:db8::1/128"))) << engine.name;
      EXPECT_EQ(prefix("2001:db8::/57"), table->longestMatch(prefix("2001:db8::2/128"))) << engine.name;
      EXPECT_EQ(IpGenPrefix(), table->longestMatch(prefix("2001:db9::2/128"))) << engine.name;
   }
}

TEST(Engine, autoIsTheFirstThatAnswers) {
   EXPECT_EQ("auto", engineNamed("auto").name);
   EXPECT_EQ("auto", engineNamed("auto", Questions::longestMatch | Questions::payload, "this").name);
   EXPECT_EQ("gen", engineNamed("auto", Questions::object, "this").name);
   EXPECT_EQ("gen", engineNamed("gen", Questions::object, "this").name);
   EXPECT_THROW(engineNamed("table", Questions::object, "this"), UsageError);
   EXPECT_THROW(engineNamed("radix"), UsageError);
}

TEST(Engine, namesAreDifferent) {
   std::set<std::string_view> names;
   for (const Engine& engine : engines()) {
      EXPECT_TRUE(names.insert(engine.name).second) << engine.name;
      EXPECT_TRUE(engine.ipv4 || engine.ipv6) << engine.name;
      EXPECT_FALSE(engine.holds(AddressFamily::none)) << engine.name;
   }
   EXPECT_EQ("auto", engines().front().name);
}

}  // namespace EngineTest
}  // namespace Rtrie
