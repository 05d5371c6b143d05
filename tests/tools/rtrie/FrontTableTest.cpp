// FrontTable: the front ends as engines, line for line beside the engines beneath them, through the program; what each
// answers is compared with a scan in EngineTest.
#include "tools/rtrie/engines/FrontTable.h"

#include <map>
#include <regex>

#include "Support.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Op.h"

namespace Rtrie {
namespace FrontTableTest {

using Support::prefix;
using Support::rtrie;

// Nested routes, both default routes, prefixes on either side of 56 bits, and siblings that share all but their last bit.
constexpr std::string_view routes =
   "0.0.0.0/0 up4\n10.0.0.0/8 private\n10.0.0.0/16\n10.1.0.0/16 branch\n10.1.2.0/23\n10.1.2.0/24\n10.1.3.0/24 desk\n"
   "10.1.3.7 host\n128.0.0.0/1\n192.0.2.0/31\n192.0.2.1\n255.255.255.255\n"
   "::/0 up6\n::1/128\n2001:db8::/32 docs\n2001:db8::/48\n2001:db8:1::/48 lab\n2001:db8:1::/56\n2001:db8:1::/57\n"
   "2001:db8:1:80::/57\n2001:db8:1::1/128 host\n2001:dba::/31\n8000::/1\nfe80::/10\n"
   "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128\n";

const std::vector<std::string> queries = {"0.0.0.0/0",
                                          "0.0.0.0/1",
                                          "10.0.0.0/7",
                                          "10.0.0.0/8",
                                          "10.1.2.0/23",
                                          "10.1.3.7",
                                          "10.1.3.8",
                                          "11.0.0.0/8",
                                          "192.0.2.1",
                                          "255.255.255.255",
                                          "::/0",
                                          "::/1",
                                          "2000::/3",
                                          "2001:db8::/31",
                                          "2001:db8::/32",
                                          "2001:db8:1::/48",
                                          "2001:db8:1::/56",
                                          "2001:db8:1::1/128",
                                          "2001:db8:1:40::/58",
                                          "2001:db9::/32",
                                          "fe80::1",
                                          "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"};

class FrontEnds : public testing::Test {
  protected:
   struct Beneath {
      std::string ipv4;  // the engine; none if the front end does not hold the family
      std::string ipv6;
   };
   static const std::map<std::string, Beneath>& fronts() {
      static const std::map<std::string, Beneath> all = {{"gen", {"multibit", "patricia"}},
                                                         {"trie6", {"", "patricia"}},
                                                         {"compact", {"patricia-compact", "patricia-compact"}},
                                                         {"wrapper", {"multibit", "patricia-compact"}}};
      return all;
   }

   // What the program prints for the routes of one family, without the addresses of nodes.
   std::string printed(const std::string& engine, bool isIpv6, std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin() + 1, {"--table", isIpv6 ? table6_ : table4_, "--engine", engine});
      const Support::Ran ran = rtrie(arguments);
      EXPECT_EQ("", ran.err) << engine;
      EXPECT_EQ(0, ran.status) << engine;
      return std::regex_replace(ran.out, std::regex("0x[0-9a-f]+"), "0x-");
   }
   // Each front end prints, family by family, what the engine beneath it does.
   void printsWhatIsBeneath(const std::vector<std::string>& arguments) const {
      for (const auto& [front, beneath] : fronts()) {
         for (const auto& [engine, isIpv6] : {std::pair(beneath.ipv4, false), std::pair(beneath.ipv6, true)}) {
            if (!engine.empty()) {
               SCOPED_TRACE(front + (isIpv6 ? " IPv6" : " IPv4"));
               const std::string expected = printed(engine, isIpv6, arguments);
               EXPECT_NE("", expected);
               EXPECT_EQ(expected, printed(front, isIpv6, arguments));
            }
         }
      }
   }
   std::string ofFamily(bool isIpv6) const {
      const auto at = routes.find("::/0");
      return std::string(isIpv6 ? routes.substr(at) : routes.substr(0, at));
   }

