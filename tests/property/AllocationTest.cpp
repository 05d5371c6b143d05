// What a lookup may allocate: nothing. The one exception is an answer that is a compact IPv6 prefix of more than 56 bits,
// which is a reference to a shared record: to get it takes one look into the table of records, and a new record if no one
// holds that prefix.
//
// This program counts the calls of every global operator new; slab memory is counted by the trackers.
#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/property/CountedNew.h"
#include "tests/property/Ops.h"
#include "tests/property/PatriciaEngine.h"
#include "tests/property/Workload.h"

namespace Property {
namespace AllocationTest {

std::uint64_t slabAllocations() {
   std::uint64_t sum = 0;
   for (const auto* tracker : Tesk::AllocTrackTypeInfo::all()) {
      sum += tracker->totalAllocations();
   }
   return sum;
}

// What happened while a piece of code ran.
struct Cost {
   std::size_t newCalls;
   std::uint64_t slabAllocations;
   std::size_t recordLookups;
};

template <class Work>
Cost costOf(Work work) {
   const std::uint64_t slabBefore = slabAllocations();
   const std::size_t recordsBefore = Corenet::PrefixDedup::acquisitions();
   const std::size_t newBefore = newCalls;
   work();
   const std::size_t newAfter = newCalls;
   return {newAfter - newBefore, slabAllocations() - slabBefore,
           Corenet::PrefixDedup::acquisitions() - recordsBefore};
}

TEST(Allocation, theCountersCount) {
   const Cost cost = costOf([] { ::operator delete(::operator new(1)); });  // a call that no compiler may leave out
   EXPECT_EQ(1U, cost.newCalls);
   const Corenet::Ip6Prefix p = Corenet::Ip6Prefix::fromString("2001:db8::1/128");
   const Cost recordCost = costOf([&] { const CompactIpPrefix one(p); });
   EXPECT_EQ(1U, recordCost.slabAllocations);
   EXPECT_EQ(1U, recordCost.recordLookups);
}

template <class E>
class AllocationTest : public testing::Test {};

using Engines = PatriciaEngines<testing::Types>;
TYPED_TEST_SUITE(AllocationTest, Engines, EngineName);

TYPED_TEST(AllocationTest, aLookupAllocatesNothing) {
   using PrefixType = std::conditional_t<TypeParam::isCompact, CompactIpPrefix, IpGenPrefix>;
   using Calls = typename TypeParam::Calls;
   std::size_t builtLong = 0;
   for (const Mix& mix : mixes) {
      TypeParam engine;
      Workload workload(TypeParam::family, mix, 11);
      for (const Op& op : workload.ops(2'000)) {
         change(engine, op);
      }
      const PatriciaTrie& trie = engine.trie();
      for (int i = 0; i < 1'000; ++i) {
         const PrefixType question(workload.nearMiss());
         const auto check = [&](const Cost& cost, const PrefixType& answer) {
            const bool isShared = std::same_as<PrefixType, CompactIpPrefix> && answer.af() == Corenet::ipv6 &&
                                  answer.len() > 56 && answer != question;
            const std::uint64_t most = isShared ? 1 : 0;
            builtLong += most;
            EXPECT_EQ(0U, cost.newCalls) << question;
            EXPECT_LE(cost.slabAllocations, most) << question;
            EXPECT_LE(cost.recordLookups, most) << question;
         };
         PrefixType answer;
         check(costOf([&] { answer = (trie.*Calls::longestMatch)(question, nullptr, nullptr); }), answer);
         if (question.len() != 0) {
            check(costOf([&] { answer = (trie.*Calls::parent)(question, nullptr, nullptr); }), answer);
         }
         check(costOf([&] { (trie.*Calls::longer)(question); }), question);
      }
   }
   EXPECT_EQ(TypeParam::name == Ipv6CompactEngine::name, builtLong > 100);
}

// A path of twenty nodes, each with a long key and a route: one record is looked for, that of the answer.
TEST(Allocation, aDeepPathOfLongKeysCostsOneRecord) {
   const TriePtr trie = Routing::patriciaTrieFactory(Corenet::ipv6, true);
   const IpGenPrefix host = IpGenPrefix::fromString("2001:db8:a5a5:5a5a:1234:5678:9abc:def0/128");
   for (U32 length = 60; length < 120; length += 3) {
      trie->updateRouteCompact(CompactIpPrefix(cut(host, length)), nullptr);
      trie->updateRouteCompact(CompactIpPrefix(flipped(cut(host, length + 1), length)), nullptr);
   }
   trie->updateRouteCompact(CompactIpPrefix(cut(host, 120)), nullptr);
   int depth = 0;
   const PatriciaTrieNode* node = trie->root();
   for (; node != nullptr; ++depth) {
      node = bitOf(host, node->len(trie->paf())) ? node->right_ : node->left_;
   }
   EXPECT_GE(depth, 20);

   const CompactIpPrefix question(host);
   CompactIpPrefix answer;
   const Cost cost = costOf([&] { answer = trie->longestMatchCommonCompact(question, nullptr, nullptr); });
   EXPECT_EQ(CompactIpPrefix(cut(host, 120)), answer);
   EXPECT_EQ(0U, cost.newCalls);
   EXPECT_EQ(0U, cost.slabAllocations);
   EXPECT_EQ(1U, cost.recordLookups);

   const CompactIpPrefix route(cut(host, 120));
   EXPECT_EQ(0U, costOf([&] { answer = trie->longestMatchCommonCompact(route, nullptr, nullptr); }).recordLookups);
   EXPECT_EQ(route, answer);
}

}  // namespace AllocationTest
}  // namespace Property
