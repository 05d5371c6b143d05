// A set of routes that can be watched, fed from what a TrieGen has and what it publishes, beside the trie itself: the same best matches
// after each change, and each watch told as often as the trie's answer changes.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/watch.h"

namespace TrieGenFollowedTest {

using Corenet::IpGenPrefix;
using routetrie::prefix;
using routetrie::prefix4;
using routetrie::prefix6;
using Followed = routetrie::tracked_table<routetrie::route_set, routetrie::watch_tracker>;

class Collector : public Routing::TrieGenWalkCallback {
  public:
   ~Collector() override { nodeFlagSet(Corvid::nodeFlagAlive, false); }
   int handlePrefix(const IpGenPrefix& p) override {
      routes.insert(p);
      return 1;
   }
   Followed routes;
};

// Prefixes of a small world, so that they nest and come again; the default route is one.
template <class P>
prefix anyPrefix(std::mt19937& random) {
   using Word = typename P::Bits::Word;
   const unsigned length = static_cast<unsigned>(random() % 11) + (random() % 4 == 0 ? P::width - 10u : 0u);
   const auto word = static_cast<Word>(Word{static_cast<std::uint32_t>(random() % 1024)} << (P::width - 10) |
                                       Word{static_cast<std::uint32_t>(random() % 4)});
   return P::cut(typename P::Bits(word), random() % 16 == 0 ? 0u : length);
}

template <class P>
void answersAsTheTrie(unsigned seed) {
   SCOPED_TRACE("seed " + std::to_string(seed));
   std::mt19937 random(seed);
   const auto trie = Routing::trieGenFactory("followed", P::width == 32 ? Corenet::ipv4() : Corenet::ipv6());
   for (int i = 0; i < 30; ++i) {
      trie->routeIs(anyPrefix<P>(random), true);
   }
   const auto collector = Corvid::ptrIsImpl<Collector>();
   trie->preOrderWalk(prefix(P()), collector);
   Followed followed = std::move(collector->routes);
   const auto subscription = trie->publisher()->subscribe([&](const Corvid::Change& change) {
      constexpr unsigned changedRoute = 140;
      const prefix& p = trie->changedRoute();
      if (change.id == changedRoute && routetrie::is_prefix(p)) {
         trie->route(p) ? (void)followed.insert(p) : (void)followed.erase(p);
      }
   });
   struct Watched {
      prefix at;
      IpGenPrefix told;
      std::size_t calls = 0;
      routetrie::watch_handle handle;
   };
   std::vector<std::unique_ptr<Watched>> watched;
   for (int i = 0; i < 20; ++i) {
      auto& w = *watched.emplace_back(std::make_unique<Watched>());
      w.at = anyPrefix<P>(random);
      w.told = trie->longestMatch(w.at);
      w.handle = followed.watch(w.at, routetrie::watch_kind::best_match, [&w](const auto& e) {
         w.told = e.after ? *e.after : IpGenPrefix();
         ++w.calls;
      });
   }
   for (int i = 0; i < 600; ++i) {
      std::vector<std::pair<IpGenPrefix, std::size_t>> before;
      for (const auto& w : watched) {
         before.emplace_back(trie->longestMatch(w->at), w->calls);
      }
      const prefix p = anyPrefix<P>(random);
      random() % 2 == 0 ? trie->routeIs(p, true) : (void)trie->routeDel(p);
      ASSERT_EQ(static_cast<bool>(trie->route(p)), followed.contains(p)) << p;
      for (std::size_t n = 0; n < watched.size(); ++n) {
         const auto& w = *watched[n];
         const IpGenPrefix now = trie->longestMatch(w.at);
         ASSERT_EQ(now, w.told) << w.at << " after " << p;
         ASSERT_EQ(before[n].second + (before[n].first != now ? 1u : 0u), w.calls) << w.at << " after " << p;
         const auto best = followed.match(w.at);
         ASSERT_EQ(now, best ? IpGenPrefix(*best) : IpGenPrefix()) << w.at;
      }
      const prefix asked = anyPrefix<P>(random);
      const auto best = followed.match(asked);
      ASSERT_EQ(trie->longestMatch(asked), best ? IpGenPrefix(*best) : IpGenPrefix()) << asked;
   }
   EXPECT_EQ("", followed.audit());
   EXPECT_EQ("", trie->audit());
}

TEST(TrieGenFollowed, answersAsTheTrie) {
   for (unsigned seed = 1; seed <= 5; ++seed) {
      answersAsTheTrie<prefix4>(seed);
      answersAsTheTrie<prefix6>(seed);
   }
}

}  // namespace TrieGenFollowedTest
