// Several threads that ask one trie at once, while nobody changes it: each gets the answers that one thread alone gets, and the
// trie is not written to, which the thread sanitizer sees. Every engine and front end, every kind of question.
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"
#include "tests/platform/Threads.h"
#include "tests/property/Ops.h"
#include "tests/property/PatriciaEngine.h"
#include "tests/property/Scale.h"
#include "tests/property/Workload.h"

namespace Property {
namespace SharedLookupThreadsTest {

constexpr int threadCount = 3;

// Takes note of what it is called with.
template <class Base, class PrefixType>
struct Noting : Base {
   bool handlePrefixData(const PrefixType& prefix, const Routing::PrefixData* data) override {
      seen += prefix.stringValue().view();
      seen += data != nullptr ? '!' : ' ';
      return true;
   }
   std::string seen;
};
using NotingGeneric = Noting<Routing::PatriciaTrieWalkCb, IpGenPrefix>;
using NotingCompact = Noting<Routing::PatriciaTrieCompactWalkCb, CompactIpPrefix>;

class SharedLookupThreads : public testing::Test {
  protected:
   // Routes to fill a trie with, and queries near them.
   void prepare(AddressFamily family) {
      Workload workload(family, mixes[2], seed());
      for (const Op& op : workload.ops(sized<std::size_t>(1'500, 6'000, 20'000))) {
         (op.kind == Op::add ? routes : queries).push_back(op.prefix);
      }
   }
   // `answers` gives all answers of a trie as one text.
   template <class Answers>
   static void askOnEachThread(const Answers& answers) {
      std::vector<std::string> found(threadCount);
      {
         const TestSupport::MultiThreaded told;
         TestSupport::runThreads(threadCount, [&](int i) { found[static_cast<std::size_t>(i)] = answers(); });
      }
      const std::string expected = answers();
      EXPECT_FALSE(expected.empty());
      for (const auto& text : found) {
         EXPECT_TRUE(expected == text) << expected.size() << " and " << text.size() << " characters";
      }
   }

   PrefixList routes;
   PrefixList queries;
};

std::string& operator+=(std::string& text, const Corvid::String& more) { return text += more.view(); }

TEST_F(SharedLookupThreads, multibit) {
   prepare(Corenet::ipv4);
   const auto trie = Routing::trieFactory();
   for (const auto& route : routes) {
      trie->routeIs(route.v4Prefix(), true);
   }
   askOnEachThread([&] {
      std::string answers;
      std::vector<Corenet::Prefix> burst;
      for (const auto& query : queries) {
         const auto p = query.v4Prefix();
         burst.push_back(p);
         answers += trie->longestMatch(p).stringValue();
         answers += trie->findParent(p).stringValue();
         answers += trie->longerRoutePresent(p) ? '+' : '.';
         answers += trie->route(p) ? '1' : '0';
         answers += trie->getNext(p).stringValue();
      }
      trie->longestMatchBulk(burst, burst);
      for (const auto& match : burst) {
         answers += match.stringValue();
      }
      const auto recorder = Routing::trieWalkCallbackTestFactory();
      trie->preOrderWalk(Corenet::Prefix(), recorder);
      const auto compact = Corvid::ptrIsImpl<NotingCompact>();
      trie->preOrderWalkCompact(CompactIpPrefix(), compact);
      std::ostringstream list;
      trie->dumpState(Keel::dumpContextFactory(list), 0);
      return answers + compact->seen + list.str() + trie->audit();
   });
}

// The questions of a Patricia trie in one of its forms.
template <class P>
std::string patriciaAnswers(const Routing::PatriciaTrieWithNodeData& trie, const PrefixList& queries) {
   using Calls = PatriciaCalls<P>;
   std::string answers;
   std::vector<P> burst;
   const auto container = Routing::prefixDataContainerFactory();
   for (const auto& query : queries) {
      const P p(query);
      burst.push_back(p);
      const auto recorder =
         Corvid::ptrIsImpl<std::conditional_t<std::same_as<P, CompactIpPrefix>, NotingCompact, NotingGeneric>>();
      answers += (trie.*Calls::longestMatch)(p, container, recorder.get()).stringValue();
      answers += (trie.*Calls::parent)(p, container, nullptr).stringValue();
      answers += (trie.*Calls::longer)(p) ? '+' : '.';
      answers += recorder->seen;
      answers += container->prefixData() ? '!' : ' ';
   }
   return answers;
}

TEST_F(SharedLookupThreads, patriciaWithPayloads) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      for (const bool isCompact : {false, true}) {
         prepare(family);
         const auto trie = Routing::patriciaTrieWithNodeDataFactory(family, isCompact);
         const auto payload = Routing::prefixDataFactory();  // one for all, so that all count on it
         for (const auto& route : routes) {
            if (isCompact) {
               trie->routeCompactIs(CompactIpPrefix(route), payload);
            } else {
               trie->routeIs(route, payload);
            }
         }
         const U32 uses = payload->uses();
         askOnEachThread([&] {
            std::string answers;
            for (const auto& query : queries) {
               answers += (isCompact ? trie->longestMatchCompact(CompactIpPrefix(query)) : trie->longestMatch(query))
                             ? '!'
                             : ' ';
               answers += (isCompact ? trie->routeCompact(CompactIpPrefix(query)) : trie->route(query)) ? '1' : '0';
            }
            if (isCompact) {
               answers += patriciaAnswers<CompactIpPrefix>(*trie, queries);
               for (auto next = trie->getNext(CompactIpPrefix::getNull(family));
                    next != CompactIpPrefix::getNull(family); next = trie->getNext(next)) {
                  answers += next.stringValue();
               }
               const auto walk = Corvid::ptrIsImpl<NotingCompact>();
               trie->preOrderWalkCompact(CompactIpPrefix(), walk.get());
               answers += walk->seen;
            } else {
               answers += patriciaAnswers<IpGenPrefix>(*trie, queries);
               const auto walk = Corvid::ptrIsImpl<NotingGeneric>();
               trie->preOrderWalk(prefixOf(family, {}, 0), walk.get());
               trie->findImmediateChildren(queries.front(), walk.get());
               answers += walk->seen;
            }
            return answers + trie->audit();
         });
         EXPECT_EQ(uses, payload->uses());
         routes.clear();
         queries.clear();
      }
   }
}

TEST_F(SharedLookupThreads, frontEnds) {
   for (const auto family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      prepare(family);
      const auto gen = Routing::trieGenFactory("shared", family);
      const auto wrapper = Routing::trieWrapperFactory(family);
      for (const auto& route : routes) {
         gen->routeIs(route, true);
         wrapper->routeIs(CompactIpPrefix(route), true);
      }
      askOnEachThread([&] {
         std::string answers;
         for (const auto& query : queries) {
            answers += gen->longestMatch(query).stringValue();
            answers += gen->findParent(query).stringValue();
            answers += gen->longerRoutePresent(query) ? '+' : '.';
            answers += gen->route(query) ? '1' : '0';
            const CompactIpPrefix compact(query);
            answers += wrapper->longestMatch(compact).stringValue();
            answers += wrapper->findParent(compact).stringValue();
            answers += wrapper->longerRoutePresent(compact) ? '+' : '.';
            answers += wrapper->route(compact) ? '1' : '0';
         }
         std::vector<IpGenPrefix> burst(queries);
         gen->longestMatchBulk(burst, burst);
         std::vector<CompactIpPrefix> compactBurst(queries.begin(), queries.end());
         wrapper->longestMatchBulk(compactBurst, compactBurst);
         for (std::size_t i = 0; i < burst.size(); ++i) {
            answers += burst[i].stringValue();
            answers += compactBurst[i].stringValue();
         }
         const auto walk = Corvid::ptrIsImpl<NotingCompact>();
         wrapper->preOrderWalkCompact(CompactIpPrefix(), walk.get());
         return answers + walk->seen + gen->audit();
      });
      routes.clear();
      queries.clear();
   }
}

TEST_F(SharedLookupThreads, intrusive) {
   prepare(Corenet::ipv6);
   const auto trie = Sprig::ipv6TrieFactory();
   for (const auto& route : routes) {
      trie->routeIs(Sprig::ipv6TrieRouteFactory(route.v6Prefix()));
   }
   askOnEachThread([&] {
      std::string answers;
      std::vector<Corenet::Ip6Prefix> burst;
      for (const auto& query : queries) {
         burst.push_back(query.v6Prefix());
         if (const Corvid::Ptr<Sprig::Ipv6TrieRoute> match(trie->longestMatch(burst.back())); match) {
            answers += match->prefix().stringValue();
         }
         answers += trie->route(burst.back()) != nullptr ? '1' : '0';
      }
      std::vector<Sprig::Ipv6TrieRoute*> matches(burst.size());
      trie->longestMatchBulk(burst, matches);
      for (const auto* match : matches) {
         answers += match != nullptr ? '1' : '0';
      }
      for (auto* route = trie->trie().first(); route != nullptr;
           route = Sprig::Ipv6TrieRoute::TrieNode::of(*route)->next()) {
         answers += route->prefix().stringValue();
      }
      return answers + trie->audit();
   });
}

}  // namespace SharedLookupThreadsTest
}  // namespace Property
