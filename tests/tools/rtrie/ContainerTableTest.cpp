// ContainerTable: what it alone does: payloads in the table, bytes by use, its own dumps. Its answers EngineTest compares.
#include "tools/rtrie/engines/ContainerTable.h"

#include <nlohmann/json.hpp>

#include "Support.h"
#include "tools/rtrie/Engine.h"

namespace Rtrie {
namespace ContainerTableTest {

using Corenet::AddressFamily;
using Support::prefix;
using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;

TEST(ContainerTable, keepsPayloads) {
   ContainerTable table(AddressFamily::ipv4);
   table.routeWithPayloadIs(prefix("10.0.0.0/8"), {1, "ten"});
   table.routeWithPayloadIs(prefix("10.1.0.0/16"), {2, "branch"});
   table.routeIs(prefix("0.0.0.0/0"));
   EXPECT_EQ("ten", table.payload(prefix("10.0.0.0/8")));
   EXPECT_EQ("branch", table.payload(prefix("10.1.0.0/16")));
   EXPECT_EQ("", table.payload(prefix("0.0.0.0/0")));
   EXPECT_EQ(std::nullopt, table.payload(prefix("10.0.0.0/9")));
   table.routeWithPayloadIs(prefix("10.0.0.0/8"), {3, "other"});
   table.routeIs(prefix("10.1.0.0/16"));
   EXPECT_EQ("other", table.payload(prefix("10.0.0.0/8")));
   EXPECT_EQ("branch", table.payload(prefix("10.1.0.0/16"))) << "a route again without a payload changes nothing";
   EXPECT_EQ(3U, table.routes());
}

TEST(ContainerTable, bytesByUseAreAllOfThem) {
   ContainerTable table(AddressFamily::ipv6);
   table.routeIs(prefix("2001:db8::/32"));
   std::uint64_t sum = 0;
   std::vector<std::string_view> uses;
   for (const auto& [use, bytes] : table.bytesByUse()) {
      uses.push_back(use);
      sum += bytes;
   }
   EXPECT_THAT(uses, testing::ElementsAre("nodes", "values", "index", "free", "old"));
   EXPECT_GT(sum, 0U);
   EXPECT_EQ(table.untrackedBytes(), sum);
}

class ContainerDump : public testing::Test {
  protected:
   std::string dump(std::vector<std::string> arguments, std::string_view routes) const {
      arguments.insert(arguments.begin(), {"dump", "--table", folder_.file("table", routes), "--engine", "table"});
      const Ran ran = rtrie(arguments);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ(0, ran.status);
      return ran.out;
   }
   Support::Folder folder_;
};

TEST_F(ContainerDump, hasBytesAndRoutesWithPayloads) {
   const std::string out = dump({}, "0.0.0.0/0 up\n10.0.0.0/8\n10.1.0.0/16 branch one\n2001:db8::/32 docs\n");
   EXPECT_THAT(out, testing::StartsWith("IPv4  routes = 3\ntable4\n  bytes #"));
   EXPECT_THAT(out, ContainsRegex("\n    nodes #[0-9]+\n    values #[0-9]+\n    index #[0-9]+\n    free #[0-9]+\n"));
   EXPECT_THAT(out, HasSubstr("  route[] #3\n    0.0.0.0/0 up\n    10.0.0.0/8\n    10.1.0.0/16 branch one\n"));
   EXPECT_THAT(out, HasSubstr("IPv6  routes = 1\ntable6\n"));
   EXPECT_THAT(out, testing::EndsWith("  route[] #1\n    2001:db8::/32 docs\n"));
}

TEST_F(ContainerDump, limitCutsTheList) {
   const std::string out = dump({"--limit", "1"}, "10.0.0.0/8\n11.0.0.0/8\n");
   EXPECT_THAT(out,
               testing::EndsWith("  route[] #2\n  -- The following list will be truncated, use verbose option to "
                                 "display all 2 entries --\n    10.0.0.0/8\n  -- This list has been truncated, "
                                 "use verbose option to display all 2 entries --\n"));
}

// Every kind of line that the tree of a mixed table has is one that the legend explains.
TEST_F(ContainerDump, treeHasALegend) {
   std::string routes =
      "0.0.0.0/0\n10.0.0.0/8\n10.1.0.0/16\n192.0.2.1\n2001:db8::1\n2001:db8:1::/50\n2001:db8:1::/55\n";
   for (unsigned i = 0; i < 40000; ++i) {
      routes += fmt::format("{}.{}.{}.0/24\n", 20 + i / 65536, i / 256 % 256, i % 256);
   }
   const std::string out = dump({"--tree"}, routes);
   const auto body = out.find("\ndefault route\n");
   ASSERT_NE(std::string::npos, body);
   EXPECT_TRUE(out.starts_with("# A line is a node"));
   EXPECT_EQ(out.find("# A line"), out.rfind("# A line")) << "once, for both families";
   std::istringstream lines(out.substr(body + 1));
   for (std::string line; std::getline(lines, line);) {
      EXPECT_THAT(line, ContainsRegex("^(default route| *[0-9a-f.:]+/[0-9]+ (node:( [0-9a-f.:]+/[0-9]+)*|leaf|skip)|"
                                      "index to [0-9]+ bits, [0-9]+ pages)$"));
   }
   for (const char* kind : {" node:", " leaf\n", " skip\n", "index to "}) {
      EXPECT_NE(std::string::npos, out.find(kind, body)) << kind;
   }
}

TEST(ContainerStats, tellsBytesByUse) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
   const Ran text = rtrie({"stats", "--table", table, "--engine", "table"});
   EXPECT_EQ(0, text.status);
   EXPECT_THAT(text.out, ContainsRegex("\n  routes +2\n  nodes +3\n  depth +2.50 nodes on average, 3 at most\n  live "
                                       "bytes +[0-9,]+\n    nodes +[0-9,]+\n    values "));
   EXPECT_THAT(text.out, testing::Not(HasSubstr("engine counts")));
   const auto json = nlohmann::json::parse(rtrie({"stats", "--table", table, "--format", "json"}).out);
   EXPECT_EQ("auto", json["engine"]);
   for (const auto& family : json["families"]) {
      std::uint64_t sum = 0;
      for (const auto& [use, bytes] : family["bytesByUse"].items()) {
         sum += bytes.get<std::uint64_t>();
      }
      EXPECT_GT(sum, 0U);
      EXPECT_EQ(family["liveBytes"], sum);
      EXPECT_TRUE(family.contains("nodes") && family.contains("averageDepth"));
   }
}

}  // namespace ContainerTableTest
}  // namespace Rtrie
