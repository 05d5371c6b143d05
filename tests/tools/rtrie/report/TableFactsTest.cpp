// TableFacts: what is counted of a small table, and of random ones against counting route by route.
#include "tools/rtrie/report/TableFacts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Support.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace TableFactsTest {

using Support::prefix;
constexpr auto ipv4 = Corenet::AddressFamily::ipv4;
constexpr auto ipv6 = Corenet::AddressFamily::ipv6;

TEST(TableFacts, ofASmallTable) {
   RouteSet routes;
   routes.add(prefix("0.0.0.0/0"), "up");
   routes.add(prefix("0.0.0.0/1"), "");
   routes.add(prefix("0.0.0.0/3"), "a");
   routes.add(prefix("64.0.0.0/2"), "a");
   routes.add(prefix("192.0.0.0/3"), "b");
   routes.add(prefix("2001:db8::/32"), "six");
   routes.seal();
   const auto facts = factsOf(routes, ipv4, 2, 3);
   EXPECT_EQ(5U, facts.routes);
   EXPECT_TRUE(facts.hasDefault);
   EXPECT_EQ(0.625, facts.addresses);
   ASSERT_EQ(33U, facts.byLength.size());
   EXPECT_EQ(1U, facts.byLength[0].routes);
   EXPECT_EQ(0.375, facts.byLength[0].addresses);
   EXPECT_EQ(0.125, facts.byLength[1].addresses);
   EXPECT_EQ(2U, facts.byLength[3].routes);
   EXPECT_EQ(0.25, facts.byLength[3].addresses);
   EXPECT_EQ((std::vector<std::uint64_t>{0, 1, 2, 2}), facts.byDepth);
   EXPECT_EQ(3U, facts.payloads);
   ASSERT_EQ(2U, facts.topPayloads.size());
   EXPECT_EQ("a", facts.topPayloads[0].payload);
   EXPECT_EQ(2U, facts.topPayloads[0].routes);
   EXPECT_EQ(0.375, facts.topPayloads[0].addresses);
   EXPECT_EQ("up", facts.topPayloads[1].payload);
   ASSERT_EQ(3U, facts.largest.size());
   EXPECT_EQ("0.0.0.0/1", facts.largest[0].prefix.stringValue());
   EXPECT_EQ(2U, facts.largest[0].longer);
   EXPECT_EQ("64.0.0.0/2", facts.largest[1].prefix.stringValue());
   EXPECT_EQ("0.0.0.0/3", facts.largest[2].prefix.stringValue());
   EXPECT_EQ("a", facts.largest[2].payload);

   const auto six = factsOf(routes, ipv6, 5, 5);
   EXPECT_EQ(1U, six.routes);
   EXPECT_FALSE(six.hasDefault);
   EXPECT_EQ(0x1p-32, six.addresses);
   EXPECT_EQ(129U, six.byLength.size());
   EXPECT_EQ("six", six.topPayloads.at(0).payload);
}

TEST(TableFacts, ofNothing) {
   RouteSet routes;
   routes.seal();
   const auto facts = factsOf(routes, ipv4, 5, 5);
   EXPECT_EQ(0U, facts.routes);
   EXPECT_EQ(0, facts.addresses);
   EXPECT_EQ(1U, facts.byDepth.size());
   EXPECT_TRUE(facts.topPayloads.empty());
   EXPECT_TRUE(facts.largest.empty());
}

TEST(TableFactsProperty, areWhatCountingFinds) {
   const unsigned seed = std::random_device{}();
   SCOPED_TRACE(seed);
   std::mt19937 random(seed);
   for (int round = 0; round < 60; ++round) {
      RouteSet routes;
      std::map<Corenet::IpGenPrefix, std::string> all;
      for (auto i = random() % 60; i > 0; --i) {
         const auto length = static_cast<U8>(random() % 9);
         const U32 bits = length == 0 ? 0 : static_cast<U32>(random()) >> (32 - length) << (32 - length);
         const auto route = prefixOf(bits, length);
         all[route] = random() % 3 == 0 ? "" : std::string(1, static_cast<char>('a' + random() % 5));
      }
      for (const auto& [route, payload] : all) {
         routes.add(route, payload);
      }
      routes.seal();
      const auto facts = factsOf(routes, ipv4, 100, 1000);
      ASSERT_EQ(all.size(), facts.routes);
      std::vector<std::uint64_t> depths(1);
      std::vector<double> byLength(33);
      std::map<std::string, std::pair<std::uint64_t, double>> byPayload;
      for (const auto& [route, payload] : all) {
         std::size_t depth = 0;
         std::uint64_t longer = 0;
         for (const auto& [other, ignored] : all) {
            depth += covers(other, route) ? 1U : 0U;
            longer += covers(route, other) && other != route ? 1U : 0U;
         }
         depths.resize(std::max(depths.size(), depth + 1));
         ++depths[depth];
         ++byPayload[payload].first;
         const auto listed = std::find_if(facts.largest.begin(), facts.largest.end(),
                                          [&own = route](const auto& each) { return each.prefix == own; });
         ASSERT_EQ(route.len() != 0, listed != facts.largest.end());
         ASSERT_TRUE(listed == facts.largest.end() || listed->longer == longer);
      }
      for (U32 part = 0; part < 256; ++part) {
         const auto address = prefixOf(part << 24, 8);
         const std::pair<const Corenet::IpGenPrefix, std::string>* best = nullptr;
         for (const auto& each : all) {
            if (covers(each.first, address) && (best == nullptr || best->first.len() < each.first.len())) {
               best = &each;
            }
         }
         if (best != nullptr) {
            byLength[best->first.len()] += 1.0 / 256;
            byPayload[best->second].second += 1.0 / 256;
         }
      }
      ASSERT_EQ(depths, facts.byDepth);
      double answered = 0;
      for (std::size_t length = 0; length < byLength.size(); ++length) {
         ASSERT_EQ(byLength[length], facts.byLength[length].addresses);
         answered += length == 0 ? 0 : byLength[length];
      }
      ASSERT_EQ(answered, facts.addresses);
      ASSERT_EQ(byPayload.size(), facts.topPayloads.size());
      for (std::size_t i = 0; i < facts.topPayloads.size(); ++i) {
         const auto& each = facts.topPayloads[i];
         ASSERT_EQ(byPayload.at(std::string(each.payload)), std::pair(each.routes, each.addresses));
         ASSERT_TRUE(i == 0 || facts.topPayloads[i - 1].routes >= each.routes);
      }
   }
}

}  // namespace TableFactsTest
}  // namespace Rtrie
