// VerifyCommand: the program, verifying its engines.
#include "tools/rtrie/commands/VerifyCommand.h"

#include <nlohmann/json.hpp>

#include <set>

#include "Support.h"
#include "tools/rtrie/Engine.h"

namespace Rtrie {
namespace VerifyTest {

using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;

class Verify : public testing::Test {
  protected:
   Ran verify(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {"verify", "--table", table_, "--samples", "20"});
      return rtrie(arguments);
   }
   Support::Folder folder_;
   std::string table_ =
      folder_.file("table", "0.0.0.0/0 up\n10.0.0.0/8\n10.1.0.0/16 branch\n192.0.2.1\n2001:db8::/32 docs\n::1\n");
};

TEST_F(Verify, everyEngineOfEachFamily) {
   const Ran ran = verify({"--format", "json"});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
   std::set<std::string> seen;
   std::istringstream lines(ran.out);
   for (std::string line; std::getline(lines, line);) {
      const auto json = nlohmann::json::parse(line);
      EXPECT_TRUE(json["sound"].get<bool>()) << line;
      EXPECT_EQ(0, json["faults"]);
      EXPECT_EQ(nlohmann::json::array(), json["shown"]);
      EXPECT_EQ(json["family"] == "ipv4" ? 4 : 2, json["routes"]);
      EXPECT_GT(json["borders"], 4);
      EXPECT_EQ(20 * 3 * 8, json["samples"]);
      EXPECT_TRUE(json["seconds"].is_number());
      seen.insert(json["family"].get<std::string>() + " " + json["engine"].get<std::string>());
   }
   std::set<std::string> expected;
   for (const Engine& engine : engines().subspan(1)) {
      if (engine.ipv4) {
         expected.insert("ipv4 " + std::string(engine.name));
      }
      if (engine.ipv6) {
         expected.insert("ipv6 " + std::string(engine.name));
      }
   }
   EXPECT_EQ(expected, seen);
}

TEST_F(Verify, textAndRows) {
   const Ran text = verify({"--engine", "table", "--engine", "multibit"});
   EXPECT_THAT(
      text.out,
      ContainsRegex("^ +engine +routes +borders +samples +seconds\nIPv4  table +sound +4 +[0-9]+ +480 +[0-9.]+\n"
                    "IPv4  multibit +sound +4 .*\nIPv6  table +sound +2 .*\n$"));
   EXPECT_EQ(0, text.status);
   EXPECT_THAT(verify({"--engine", "table", "--format", "tsv"}).out,
               ContainsRegex("^ipv4\ttable\tsound\t4\t[0-9]+\t480\t0\t[0-9.]+\nipv6\ttable\tsound\t2\t"));
   EXPECT_THAT(
      verify({"--engine", "table", "--format", "csv"}).out,
      testing::StartsWith("family,engine,result,routes,borders,samples,faults,seconds\nipv4,table,sound,4,"));
}

TEST_F(Verify, badUsageAndInput) {
   const Ran unknown = verify({"--engine", "radix"});
   EXPECT_THAT(unknown.err, HasSubstr("unknown engine \"radix\": known are auto, table, "));
   EXPECT_EQ(2, unknown.status);
   EXPECT_EQ(2, verify({"--format", "xml"}).status);
   EXPECT_EQ(2, verify({"--samples", "-1"}).status);
   EXPECT_EQ(3, rtrie({"verify", "--table", folder_.path("none")}).status);
   const Ran family = rtrie({"verify", "--table", folder_.file("four", "10.0.0.0/8\n"), "--engine", "intrusive"});
   EXPECT_EQ("rtrie: no engine that was asked for holds a family of the table\n", family.err);
   EXPECT_EQ(3, family.status);
   const Ran bad = rtrie({"verify", "--table", folder_.file("bad", "10.0.0.0/8\nnonsense\n"), "--engine", "table"});
   EXPECT_THAT(bad.out, HasSubstr("sound"));
   EXPECT_EQ(1, bad.status) << "a bad line is told by the exit status";
}

}  // namespace VerifyTest
}  // namespace Rtrie
