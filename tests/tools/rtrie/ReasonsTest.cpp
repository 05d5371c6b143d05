// Reasons: what covers a query, compared with what the tables say one by one.
#include "tools/rtrie/Reasons.h"

#include <random>

#include "Support.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/formats/BgpDumpLines.h"
#include "tools/tables/formats/IpRouteLines.h"

namespace Rtrie {
namespace ReasonsTest {

using Support::prefix;

// "10.0.0.0/8 payload verdict: why" a candidate.
std::vector<std::string> reasonsOf(RouteSet& routes, std::string_view query) {
   routes.seal();
   const PayloadTable table(routes);
   std::vector<std::string> lines;
   for (const auto& each : reasonsFor(prefix(query), table, routes).candidates) {
      lines.push_back(fmt::format("{} {} {}: {}", each.prefix.stringValue(), each.payload,
                                  Reasons::nameOf(each.verdict), each.why));
   }
   return lines;
}

RouteSet& read(RouteSet& routes, LineParser& parser, const std::vector<std::string>& lines) {
   routes.candidatesAreKept();
   for (const auto& line : lines) {
      parser.line(line, routes);
   }
   parser.end(routes);
   return routes;
}

TEST(Reasons, theLongestIsTaken) {
   RouteSet routes;
   routes.candidatesAreKept();
   routes.add(prefix("0.0.0.0/0"), "up");
   routes.add(prefix("10.0.0.0/8"), "ten");
   routes.add(prefix("10.1.0.0/16"), "old");
   routes.add(prefix("10.1.0.0/16"), "new");
   routes.add(prefix("10.1.2.0/24"), "below");
   EXPECT_EQ((std::vector<std::string>{"0.0.0.0/0 up shorter: not taken: a longer one covers it",
                                       "10.0.0.0/8 ten shorter: not taken: a longer one covers it",
                                       "10.1.0.0/16 new taken: taken: the longest",
                                       "10.1.0.0/16 old lost: not taken: a later line of its prefix took its place"}),
             reasonsOf(routes, "10.1.0.0/20"));
   EXPECT_EQ(std::vector<std::string>{"0.0.0.0/0 up taken: taken: the longest"}, reasonsOf(routes, "0.0.0.0/0"));
   EXPECT_EQ(std::vector<std::string>{}, reasonsOf(routes, "2001:db8::/32"));
}

TEST(Reasons, aKernelTakesTheLowestMetric) {
   RouteSet routes;
   IpRouteLines parser{Selection{}};
   read(routes, parser,
        {"10.0.0.0/8 via 192.0.2.1 dev d0 metric 50", "10.0.0.0/8 via 192.0.2.2 dev d0 metric 20",
         "10.0.0.0/8 via 192.0.2.3 dev d0 metric 20", "10.1.0.0/16 tos 0x10 via 192.0.2.4 dev d0"});
   EXPECT_EQ(
      (std::vector<std::string>{
         "10.0.0.0/8 via 192.0.2.2 dev d0 metric 20 taken: taken: the longest",
         "10.0.0.0/8 via 192.0.2.3 dev d0 metric 20 lost: not taken: one of its prefix and metric stands before it",
         "10.0.0.0/8 via 192.0.2.1 dev d0 metric 50 lost: not taken: one of its prefix has a lower metric or a "
         "better preference",
         "10.1.0.0/16 tos 0x10 via 192.0.2.4 dev d0 bound: not taken: it holds for one source or type of service "
         "alone, or its next hops are dead"}),
      reasonsOf(routes, "10.1.0.0/16"));
   routes.add(prefix("10.0.0.0/8"), "by hand");
   EXPECT_EQ("10.0.0.0/8 by hand taken: taken: the longest", reasonsOf(routes, "10.0.0.0/8")[0]);
   EXPECT_EQ("10.0.0.0/8 via 192.0.2.2 dev d0 metric 20 lost: not taken: a list corrects it",
             reasonsOf(routes, "10.0.0.0/8")[1]);
}

TEST(Reasons, aRouterTakesTheShortestPath) {
   RouteSet routes;
   BgpDumpLines parser{Selection{}};
   const auto line = [](std::string_view peer, std::string_view path) {
      return fmt::format("TABLE_DUMP2|1600000000|B|{}|65001|10.0.0.0/8|{}|IGP|192.0.2.9|0|0||NAG||", peer, path);
   };
   read(routes, parser,
        {line("192.0.2.1", "65001 65002 65003"), line("192.0.2.2", "65001 65003"), line("192.0.2.3", "65004 65003")});
   const auto reasons = reasonsOf(routes, "10.0.0.0/8");
   ASSERT_EQ(3U, reasons.size());
   EXPECT_THAT(reasons[0], testing::EndsWith(" taken: taken: the longest"));
   EXPECT_THAT(reasons[1], testing::EndsWith(" lost: not taken: one of its prefix and path length stands before it"));
   EXPECT_THAT(reasons[2], testing::EndsWith(" lost: not taken: one of its prefix has a shorter AS path"));
}

// In random tables: as a scan of all routes finds them.
TEST(Reasons, areThoseThatAScanFinds) {
   std::mt19937 random(11);
   for (unsigned round = 0; round < 200; ++round) {
      RouteSet routes;
      routes.candidatesAreKept();
      for (unsigned i = 0; i < 30; ++i) {
         const auto length = static_cast<U8>(random() % 9);
         const U32 bits = length == 0 ? 0 : static_cast<U32>(random()) >> (32 - length) << (32 - length);
         if (random() % 2 == 0) {
            routes.add(prefixOf(bits, length), fmt::format("{}", i));
         } else {
            routes.add(prefixOf(Corenet::U128{bits} << 96, length), fmt::format("{}", i));
         }
      }
      routes.seal();
      const PayloadTable table(routes);
      for (unsigned i = 0; i < 30; ++i) {
         const auto length = static_cast<U8>(random() % 11);
         const U32 bits = length == 0 ? 0 : static_cast<U32>(random()) >> (32 - length) << (32 - length);
         const auto query = i % 2 == 0 ? prefixOf(bits, length) : prefixOf(Corenet::U128{bits} << 96, length);
         std::vector<std::string> expected;
         routes.forEachWithPayload(query.af(), [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
            if (covers(route, query)) {
               expected.push_back(fmt::format("{} {}", route.stringValue(), payload.text));
            }
         });
         const Reasons reasons = reasonsFor(query, table, routes);
         std::vector<std::string> found;
         for (const auto& each : reasons.candidates) {
            if (each.verdict != Reasons::Verdict::lost) {
               found.push_back(fmt::format("{} {}", each.prefix.stringValue(), each.payload));
            }
         }
         ASSERT_EQ(expected, found) << query.stringValue();
         ASSERT_EQ(expected.empty(), reasons.taken() == nullptr);
         if (reasons.taken() != nullptr) {
            ASSERT_EQ(expected.back(),
                      fmt::format("{} {}", reasons.taken()->prefix.stringValue(), reasons.taken()->payload));
         }
      }
   }
}

}  // namespace ReasonsTest
}  // namespace Rtrie
