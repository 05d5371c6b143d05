// MultibitTable: what rtrie shows of the multibit trie, beside what EngineTest asks of every engine.
#include "tools/rtrie/engines/MultibitTable.h"

#include "Support.h"

namespace Rtrie {
namespace MultibitTableTest {

using Support::prefix;
using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;

class Multibit : public testing::Test {
  protected:
   const Support::Folder folder_;
   const std::string table_ = folder_.file("table",
                                           "0.0.0.0/0\n10.0.0.0/8\n10.1.0.0/16 branch\n10.1.2.0/24\n11.1.0.0/16\n"
                                           "12.1.0.0/16\n13.1.0.0/16\n192.0.2.1/32\n2001:db8::/32\n");

   std::string ran(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin() + 1, {"--table", table_, "--engine", "multibit"});
      const Ran result = rtrie(arguments);
      EXPECT_EQ("", result.err);
      EXPECT_EQ(0, result.status);
      return result.out;
   }
};

TEST_F(Multibit, everyOpThatItHas) {
   const auto answers = [&](const char* op, std::vector<std::string> queries) {
      queries.insert(queries.begin(), {"lookup", "--format", "tsv", "--op", op});
      return ran(queries);
   };
   EXPECT_THAT(answers("match", {"10.1.2.3", "99.9.9.9"}),
               testing::AllOf(HasSubstr("10.1.2.3/32\t10.1.2.0/24"), HasSubstr("99.9.9.9/32\t0.0.0.0/0")));
   EXPECT_THAT(answers("parent", {"10.1.2.0/24", "10.0.0.0/8", "0.0.0.0/0"}),
               testing::AllOf(HasSubstr("10.1.2.0/24\t10.1.0.0/16"), HasSubstr("10.0.0.0/8\t0.0.0.0/0"),
                              HasSubstr("0.0.0.0/0\t-")));
   EXPECT_EQ("10.1.2.3/32\t0.0.0.0/0\n10.1.2.3/32\t10.0.0.0/8\n10.1.2.3/32\t10.1.0.0/16\n10.1.2.3/32\t10.1.2.0/24\n",
             answers("covering", {"10.1.2.3"}));
   // Of 8.0.0.0/5 the routes begin in one node and in its children.
   EXPECT_EQ(
      "0.0.0.0/0\t10.0.0.0/8\n0.0.0.0/0\t11.1.0.0/16\n0.0.0.0/0\t12.1.0.0/16\n0.0.0.0/0\t13.1.0.0/16\n"
      "0.0.0.0/0\t192.0.2.1/32\n8.0.0.0/5\t10.0.0.0/8\n8.0.0.0/5\t11.1.0.0/16\n8.0.0.0/5\t12.1.0.0/16\n"
      "8.0.0.0/5\t13.1.0.0/16\n10.1.0.0/16\t10.1.2.0/24\n10.1.2.0/24\t-\n",
      answers("children", {"0.0.0.0/0", "8.0.0.0/5", "10.1.0.0/16", "10.1.2.0/24"}));
   EXPECT_THAT(answers("next", {"10.0.0.0/8", "10.1.2.128/25", "192.0.2.1"}),
               testing::AllOf(HasSubstr("10.0.0.0/8\t10.1.0.0/16"), HasSubstr("10.1.2.128/25\t11.1.0.0/16"),
                              HasSubstr("192.0.2.1/32\t-")));
   EXPECT_THAT(answers("subtree", {"10.1.0.0/16"}),
               testing::AllOf(HasSubstr("10.1.0.0/16\t10.1.0.0/16"), HasSubstr("10.1.0.0/16\t10.1.2.0/24")));
}

TEST_F(Multibit, nextOfWhatIsNoRouteLeavesNothingBehind) {
   MultibitTable table(Corenet::ipv4);
   table.routeIs(prefix("10.0.0.0/8"));
   EXPECT_EQ(prefix("10.0.0.0/8"), table.next(prefix("9.9.9.9/32")));
   EXPECT_EQ(RouteTable::Prefix(), table.next(prefix("10.9.9.9/32")));
   EXPECT_EQ(RouteTable::Prefix(), table.next(Corenet::Prefix::nullPrefix()));
   EXPECT_EQ(1U, table.routes());
   EXPECT_EQ(0U, table.shape().nodes);
}

TEST_F(Multibit, dumpsItsRoutesAndItsNodes) {
   EXPECT_THAT(
      ran({"dump", "--limit", "2"}),
      testing::StartsWith(
         "IPv4  routes = 8\nTrie\n  route[] #7\n  -- The following list will be truncated, use verbose option to "
         "display all 7 entries --\n    0.0.0.0/0\n    10.0.0.0/8\n"));
   EXPECT_THAT(ran({"dump", "--tree"}),
               testing::AllOf(testing::StartsWith(" ->[0.0.0.0/8 0x"), HasSubstr("   [00000001 10.0.0.0]\n")));
}

TEST_F(Multibit, countsItsNodesByLevel) {
   const std::string out = ran({"stats"});
   EXPECT_THAT(out, ContainsRegex("\n  nodes +11\n"));
   EXPECT_THAT(out, ContainsRegex("\n  nodes by level\n"
                                  "    0 \\(/1 to /8\\) +1 +#+\n"
                                  "    1 \\(/9 to /16\\) +5 +#{50}\n"
                                  "    2 \\(/17 to /20\\) +2 +#+\n"
                                  "    3 \\(/21 to /24\\) +2 +#+\n"
                                  "    4 \\(/25 to /28\\) +1 +#+\n"
                                  "    5 \\(/29 to /32\\) +1 +#+\n"));
   EXPECT_THAT(out, ContainsRegex("\n  routes by level\n"
                                  "    0 \\(/1 to /8\\) +1 +#+\n"
                                  "    1 \\(/9 to /16\\) +4 +#{50}\n"
                                  "    3 \\(/21 to /24\\) +1 +#+\n"
                                  "    5 \\(/29 to /32\\) +1 +#+\n"));
   EXPECT_THAT(out, ContainsRegex("\nIPv6\n  routes +1 in the tables: engine multibit holds none\n"));
}

TEST_F(Multibit, countsTheArraysOfChildren) {
   MultibitTable table(Corenet::ipv4);
   for (const char* route : {"10.0.0.0/16", "11.0.0.0/16", "12.0.0.0/16"}) {
      table.routeIs(prefix(route));
      EXPECT_EQ(0U, table.untrackedBytes());
   }
   table.routeIs(prefix("13.0.0.0/16"));
   EXPECT_GE(table.untrackedBytes(), 256 * sizeof(void*) + sizeof(std::size_t));
}

}  // namespace MultibitTableTest
}  // namespace Rtrie
