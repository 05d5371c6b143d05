// A burst of queries against each query alone, at every size of burst from 0 to 100, on every class that answers bursts,
// and without a call of any allocator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "routetrie/trie/front/Trie6.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/property/CountedNew.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace BulkTest {

using Corenet::AddressFamily;
using Corenet::CompactIpPrefix;
using Corenet::Ip6Prefix;
using Corenet::IpGenPrefix;
using Corenet::Prefix;

constexpr std::size_t longestBurst = 100;

// Routes that nest and part, and queries near them: some of them routes, some of any length, some of length 0.
struct Work {
   std::vector<IpGenPrefix> routes;
   std::vector<IpGenPrefix> queries;
};

IpGenPrefix defaultRoute(AddressFamily family) {
   return family == AddressFamily::ipv4 ? IpGenPrefix(Prefix()) : IpGenPrefix(Ip6Prefix());
}

Work workOf(AddressFamily family, const Mix& mix, std::uint64_t seed, std::size_t queries) {
   Workload load(family, mix, seed);
   Work work;
   for (const Op& op : load.ops(mix.routes * 4)) {
      work.routes.push_back(op.prefix);
   }
   for (const Op& op : load.ops(queries)) {
      work.queries.push_back(op.prefix);
   }
   work.queries.push_back(defaultRoute(family));
   return work;
}

template <class PrefixType>
PrefixType as(const IpGenPrefix& prefix) {
   if constexpr (std::same_as<PrefixType, Prefix>) {
      return prefix.v4Prefix();
   } else if constexpr (std::same_as<PrefixType, Ip6Prefix>) {
      return prefix.v6Prefix();
   } else {
      return PrefixType(prefix);
   }
}

// Compares all queries, in bursts of 0 to 100. Single and Bulk are the two ways to ask.
template <class PrefixType, class Single, class Bulk>
void compare(const Work& work, Single single, Bulk bulk) {
   std::vector<PrefixType> queries;
   std::vector<PrefixType> expected;
   for (const IpGenPrefix& query : work.queries) {
      queries.push_back(as<PrefixType>(query));
      expected.push_back(single(queries.back()));
   }
   std::vector<PrefixType> answers(queries.size());
   std::size_t size = 0;
   for (std::size_t at = 0; at < queries.size();) {
      const std::size_t count = std::min(size, queries.size() - at);
      const std::size_t before = newCalls;
      bulk(std::span<const PrefixType>(queries).subspan(at, count),
           std::span<PrefixType>(answers).subspan(at, count));
      // A long compact prefix is a reference to a shared record, which the answer may have to make.
      if (!std::same_as<PrefixType, CompactIpPrefix>) {
         EXPECT_EQ(newCalls, before);
      }
      at += count;
      size = size == longestBurst ? 0 : size + 1;
   }
   for (std::size_t i = 0; i < queries.size(); ++i) {
      ASSERT_EQ(answers[i], expected[i]) << "query " << i << ", " << queries[i].stringValue();
   }
   // In place, and the whole in one burst.
   bulk(std::span<const PrefixType>(queries), std::span<PrefixType>(queries));
   EXPECT_EQ(queries, expected);
}

class Bulk : public testing::TestWithParam<Mix> {
  protected:
   const std::uint64_t seed_ = seed();
   const std::size_t queries_ = sized<std::size_t>(4'000, 5'000, 20'000);

   Work work(AddressFamily family) const { return workOf(family, GetParam(), seed_, queries_); }

   // On an empty trie, with the routes, and with the default route, too.
   template <class PrefixType, class Trie, class Add>
   void check(AddressFamily family, Trie& trie, Add add) const {
      SCOPED_TRACE(testing::Message() << "seed " << seed_);
      const Work all = work(family);
      const auto single = [&](const PrefixType& query) { return longestMatch(trie, query); };
      const auto bulk = [&](auto from, auto to) { longestMatchBulk(trie, from, to); };
      compare<PrefixType>(all, single, bulk);
      for (const IpGenPrefix& route : all.routes) {
         if (route.len() != 0) {
            add(as<PrefixType>(route));
         }
      }
      compare<PrefixType>(all, single, bulk);
      add(as<PrefixType>(defaultRoute(family)));
      compare<PrefixType>(all, single, bulk);
   }

  private:
   static IpGenPrefix longestMatch(const Routing::PatriciaTrie& trie, const IpGenPrefix& query) {
      return trie.longestMatchCommon(query, nullptr, nullptr);
   }
   static CompactIpPrefix longestMatch(const Routing::PatriciaTrie& trie, const CompactIpPrefix& query) {
      return trie.longestMatchCommonCompact(query, nullptr, nullptr);
   }
   template <class Trie, class PrefixType>
   static PrefixType longestMatch(const Trie& trie, const PrefixType& query) {
      return trie.longestMatch(query);
   }
   template <class Trie, class From, class To>
   static void longestMatchBulk(const Trie& trie, From from, To to) {
      if constexpr (std::same_as<Trie, Routing::PatriciaTrie> && std::same_as<To, std::span<CompactIpPrefix>>) {
         trie.longestMatchBulkCompact(from, to);
      } else {
         trie.longestMatchBulk(from, to);
      }
   }
};

TEST_P(Bulk, PatriciaTrie) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      const auto trie = Routing::patriciaTrieFactory(family, false);
      check<IpGenPrefix>(family, *trie, [&](const IpGenPrefix& route) { trie->updateRoute(route, nullptr); });
   }
}

