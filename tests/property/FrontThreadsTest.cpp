// Two threads, each on front ends of its own: what they share without seeing it (the records of long prefixes, slabs,
// trackers, reference counts) has to be safe, and each thread's answers are those of a single one.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "routetrie/trie/front/TrieGenByVrf.h"
#include "tests/platform/Threads.h"
#include "tests/property/FrontEngine.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Ops.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace FrontThreadsTest {

constexpr int threadCount = 2;

using Compact6 = CompactFront<AddressFamily::ipv6>;
using Gen4 = GenFront<AddressFamily::ipv4>;
using Gen6 = GenFront<AddressFamily::ipv6>;
using Wrapper6 = WrapperFront<AddressFamily::ipv6>;

// Ops on prefixes that are mostly longer than 56 bits, so that in one-word form they are shared records. The threads are
// given the same ones, and want the same records at the same time.
Ops lengthyOps(AddressFamily family, std::uint64_t seed) {
   return Workload(family, mixes[2], seed).ops(sized<std::size_t>(6'000, 40'000, 200'000));
}

// Works a trie through the ops, and gives all its answers and its state at the end as one text.
template <class Front, class Trie>
std::string answersOf(Trie& trie, const Ops& ops) {
   std::string answers;
   for (const Op& op : ops) {
      const auto p = Front::form(op.prefix);
      switch (op.kind) {
         case Op::add: trie.routeIs(p, true); break;
         case Op::remove: answers += trie.routeDel(p) ? '-' : '='; break;
         case Op::ask:
            answers += trie.longestMatch(p).stringValue().view();
            answers += trie.findParent(p).stringValue().view();
            answers += trie.longerRoutePresent(p) ? '+' : '.';
            answers += trie.route(p) ? '1' : '0';
      }
   }
   return answers + trie.audit() + std::to_string(trie.routes());
}

template <class Front>
std::string answersOfNew(const Ops& ops) {
   const auto trie = Front::make();
   return answersOf<Front>(*trie, ops);
}

// The process holds nothing of the library before a test and nothing after it.
class FrontThreads : public testing::Test {
  protected:
   void SetUp() override { ASSERT_EQ("", LiveCounts::ofNothing().changes()); }
   void TearDown() override { EXPECT_EQ("", LiveCounts::ofNothing().changes()); }

   // Each thread's answers are those of one alone.
   template <class Work>
   void agree(const Work& work) {
      std::array<std::string, threadCount> answers;
      {
         const TestSupport::MultiThreaded told;
         TestSupport::runThreads(threadCount, [&](int i) { answers.at(static_cast<std::size_t>(i)) = work(i); });
      }
      for (int i = 0; i < threadCount; ++i) {
         EXPECT_TRUE(work(i) == answers.at(static_cast<std::size_t>(i))) << "thread " << i;
      }
   }
};

template <class Front>
class FrontThreadsOfKind : public FrontThreads {};

struct FrontNames {
   template <class Front>
   static std::string GetName(int) {
      return std::string(Front::name);
   }
};
using FrontKinds = testing::Types<Trie6Front, CompactFront<AddressFamily::ipv4>, Compact6, Gen4, Gen6,
                                  WrapperFront<AddressFamily::ipv4>, Wrapper6>;
TYPED_TEST_SUITE(FrontThreadsOfKind, FrontKinds, FrontNames);

TYPED_TEST(FrontThreadsOfKind, eachOnOneOfTheSameRoutes) {
   const Ops ops = lengthyOps(TypeParam::family, seed());
   this->agree([&](int) { return answersOfNew<TypeParam>(ops); });
}

TEST_F(FrontThreads, oneKindBesideAnother) {
   const Ops ops = lengthyOps(AddressFamily::ipv6, seed());
   this->agree([&](int i) {
      return i == 0 ? answersOfNew<Compact6>(ops) + answersOfNew<Gen6>(ops)
                    : answersOfNew<Wrapper6>(ops) + answersOfNew<Trie6Front>(ops);
   });
}

// Tries come and go, so that slabs empty and fill and the last user of a record is by turns in either thread.
TEST_F(FrontThreads, manyShortLives) {
   const std::uint64_t number = seed();
   this->agree([&](int) {
      std::string answers;
      for (std::uint64_t life = 0; life < sized<std::uint64_t>(60, 200, 1000); ++life) {
         const Ops ops = Workload(AddressFamily::ipv6, mixes[2], number + life % 4).ops(200);
         answers += life % 2 == 0 ? answersOfNew<Compact6>(ops) : answersOfNew<Wrapper6>(ops);
      }
      return answers;
   });
}

// The members of one collection, handed out before the threads start: a collection is for one thread at a time, and its
// members' tries are each a thread's own.
TEST_F(FrontThreads, membersOfOneCollectionByVrf) {
   const std::uint64_t number = seed();
   const Ops ops4 = lengthyOps(AddressFamily::ipv4, number);
   const Ops ops6 = lengthyOps(AddressFamily::ipv6, number);
   const auto byVrf = Routing::trieGenByVrfFactory();
   const auto fill = [&] {
      for (int i = 0; i < threadCount; ++i) {
         const auto member = byVrf->vrfTrieGenIs(Vrf::VrfIdMap::VrfId(static_cast<U32>(i + 1)));
         member->ipv4TrieIs(Gen4::make());
         member->ipv6TrieIs(Gen6::make());
      }
   };
   fill();
   std::array<Corvid::Ptr<Routing::VrfTrieGen>, threadCount> members;
   for (int i = 0; i < threadCount; ++i) {
      members.at(static_cast<std::size_t>(i)) = byVrf->vrfTrieGen(Vrf::VrfIdMap::VrfId(static_cast<U32>(i + 1)));
   }
   this->agree([&](int i) {
      // The references are the thread's own, and so is what it leaves in the trie for the next run: nothing.
      auto& member = *members.at(static_cast<std::size_t>(i));
      const Corvid::Ptr<Routing::TrieGen> trie4 = member.ipv4Trie();
      const Corvid::Ptr<Routing::TrieGen> trie6 = member.ipv6Trie();
      const std::string answers = answersOf<Gen4>(*trie4, ops4) + answersOf<Gen6>(*trie6, ops6);
      member.ipv4TrieIs(Gen4::make());
      member.ipv6TrieIs(Gen6::make());
      return answers;
   });
   EXPECT_EQ(2U, byVrf->entries().memberCount());
}

}  // namespace FrontThreadsTest
}  // namespace Property
