// PrefixCompletion: by a number at a time, in both families, held against a look at every route; and quick in a large table.
#include "tools/rtrie/shell/PrefixCompletion.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "routetrie/platform/Corenet.h"

namespace Rtrie {
namespace PrefixCompletionTest {

using testing::ElementsAre;
using testing::IsEmpty;

// Words that are not whole end in an ellipsis.
std::vector<std::string> completed(std::string_view begin, const std::vector<std::string>& routes) {
   routetrie::table<U32> table;
   for (const auto& route : routes) {
      table.insert_or_assign(Corenet::IpGenPrefix::fromString(route), U32{0});
   }
   std::vector<std::string> texts;
   for (const auto& word : completedPrefixes(begin, table)) {
      texts.push_back(word.text + (word.isWhole ? "" : "..."));
   }
   return texts;
}

TEST(PrefixCompletion, oneNumberAtATime) {
   const std::vector<std::string> routes = {"10.1.0.0/16", "10.1.2.0/24", "10.7.0.0/16", "100.64.0.0/10",
                                            "192.0.2.0/24"};
   EXPECT_THAT(completed("", routes), ElementsAre("10....", "100.64.0.0/10", "192.0.2.0/24"));
   EXPECT_THAT(completed("1", routes), ElementsAre("10....", "100.64.0.0/10", "192.0.2.0/24"));
   EXPECT_THAT(completed("10", routes), ElementsAre("10....", "100.64.0.0/10"));
   EXPECT_THAT(completed("10.", routes), ElementsAre("10.1....", "10.7.0.0/16"));
   EXPECT_THAT(completed("10.1.", routes), ElementsAre("10.1.0.0/16", "10.1.2.0/24"));
   EXPECT_THAT(completed("10.1.2", routes), ElementsAre("10.1.2.0/24"));
   EXPECT_THAT(completed("10.1.2.0", routes), ElementsAre("10.1.2.0/24"));
   EXPECT_THAT(completed("10.1.2.0/24", routes), ElementsAre("10.1.2.0/24"));
   EXPECT_THAT(completed("10.2", routes), IsEmpty());
}

TEST(PrefixCompletion, lengthsOfAnAddress) {
   const std::vector<std::string> routes = {"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/32", "10.0.0.1/32"};
   EXPECT_THAT(completed("10.0.0.0/", routes), ElementsAre("10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/32"));
   EXPECT_THAT(completed("10.0.0.0/1", routes), ElementsAre("10.0.0.0/16"));
   EXPECT_THAT(completed("10.0.0.", routes), ElementsAre("10.0.0.0/8", "10.0.0.0/16", "10.0.0.0/32", "10.0.0.1/32"));
   EXPECT_THAT(completed("0.", routes), ElementsAre("0.0.0.0/0"));
}

TEST(PrefixCompletion, ipv6) {
   const std::vector<std::string> routes = {
      "::/0",           "::1/128",         "2001::/32",         "2001:0:53aa::/48",
      "2001:db8::/32",  "2001:db8:1::/48", "2001:db8:1:2::/64", "2001:dead::/32",
      "2001:db8::1/128"};
   EXPECT_THAT(completed("2", routes), ElementsAre("2001:..."));
   EXPECT_THAT(completed("2001:d", routes), ElementsAre("2001:db8:...", "2001:dead::/32"));
   EXPECT_THAT(completed("2001:db8:", routes), ElementsAre("2001:db8::...", "2001:db8:1:..."));
   EXPECT_THAT(completed("2001:db8::", routes), ElementsAre("2001:db8::/32", "2001:db8::1/128"));
   EXPECT_THAT(completed("2001:db8:1:", routes), ElementsAre("2001:db8:1::/48", "2001:db8:1:2::/64"));
   EXPECT_THAT(completed("2001:", routes),
               ElementsAre("2001::...", "2001:0:53aa::/48", "2001:db8:...", "2001:dead::/32"));
   EXPECT_THAT(completed("::", routes), ElementsAre("::/0", "::1/128"));
   EXPECT_THAT(completed(":", routes), ElementsAre("::/0", "::1/128"));
}

TEST(PrefixCompletion, whatIsNoAddressHasNone) {
   const std::vector<std::string> routes = {"0.0.0.0/0", "10.0.0.0/8", "::/0"};
   for (const auto* text :
        {"x", "10.x.", "256.", "10..", "10.0.0.0.", "1:2:3:4:5:6:7:8:9", "12345:", "-", "/", "10/8"}) {
      EXPECT_THAT(completed(text, routes), IsEmpty()) << text;
   }
}

// Whatever is offered begins some route's text, and each route whose text begins so is offered or lies behind what is.
TEST(PrefixCompletion, offersAllAndNothingElse) {
   const unsigned seed = std::random_device()();
   SCOPED_TRACE(fmt::format("seed {}", seed));
   std::mt19937 random(seed);
   for (int round = 0; round < 60; ++round) {
      std::vector<std::string> texts;
      routetrie::table<U32> table;
      for (int i = 0; i < 40; ++i) {
         const auto few = [&] { return random() % 4 == 0 ? random() % 256 : random() % 3; };
         const bool isIpv4 = random() % 2 == 0;
         const auto address =
            isIpv4 ? fmt::format("{}.{}.{}.{}", few(), few(), few(), few())
                   : fmt::format("{:x}:{:x}:{:x}:{:x}:0:0:{:x}:{:x}", few(), few(), few(), few(), few(), few());
         const auto whole = Corenet::IpGenPrefix::fromString(address + (isIpv4 ? "/32" : "/128"));
         const auto length = random() % (whole.len() + 1u);
         const auto cut =
            routetrie::make_prefix(whole.address(), static_cast<unsigned>(length), routetrie::host_bits::cut);
         table.insert_or_assign(cut, U32{0});
      }
      for (const auto& route : table) {
         texts.emplace_back(route.prefix.stringValue());
      }
      for (int i = 0; i < 20; ++i) {
         const std::string& text = texts[random() % texts.size()];
         const std::string begin = text.substr(0, random() % (text.size() + 1));
         const auto words = completedPrefixes(begin, table);
         for (const auto& word : words) {
            const auto isBehind = [&](const std::string& each) {
               return word.isWhole ? each == word.text : each.starts_with(word.text);
            };
            EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), isBehind)) << begin << " offered " << word.text;
            EXPECT_TRUE(word.text.starts_with(begin) && (word.isWhole || word.text.size() > begin.size()));
         }
         for (const auto& each : texts) {
            if (each.starts_with(begin)) {
               const auto leadsTo = [&](const CompletedWord& word) {
                  return word.isWhole ? each == word.text : each.starts_with(word.text);
               };
               EXPECT_TRUE(std::any_of(words.begin(), words.end(), leadsTo)) << begin << " misses " << each;
            }
         }
      }
   }
}

TEST(PrefixCompletion, aLargeTableTakesNoLonger) {
   routetrie::table<U32> table;
   for (U32 i = 0; i < 400'000; ++i) {
      table.insert_or_assign(Corenet::Prefix(Corenet::IpAddr(i << 8), 24), i);
   }
   const auto start = std::chrono::steady_clock::now();
   EXPECT_EQ(256u, completedPrefixes("1.", table).size());
   EXPECT_EQ("1.200.", completedPrefixes("1.20", table)[1].text);
   const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
   EXPECT_LT(took.count(), 0.1);
}

}  // namespace PrefixCompletionTest
}  // namespace Rtrie
