// Several threads, each on tries of its own. What they share without seeing it has to be safe: the records of long
// prefixes, slabs, trackers and the reference counts of payloads; and each thread's results are those of a single one.
#include <gtest/gtest.h>

#include <barrier>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "routetrie/platform/Corvid/ThreadControl.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/PatriciaDataEngine.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace ThreadsTest {

constexpr unsigned threadCount = 4;

// Runs the function on each thread with its number; all start at once.
void runThreads(const std::function<void(unsigned)>& work) {
   std::barrier start(threadCount);
   std::vector<std::thread> threads;
   for (unsigned i = 0; i < threadCount; ++i) {
      threads.emplace_back([&, i] {
         start.arrive_and_wait();
         work(i);
      });
   }
   for (auto& thread : threads) {
      thread.join();
   }
}

// Works a trie through the ops and gives all its answers as one text.
template <class PrefixType>
std::string answersOf(AddressFamily family, const Ops& ops) {
   using Calls = PatriciaCalls<PrefixType>;
   const TriePtr trie = Routing::patriciaTrieFactory(family, std::same_as<PrefixType, CompactIpPrefix>);
   std::string answers;
   for (const Op& op : ops) {
      const PrefixType p(op.prefix);
      switch (op.kind) {
         case Op::add: ((*trie).*Calls::add)(p, nullptr); break;
         case Op::remove: answers += ((*trie).*Calls::remove)(p, nullptr, nullptr) ? '-' : '='; break;
         case Op::ask:
            answers += ((*trie).*Calls::longestMatch)(p, nullptr, nullptr).stringValue().view();
            answers += ((*trie).*Calls::parent)(p, nullptr, nullptr).stringValue().view();
            answers += ((*trie).*Calls::longer)(p) ? '+' : '.';
      }
   }
   return answers + trie->audit() + std::to_string(trie->nodes()) + ' ' + std::to_string(trie->routes());
}

std::size_t opCount() { return sized<std::size_t>(6'000, 40'000, 200'000); }

class Threads : public testing::Test {
  protected:
   void SetUp() override { Corvid::ThreadControl::multiThreadedIs(true); }
   void TearDown() override { Corvid::ThreadControl::multiThreadedIs(false); }
};

// The same ops on each thread, so that all want the same records at the same time. The barrier falls before the library
// makes its first object, where this test is run by itself.
TEST_F(Threads, eachOnACompactTrieOfTheSameLongPrefixes) {
   const Ops ops = Workload(Corenet::ipv6, mixes[2], seed()).ops(opCount());
   std::vector<std::string> answers(threadCount);
   runThreads([&](unsigned i) { answers[i] = answersOf<CompactIpPrefix>(AddressFamily::ipv6, ops); });
   EXPECT_EQ("", LiveCounts::ofNothing().changes());
   const std::string expected = answersOf<CompactIpPrefix>(AddressFamily::ipv6, ops);
   for (unsigned i = 0; i < threadCount; ++i) {
      EXPECT_EQ(std::hash<std::string>()(expected), std::hash<std::string>()(answers[i])) << "thread " << i;
      EXPECT_EQ(expected.size(), answers[i].size()) << "thread " << i;
   }
   EXPECT_GT(expected.size(), ops.size());
}

// Each thread its own ops over the same stems, on tries of all kinds by turns.
TEST_F(Threads, eachOnTriesOfAllKinds) {
   const LiveCounts before;
   const std::uint64_t number = seed();
   const auto work = [&](unsigned i) {
      std::string answers;
      for (unsigned turn = 0; turn < 4; ++turn) {
         const auto family = (turn + i) % 4 < 2 ? AddressFamily::ipv4 : AddressFamily::ipv6;
         const Ops ops = Workload(family, mixes[2], number).ops(opCount() / 8 * (1 + i % 2));
         answers +=
            (turn + i) % 2 == 0 ? answersOf<IpGenPrefix>(family, ops) : answersOf<CompactIpPrefix>(family, ops);
      }
      return answers;
   };
   std::vector<std::string> answers(threadCount);
   runThreads([&](unsigned i) { answers[i] = work(i); });
   EXPECT_EQ("", before.changes());
   for (unsigned i = 0; i < threadCount; ++i) {
      EXPECT_TRUE(work(i) == answers[i]) << "thread " << i;
   }
}

TEST_F(Threads, payloadsAreSharedByTriesOfAllThreads) {
   const LiveCounts before;
   {
      std::vector<DataPtr> payloads;
      for (int i = 0; i < 8; ++i) {
         payloads.push_back(Routing::prefixDataFactory());
      }
      const Ops ops = Workload(Corenet::ipv6, mixes[2], seed()).ops(opCount() / 2);
      runThreads([&](unsigned i) {
         const TriePtr trie = Routing::patriciaTrieFactory(Corenet::ipv6, true);
         trie->nodeDataEnabledIs(true);
         const ContainerPtr container = Routing::prefixDataContainerFactory();
         for (std::size_t n = 0; n < ops.size(); ++n) {
            const CompactIpPrefix p(ops[n].prefix);
            switch (ops[n].kind) {
               case Op::add: trie->updateRouteCompact(p, payloads[(n + i) % payloads.size()]); break;
               case Op::remove: trie->deleteRouteCompact(p, nullptr, container); break;
               case Op::ask: trie->longestMatchCommonCompact(p, container, nullptr); break;
            }
         }
         EXPECT_EQ("", trie->audit());
      });
      for (const auto& payload : payloads) {
         EXPECT_EQ(1U, payload->uses());
      }
   }
   EXPECT_EQ("", before.changes());
}

// Without being told of more than one thread, tries that share nothing are still sound; only trackers may lose counts,
// so this stands last in the file.
TEST(ThreadsUntold, eachOnATrieThatSharesNothing) {
   const std::uint64_t number = seed();
   const auto work = [&](unsigned i) {
      return answersOf<IpGenPrefix>(AddressFamily::ipv4,
                                    Workload(Corenet::ipv4, mixes[1], number + i).ops(opCount() / 2));
   };
   std::vector<std::string> answers(threadCount);
   runThreads([&](unsigned i) { answers[i] = work(i); });
   EXPECT_EQ(0U, Corenet::PrefixDedup::liveRecords());
   for (unsigned i = 0; i < threadCount; ++i) {
      EXPECT_TRUE(work(i) == answers[i]) << "thread " << i;
   }
}

}  // namespace ThreadsTest
}  // namespace Property
