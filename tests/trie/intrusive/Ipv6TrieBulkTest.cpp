// A burst of queries to an IPv6 trie against each query alone, at every size of burst from 0 to 100.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Ipv6TrieBulkTest {

using Corenet::Ip6Prefix;
using Sprig::Ipv6TrieRoute;

TEST(Ipv6TrieBulk, answersAsEachQueryAlone) {
   const std::uint64_t number = Property::seed();
   for (const auto& mix : Property::mixes) {
      Property::Workload work(Corenet::ipv6, mix, number);
      const auto trie = Sprig::ipv6TrieFactory();
      for (const auto& op : work.ops(mix.routes * 4)) {
         trie->routeIs(Sprig::ipv6TrieRouteFactory(op.prefix.v6Prefix()));
      }
      std::vector<Ip6Prefix> queries;
      for (std::size_t i = 0; i < 5050; ++i) {
         queries.push_back(work.nearMiss().v6Prefix());
      }
      queries[7] = Ip6Prefix();
      queries[77] = Ip6Prefix::nullPrefix();
      for (const bool hasDefault : {false, true}) {
         if (hasDefault) {
            trie->routeIs(Sprig::ipv6TrieRouteFactory(Ip6Prefix()));
         }
         std::vector<Ipv6TrieRoute*> answers(queries.size());
         std::size_t at = 0;
         for (std::size_t size = 0; size <= 100; at += size++) {
            trie->longestMatchBulk(std::span<const Ip6Prefix>(queries).subspan(at, size),
                                   std::span<Ipv6TrieRoute*>(answers).subspan(at, size));
         }
         ASSERT_EQ(queries.size(), at);
         for (std::size_t i = 0; i < at; ++i) {
            ASSERT_EQ(trie->longestMatch(queries[i]), answers[i]) << mix.name << ' ' << queries[i];
         }
      }
   }
}

TEST(Ipv6TrieBulk, ofAnEmptyTrieFindsNothing) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto stray = Sprig::ipv6TrieRouteFactory(Ip6Prefix());
   const std::vector<Ip6Prefix> queries(3);
   std::vector<Ipv6TrieRoute*> answers(3, stray.get());
   trie->longestMatchBulk(queries, answers);
   EXPECT_EQ(std::vector<Ipv6TrieRoute*>(3), answers);
}

TEST(Ipv6TrieBulkDeathTest, needsAnAnswerForEachQuery) {
   const auto trie = Sprig::ipv6TrieFactory();
   const std::vector<Ip6Prefix> queries(3);
   std::vector<Ipv6TrieRoute*> answers(2);
   EXPECT_DEATH(trie->longestMatchBulk(queries, answers),
                testing::HasSubstr("Assertion `queries.size() == answers.size()' failed"));
}

}  // namespace Ipv6TrieBulkTest