   const Support::Folder folder_;
   const std::string table4_ = folder_.file("table4", ofFamily(false));
   const std::string table6_ = folder_.file("table6", ofFamily(true));
   const std::string both_ = folder_.file("both", routes);
};

TEST_F(FrontEnds, walkAndDumpAsTheEngineBeneath) {
   printsWhatIsBeneath({"walk"});
   printsWhatIsBeneath({"dump"});
   printsWhatIsBeneath({"dump", "--limit", "3"});
   printsWhatIsBeneath({"dump", "--limit", "3", "--verbose"});
   printsWhatIsBeneath({"dump", "--tree"});
}

// All that stats tells but the engine's name, its own count by name, times, and bytes, which the front end's own object adds to.
TEST_F(FrontEnds, countAsTheEngineBeneath) {
   const auto counts = [&](const std::string& engine, bool isIpv6) {
      const std::string out = printed(engine, isIpv6, {"stats"});
      EXPECT_THAT(out, testing::StartsWith("engine           " + engine + "\n"));
      const auto family = out.find(isIpv6 ? "\nIPv6\n" : "\nIPv4\n");
      EXPECT_NE(std::string::npos, family) << out;
      return std::regex_replace(out.substr(family),
                                std::regex("  (engine counts|live bytes|bytes a route|insert time) .*\n"), "");
   };
   for (const auto& [front, beneath] : fronts()) {
      for (const auto& [engine, isIpv6] : {std::pair(beneath.ipv4, false), std::pair(beneath.ipv6, true)}) {
         if (!engine.empty()) {
            EXPECT_THAT(counts(front, isIpv6), testing::HasSubstr("  nodes  ")) << front;
            EXPECT_EQ(counts(engine, isIpv6), counts(front, isIpv6)) << front;
         }
      }
   }
}

// Every engine of both families prints the same answers, and one of a family alone those of its family.
TEST_F(FrontEnds, everyOpPrintsTheSameInEveryEngine) {
   const auto answers = [&](const Engine& engine, std::string_view op, std::vector<std::string> asked) {
      asked.insert(asked.begin(), {"lookup", "--table", both_, "--engine", std::string(engine.name), "--op",
                                   std::string(op), "--format", "json"});
      const Support::Ran ran = rtrie(asked);
      EXPECT_EQ("", ran.err) << engine.name;
      EXPECT_EQ(0, ran.status) << engine.name;
      return ran.out;
   };
   const auto ofFamily = [&](Corenet::AddressFamily af) {
      std::vector<std::string> asked;
      std::copy_if(queries.begin(), queries.end(), std::back_inserter(asked), [&](const std::string& query) {
         return (query.find(':') != query.npos) == (af == Corenet::ipv6);
      });
      return asked;
   };
   for (const Op& op : ops()) {
      SCOPED_TRACE(op.name);
      std::map<Corenet::AddressFamily, std::string> expected;  // by the first engine of the family
      for (const Engine& engine : engines()) {
         for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
            if (engine.holds(af)) {
               const std::string got = answers(engine, op.name, ofFamily(af));
               EXPECT_EQ(expected.emplace(af, got).first->second, got) << engine.name;
            }
         }
      }
      EXPECT_EQ(2U, expected.size());
   }
}

TEST_F(FrontEnds, theDefaultAnswersForBothFamiliesAtOnce) {
   std::vector<std::string> arguments = {"lookup", "--table", both_, "--op", "next"};
   arguments.insert(arguments.end(), queries.begin(), queries.end());
   const Support::Ran byDefault = rtrie(arguments);
   arguments.insert(arguments.end(), {"--engine", "gen"});
   EXPECT_EQ(rtrie(arguments).out, byDefault.out);
   EXPECT_EQ("", byDefault.err);
   EXPECT_EQ(queries.size(), static_cast<std::size_t>(std::count(byDefault.out.begin(), byDefault.out.end(), '\n')));
   const Support::Ran walk = rtrie({"walk", "--table", both_});
   EXPECT_THAT(walk.out, testing::AllOf(testing::StartsWith("0.0.0.0/0 up4\n10.0.0.0/8 private\n"),
                                        testing::HasSubstr("\n255.255.255.255/32\n::/0 up6\n::1/128\n")));
   EXPECT_EQ(25, std::count(walk.out.begin(), walk.out.end(), '\n'));
}

// A question to the table leaves the front end's own state alone, and the table as it was.
TEST_F(FrontEnds, nextOfWhatIsNoRouteLeavesNothingBehind) {
   GenTable table(Corenet::ipv4);
   auto& trie = static_cast<Routing::TrieGen&>(table.object());
   table.routeIs(prefix("0.0.0.0/0"));
   table.routeIs(prefix("10.0.0.0/8"));
   int published = 0;
   const auto watch = trie.publisher()->subscribe([&](const Corvid::Change&) { ++published; });
   EXPECT_EQ(prefix("10.0.0.0/8"), table.next(prefix("9.9.9.9/32")));
   EXPECT_EQ(RouteTable::Prefix(), table.next(prefix("10.9.9.9/32")));
   EXPECT_EQ(0, published);
   EXPECT_EQ(2U, table.routes());
   EXPECT_EQ("", trie.audit());
}

TEST_F(FrontEnds, fieldsComeFromTheFrontEndFirst) {
   const GenTable gen(Corenet::ipv6);
   const auto& trie = static_cast<Routing::TrieGen&>(gen.object());
   EXPECT_EQ(&gen.object(), &gen.objectWith("routes"));
   EXPECT_EQ(trie.trie6().get(), &gen.objectWith("empty"));
   EXPECT_EQ(&gen.object(), &gen.objectWith("nothing"));
   const Trie6Table trie6(Corenet::ipv6);
   EXPECT_EQ(&trie6.object(), &trie6.objectWith("empty"));
}

}  // namespace FrontTableTest
}  // namespace Rtrie
