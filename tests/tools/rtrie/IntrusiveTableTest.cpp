// IntrusiveTable: what rtrie shows of the intrusive trie, beside what EngineTest asks of every engine.
#include "tools/rtrie/engines/IntrusiveTable.h"

#include "Support.h"

namespace Rtrie {
namespace IntrusiveTableTest {

using Support::prefix;
using Support::Ran;
using Support::rtrie;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

class Intrusive : public testing::Test {
  protected:
   const Support::Folder folder_;
   const std::string table_ = folder_.file("table",
                                           "::/0\n2001:db8::/32\n2001:db8::/48\n2001:db8:1::/48 branch\n"
                                           "2001:dba::/32\nfe80::1/128\n10.0.0.0/8\n");

   std::string ran(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin() + 1, {"--table", table_, "--engine", "intrusive"});
      const Ran result = rtrie(arguments);
      EXPECT_EQ("", result.err);
      EXPECT_EQ(0, result.status);
      return result.out;
   }
};

TEST_F(Intrusive, everyOpThatItHas) {
   const auto answers = [&](const char* op, std::vector<std::string> queries) {
      queries.insert(queries.begin(), {"lookup", "--format", "tsv", "--op", op});
      return ran(queries);
   };
   EXPECT_THAT(answers("match", {"2001:db8:1::7", "3000::"}),
               AllOf(HasSubstr("2001:db8:1::7/128\t2001:db8:1::/48"), HasSubstr("3000::/128\t::/0")));
   EXPECT_THAT(answers("exact", {"2001:db8::/32", "2001:db8::/33"}),
               AllOf(HasSubstr("2001:db8::/32\tyes"), HasSubstr("2001:db8::/33\tno")));
   EXPECT_THAT(
      answers("parent", {"2001:db8:1::/48", "2001:dba::/32", "::/0"}),
      AllOf(HasSubstr("2001:db8:1::/48\t2001:db8::/32"), HasSubstr("2001:dba::/32\t::/0"), HasSubstr("::/0\t-")));
   EXPECT_THAT(answers("covering", {"2001:db8:1::7"}),
               AllOf(HasSubstr("\t::/0"), HasSubstr("\t2001:db8::/32"), HasSubstr("\t2001:db8:1::/48")));
   EXPECT_THAT(answers("subtree", {"2001:db8::/47"}),
               AllOf(HasSubstr("\t2001:db8::/48"), HasSubstr("\t2001:db8:1::/48")));
   EXPECT_THAT(answers("longer", {"2001:db8::/32", "2001:db8::/47", "2001:db8::/48", "2001:db9::/32", "::/0"}),
               AllOf(HasSubstr("2001:db8::/32\tyes"), HasSubstr("2001:db8::/47\tyes"), HasSubstr("2001:db8::/48\tno"),
                     HasSubstr("2001:db9::/32\tno"), HasSubstr("::/0\tyes")));
   EXPECT_EQ(
      "::/0\t2001:db8::/32\n::/0\t2001:dba::/32\n::/0\tfe80::1/128\n"
      "2001:db8::/32\t2001:db8::/48\n2001:db8::/32\t2001:db8:1::/48\n"
      "2001:dba::/32\t-\n",
      answers("children", {"::/0", "2001:db8::/32", "2001:dba::/32"}));
   EXPECT_THAT(answers("next", {"2001:db8::/33", "2001:dba::/32", "fe80::1/128"}),
               AllOf(HasSubstr("2001:db8::/33\t2001:db8::/48"), HasSubstr("2001:dba::/32\tfe80::1/128"),
                     HasSubstr("fe80::1/128\t-")));
}

TEST_F(Intrusive, dumpsItsStructure) {
   const std::string out = ran({"dump"});
   EXPECT_THAT(out, testing::StartsWith("IPv6  routes = 6\nIpv6Trie\n  Trie\n    o ::/0 0x"));
   EXPECT_THAT(out, ContainsRegex("\n    \\| L 2001:db8::/30 0x[0-9a-f]{16} I 0x[0-9a-f]{16}\n"));
   EXPECT_THAT(out, ContainsRegex(" R fe80::1/128 0x[0-9a-f]{16} E 0x[0-9a-f]{16}\n"));
}

TEST_F(Intrusive, dumpsItsTreeWithoutTheObjectAroundIt) {
   const std::string out = ran({"dump", "--tree"});
   EXPECT_THAT(out, testing::StartsWith("Trie\n  o ::/0 0x"));
   EXPECT_THAT(out, ContainsRegex("\n  \\| L 2001:db8::/30 0x[0-9a-f]{16} I 0x[0-9a-f]{16}\n"));
   EXPECT_THAT(out, ContainsRegex("\n  \\| \\| L 2001:db8::/32 0x[0-9a-f]{16} E 0x[0-9a-f]{16}\n"));
}

TEST_F(Intrusive, countsRoutesAndTheNodesThatJoinThem) {
   const std::string out = ran({"stats"});
   EXPECT_THAT(out, ContainsRegex("\nIPv6\n  routes +6\n  nodes +8\n"));
   EXPECT_THAT(out, ContainsRegex("routes +1 in the tables: engine intrusive holds none\n"));
}

TEST_F(Intrusive, aRouteTwiceIsOnce) {
   IntrusiveTable table(Corenet::ipv6);
   table.routeIs(prefix("2001:db8::/32"));
   table.routeIs(prefix("2001:db8::/32"));
   EXPECT_EQ(1U, table.routes());
   EXPECT_EQ(1U, table.shape().nodes);
}

}  // namespace IntrusiveTableTest
}  // namespace Rtrie
