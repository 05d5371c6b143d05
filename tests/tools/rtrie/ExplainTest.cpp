// ExplainCommand: the program, asked why.
#include "tools/rtrie/commands/ExplainCommand.h"

#include <nlohmann/json.hpp>

#include "Support.h"

namespace Rtrie {
namespace ExplainTest {

using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;

class Explain : public testing::Test {
  protected:
   Ran explain(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), {"explain", "--table", table_});
      return rtrie(arguments, input);
   }

   Support::Folder folder_;
   std::string table_ = folder_.file("table.txt",
                                     "0.0.0.0/0 upstream\n10.0.0.0/8 private\n10.1.0.0/16 branch\n"
                                     "2001:db8::/32 docs, \"all\" of them\n2001:db8:1::/48\n");
};

TEST_F(Explain, tellsTheChainAndWhatWasRead) {
   const Ran ran = explain({"10.1.2.3", "192.0.2.1", "2001:db9::1"});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
   EXPECT_THAT(ran.out, testing::StartsWith("10.1.2.3/32\n"
                                            "  0.0.0.0/0    upstream  not taken: a longer one covers it\n"
                                            "  10.0.0.0/8   private   not taken: a longer one covers it\n"
                                            "  10.1.0.0/16  branch    taken: the longest\n"
                                            "  read: "));
   EXPECT_THAT(ran.out,
               ContainsRegex("\n  read: [1-9][0-9]* places?, [0-9]+ bytes\n    bit 0 +[0-9]+ bytes  node\n"));
   EXPECT_THAT(ran.out, HasSubstr("192.0.2.1/32\n  0.0.0.0/0  upstream  taken: the longest\n"));
   EXPECT_THAT(ran.out, HasSubstr("2001:db9::1/128\n  no route\n  read: "));
}

TEST_F(Explain, speaksJson) {
   const Ran ran = explain({"--format", "json", "2001:db8:1::1", "2001:db9::/32"});
   EXPECT_EQ(0, ran.status);
   std::istringstream lines(ran.out);
   std::string line;
   std::getline(lines, line);
   auto json = nlohmann::json::parse(line);
   EXPECT_EQ("2001:db8:1::1/128", json["query"]);
   EXPECT_EQ("2001:db8:1::/48", json["answer"]);
   EXPECT_EQ("", json["payload"]);
   ASSERT_EQ(2U, json["candidates"].size());
   EXPECT_EQ((nlohmann::json{{"prefix", "2001:db8::/32"},
                             {"payload", "docs, \"all\" of them"},
                             {"verdict", "shorter"},
                             {"why", "not taken: a longer one covers it"}}),
             json["candidates"][0]);
   EXPECT_EQ("taken", json["candidates"][1]["verdict"]);
   std::uint64_t bytes = 0;
   for (const auto& read : json["reads"]) {
      EXPECT_TRUE(read["bit"].is_number_unsigned());
      EXPECT_TRUE(read["what"].is_string());
      bytes += read["bytes"].get<std::uint64_t>();
   }
   EXPECT_GT(bytes, 0U);
   EXPECT_EQ(bytes, json["readBytes"]);
   std::getline(lines, line);
   json = nlohmann::json::parse(line);
   EXPECT_TRUE(json["answer"].is_null());
   EXPECT_TRUE(json["payload"].is_null());
   EXPECT_EQ(nlohmann::json::array(), json["candidates"]);
}

TEST_F(Explain, speaksRows) {
   EXPECT_EQ(
      "10.1.0.0/16\t0.0.0.0/0\tupstream\tshorter\tnot taken: a longer one covers it\n"
      "10.1.0.0/16\t10.0.0.0/8\tprivate\tshorter\tnot taken: a longer one covers it\n"
      "10.1.0.0/16\t10.1.0.0/16\tbranch\ttaken\ttaken: the longest\n"
      "::/0\t-\t\tnone\tno route\n",
      explain({"--format", "tsv", "10.1.0.0/16", "::/0"}).out);
   EXPECT_EQ(
      "query,prefix,payload,verdict,why\n"
      "2001:db8::/32,2001:db8::/32,\"docs, \"\"all\"\" of them\",taken,taken: the longest\n",
      explain({"--format", "csv", "2001:db8::/32"}).out);
}

TEST_F(Explain, queriesFromStandardInput) {
   const Ran ran = explain({"--format", "tsv"}, "# queries\n10.9.9.9  # one\nnonsense\n\n192.0.2.1\n");
   EXPECT_THAT(ran.out, HasSubstr("10.9.9.9/32\t10.0.0.0/8\tprivate\ttaken\t"));
   EXPECT_THAT(ran.out, testing::EndsWith("192.0.2.1/32\t0.0.0.0/0\tupstream\ttaken\ttaken: the longest\n"));
   EXPECT_THAT(ran.err, testing::StartsWith("rtrie: <stdin>:3: "));
   EXPECT_EQ(1, ran.status);
}

TEST_F(Explain, badUsageAndInput) {
   const Ran bad = explain({"nonsense"});
   EXPECT_THAT(bad.err, HasSubstr("\"nonsense\""));
   EXPECT_EQ(3, bad.status) << "nothing was answered";
   const Ran format = explain({"--format", "xml", "10.0.0.1"});
   EXPECT_EQ("rtrie: unknown format \"xml\": known are text, tsv, csv, json\n", format.err);
   EXPECT_EQ(2, format.status);
   const Ran input = rtrie({"explain", "--table", "-"}, "10.0.0.0/8\n");
   EXPECT_EQ("rtrie: standard input is the table: give the queries as arguments\n", input.err);
   EXPECT_EQ(2, input.status);
   EXPECT_EQ(0, rtrie({"explain", "--table", "-", "10.0.0.1"}, "10.0.0.0/8\n").status);
   EXPECT_EQ(3, rtrie({"explain", "--table", folder_.path("none"), "10.0.0.1"}).status);
   const Ran help = rtrie({"explain", "--help"});
   EXPECT_THAT(help.out, HasSubstr("Verdicts:\n  taken     the answer"));
   EXPECT_EQ(0, help.status);
}

}  // namespace ExplainTest
}  // namespace Rtrie
