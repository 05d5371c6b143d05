// FreeCommand: the program, asked for what is free.
#include "tools/rtrie/commands/FreeCommand.h"

#include "Support.h"

namespace Rtrie {
namespace FreeTest {

using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;

class Free : public testing::Test {
  protected:
   Ran free(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), {"free", "--table", table_});
      return rtrie(arguments);
   }
   Support::Folder folder_;
   std::string table_ =
      folder_.file("table",
                   "0.0.0.0/0 up\n10.0.0.0/16 the pool itself\n10.0.0.0/24 taken\n10.0.2.128/25 taken\n"
                   "10.0.128.0/17 taken\n2001:db8::/33 taken\n2001:db8:c000::1 taken\n");
};

TEST_F(Free, prefixesOfALength) {
   const Ran ran = free({"--within", "10.0.0.0/16", "--length", "24", "--count", "3"});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ("10.0.1.0/24\n10.0.3.0/24\n10.0.4.0/24\n", ran.out);
   EXPECT_EQ(0, ran.status);
   const std::string all = free({"--within", "10.0.0.0/16", "--length", "24"}).out;
   EXPECT_EQ(126, std::count(all.begin(), all.end(), '\n'));
   EXPECT_THAT(all, testing::EndsWith("\n10.0.127.0/24\n"));
   EXPECT_EQ("10.0.64.0/18\n", free({"--within", "10.0.0.0/16", "--length", "18"}).out);
   EXPECT_EQ("", free({"--within", "10.0.0.0/16", "--length", "16"}).out);
   EXPECT_EQ("10.0.2.0/32\n",
             free({"--within", "10.0.2.0/23", "--ignore", "10.0.0.0/16", "--length", "32", "--count", "1"}).out);
   EXPECT_EQ("2001:db8:8000::/48\n2001:db8:8001::/48\n",
             free({"--within", "2001:db8::/32", "--length", "48", "--count", "2"}).out);
}

TEST_F(Free, allInTheFewestPrefixes) {
   EXPECT_EQ(
      "10.0.1.0/24\n10.0.2.0/25\n10.0.3.0/24\n10.0.4.0/22\n10.0.8.0/21\n10.0.16.0/20\n10.0.32.0/19\n10.0.64.0/18\n",
      free({"--within", "10.0.0.0/16"}).out);
   EXPECT_EQ("11.0.0.0/8\n", free({"--within", "11.0.0.0/8"}).out);
}

// Rather nothing free than something that is taken.
TEST_F(Free, whatTakesAllIsTold) {
   const Ran taken = free({"--within", "10.0.200.0/24"});
   EXPECT_EQ("", taken.out);
   EXPECT_EQ(
      "rtrie: 10.0.0.0/16 takes all of 10.0.200.0/24; --ignore 10.0.0.0/16 if it is no assignment\n"
      "rtrie: 10.0.128.0/17 takes all of 10.0.200.0/24; --ignore 10.0.128.0/17 if it is no assignment\n",
      taken.err);
   EXPECT_EQ(0, taken.status);
   const Ran pool = free({"--within", "10.0.200.0/24", "--ignore", "10.0.0.0/16", "--ignore", "10.0.128.0/17"});
   EXPECT_EQ("10.0.200.0/24\n", pool.out);
   EXPECT_EQ("", pool.err);
   EXPECT_EQ(2, free({"--within", "10.0.200.0/24", "--ignore", "nonsense"}).status);
}

TEST_F(Free, formats) {
   const std::vector<std::string> asked = {"--within", "10.0.0.0/16", "--length", "18", "--format"};
   const auto as = [&](const char* format) {
      auto arguments = asked;
      arguments.emplace_back(format);
      return free(arguments);
   };
   EXPECT_EQ("10.0.64.0/18\n", as("tsv").out);
   EXPECT_EQ("prefix\n10.0.64.0/18\n", as("csv").out);
   EXPECT_EQ("{\"prefix\":\"10.0.64.0/18\",\"length\":18}\n", as("json").out);
   EXPECT_EQ(2, as("xml").status);
}

TEST_F(Free, badUsageIsOneLine) {
   const auto usage = [&](std::vector<std::string> arguments) {
      const Ran ran = free(arguments);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(2, ran.status);
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      return ran.err;
   };
   EXPECT_EQ("rtrie: prefix length 33 exceeds 32\n", usage({"--within", "10.0.0.0/8", "--length", "33"}));
   EXPECT_EQ("rtrie: no prefix of length 7 lies within 10.0.0.0/8\n",
             usage({"--within", "10.0.0.0/8", "--length", "7"}));
   EXPECT_THAT(usage({"--within", "10.0.0.0/33"}), HasSubstr("prefix length 33 exceeds 32: \"10.0.0.0/33\""));
   EXPECT_THAT(usage({"--within", "nonsense"}), HasSubstr("\"nonsense\""));
   usage({"--length", "24"});
   usage({"--within", "10.0.0.0/8", "--length", "-1"});
   usage({"--within", "10.0.0.0/8", "--count", "many"});
   EXPECT_EQ(3, rtrie({"free", "--table", folder_.path("none"), "--within", "10.0.0.0/8"}).status);
}

}  // namespace FreeTest
}  // namespace Rtrie
