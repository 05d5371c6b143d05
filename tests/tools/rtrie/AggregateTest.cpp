// AggregateCommand: the program, making tables smaller.
#include "tools/rtrie/commands/AggregateCommand.h"

#include <nlohmann/json.hpp>

#include <random>

#include "Support.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace AggregateTest {

using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;

class Aggregate : public testing::Test {
  protected:
   Ran aggregate(std::string_view routes, std::vector<std::string> arguments = {}) const {
      arguments.insert(arguments.begin(), {"aggregate", "--table", folder_.file("table", routes)});
      return rtrie(arguments);
   }
   Support::Folder folder_;
};

TEST_F(Aggregate, fewerRoutesWithTheSameAnswers) {
   const Ran ran = aggregate(
      "10.0.0.0/9 a\n10.128.0.0/9 a\n10.3.0.0/16 b\n10.3.7.0/24 b\n"
      "2001:db8::/33 docs\n2001:db8:8000::/33 docs\n");
   EXPECT_EQ("", ran.err);
   EXPECT_EQ("10.0.0.0/8 a\n10.3.0.0/16 b\n2001:db8::/32 docs\n", ran.out);
   EXPECT_EQ(0, ran.status);
}

TEST_F(Aggregate, formats) {
   const std::string_view routes = "10.0.0.0/9 a, b\n10.128.0.0/9 a, b\n";
   EXPECT_EQ("10.0.0.0/8\n", aggregate(routes, {"--format", "tsv"}).out);
   EXPECT_EQ("10.0.0.0/8\ta, b\n", aggregate(routes, {"--format", "tsv-payload"}).out);
   EXPECT_EQ("prefix,payload\n10.0.0.0/8,\"a, b\"\n", aggregate(routes, {"--format", "csv"}).out);
   EXPECT_EQ("{\"prefix\":\"10.0.0.0/8\",\"length\":8,\"payload\":\"a, b\"}\n",
             aggregate(routes, {"--format", "json"}).out);
   EXPECT_EQ(2, aggregate(routes, {"--format", "xml"}).status);
}

TEST_F(Aggregate, prefixesOnly) {
   EXPECT_EQ("10.0.0.0/8\n", aggregate("10.0.0.0/9 a\n10.128.0.0/9 b\n10.1.0.0/16 c\n", {"--prefixes-only"}).out);
}

TEST_F(Aggregate, badLinesAreLeftOut) {
   const Ran ran = aggregate("10.0.0.0/9\nnonsense\n10.128.0.0/9\n");
   EXPECT_EQ("10.0.0.0/8\n", ran.out);
   EXPECT_THAT(ran.err, HasSubstr("table:2: "));
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(3, aggregate("# nothing\n").status);
}

// Every address at which an answer can change is answered as before, by lookup itself.
TEST_F(Aggregate, answersStay) {
   std::mt19937 random(3);
   std::string routes;
   std::string queries;
   for (unsigned i = 0; i < 600; ++i) {
      const auto length = static_cast<U8>(1 + random() % 12);
      const U32 bits = static_cast<U32>(random()) >> (32 - length) << (32 - length);
      const bool isIpv4 = random() % 2 == 0;
      const auto prefix = isIpv4 ? prefixOf(bits, length) : prefixOf(Corenet::U128{bits} << 96, length);
      routes += fmt::format("{} p{}\n", prefix.stringValue(), random() % 3);
      const U32 last = bits | ~(~U32{0} << (32 - length));
      for (const U32 address : {bits, bits - 1, last, last + 1}) {
         queries += fmt::format(
            "{}\n", (isIpv4 ? prefixOf(address, 32) : prefixOf(Corenet::U128{address} << 96, 128)).stringValue());
      }
   }
   const auto before = folder_.file("before", routes);
   const Ran fewer = rtrie({"aggregate", "--table", before});
   const auto after = folder_.file("after", fewer.out);
   EXPECT_LT(std::count(fewer.out.begin(), fewer.out.end(), '\n'), 500);
   const auto payloads = [&](const std::string& table) {
      const Ran ran = rtrie({"lookup", "--table", table, "--format", "json"}, queries);
      std::vector<std::string> all;
      std::istringstream lines(ran.out);
      for (std::string line; std::getline(lines, line);) {
         const auto json = nlohmann::json::parse(line);
         all.push_back(json["query"].get<std::string>() + " " +
                       (json["payload"].is_null() ? "none" : json["payload"].get<std::string>()));
      }
      return all;
   };
   const auto expected = payloads(before);
   EXPECT_EQ(2400U, expected.size());
   EXPECT_TRUE(expected == payloads(after));
}

}  // namespace AggregateTest
}  // namespace Rtrie