TEST_P(Bulk, PatriciaTrieOfCompactPrefixes) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      const auto trie = Routing::patriciaTrieFactory(family, true);
      check<CompactIpPrefix>(family, *trie,
                             [&](const CompactIpPrefix& route) { trie->updateRouteCompact(route, nullptr); });
   }
}

TEST_P(Bulk, Multibit) {
   const auto trie = Routing::trieFactory();
   check<Prefix>(AddressFamily::ipv4, *trie, [&](const Prefix& route) { trie->routeIs(route, true); });
}

TEST_P(Bulk, Trie6) {
   const auto trie = Routing6::trieFactory();
   check<Ip6Prefix>(AddressFamily::ipv6, *trie, [&](const Ip6Prefix& route) { trie->routeIs(route, true); });
}

TEST_P(Bulk, TrieCompact) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      const auto trie = Routing::trieCompactFactory(family);
      check<CompactIpPrefix>(family, *trie, [&](const CompactIpPrefix& route) { trie->routeIs(route, true); });
   }
}

TEST_P(Bulk, TrieGen) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      const auto trie = Routing::trieGenFactory("bulk", family);
      check<IpGenPrefix>(family, *trie, [&](const IpGenPrefix& route) { trie->routeIs(route, true); });
   }
}

TEST_P(Bulk, TrieWrapper) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      const auto trie = Routing::trieWrapperFactory(family);
      check<CompactIpPrefix>(family, *trie, [&](const CompactIpPrefix& route) { trie->routeIs(route, true); });
   }
}

INSTANTIATE_TEST_SUITE_P(Mixes, Bulk, testing::ValuesIn(mixes),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(BulkDeathTest, SpansOfDifferentLengthsAreRefused) {
   const auto trie = Routing::trieFactory();
   const std::vector<Prefix> queries(3);
   std::vector<Prefix> answers(2);
   EXPECT_DEATH(trie->longestMatchBulk(queries, answers), "queries.size\\(\\) == answers.size\\(\\)");
}

TEST(BulkDeathTest, ATrieGenRefusesTheOtherFamily) {
   const std::vector<IpGenPrefix> v4(3, Prefix());
   const std::vector<IpGenPrefix> v6(3, Ip6Prefix());
   std::vector<IpGenPrefix> answers(3);
   const auto trie4 = Routing::trieGenFactory("bulk", AddressFamily::ipv4);
   EXPECT_DEATH(trie4->longestMatchBulk(v6, answers), "p.af\\(\\) == af\\(\\)");
   const auto trie6 = Routing::trieGenFactory("bulk", AddressFamily::ipv6);
   EXPECT_DEATH(trie6->longestMatchBulk(v4, answers), "p.af\\(\\) == af\\(\\)");
}

TEST(BulkTest, ATrieGenWithoutAFamilyAnswersWithTheEmptyValue) {
   const auto trie = Routing::trieGenFactory("bulk", AddressFamily::none);
   std::vector<IpGenPrefix> answers(2, Prefix());
   trie->longestMatchBulk(std::vector<IpGenPrefix>(2), answers);
   EXPECT_EQ(std::vector<IpGenPrefix>(2), answers);
}

}  // namespace BulkTest
}  // namespace Property
