// The end of an object needs no memory: each class is filled, all memory is gone, and it ends as ever. The slab can be made
// to fail in builds with fault injection only.
#ifdef ROUTETRIE_FAULT_INJECTION

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/front/TrieGenByVrf.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace ObjectEndMemoryTest {

using Corvid::Ptr;
using Property::LiveCounts;

// No memory for as long as this lives.
struct NoMemory {
   NoMemory() { CoreSlab::failFrom(1); }
   ~NoMemory() { CoreSlab::failAt(0); }
};

// Makes with `make`, ends without memory, and compares what lives with what lived.
template <class Make>
void endsWithoutMemory(const Make& make) {
   { const auto once = make(); }  // trackers and the like are there
   const LiveCounts before;
   {
      auto object = make();
      const NoMemory noMemory;
      object = {};
   }
   EXPECT_EQ("", before.changes());
}

const char* const prefixes4[] = {"0.0.0.0/0",    "10.0.0.0/8",  "10.0.0.0/9",
                                 "10.128.0.0/9", "10.1.2.3/32", "192.0.2.0/24"};
const char* const prefixes6[] = {"::/0",      "2001::/16",       "2001::/17",         "2001:8000::/17",
                                 "2001::/32", "2001:db8::1/128", "2001:db8:1:2::/64", "fe80::/10"};

template <class Work>
void forEach(Corenet::AddressFamily family, const Work& work) {
   if (family == Corenet::ipv4()) {
      std::ranges::for_each(prefixes4, work);
   } else {
      std::ranges::for_each(prefixes6, work);
   }
}

template <class Trie, class Prefix>
void fill(Trie& trie, const auto& texts) {
   for (const char* text : texts) {
      trie.routeIs(Prefix::fromString(text), true);
   }
}

TEST(ObjectEndMemory, ofTheMultibitTrie) {
   endsWithoutMemory([] {
      auto trie = Routing::trieFactory();
      fill<Routing::Trie, Corenet::Prefix>(*trie, prefixes4);
      return trie;
   });
}

TEST(ObjectEndMemory, ofThePatriciaTries) {
   endsWithoutMemory([] {
      auto trie = Routing6::trieFactory();
      fill<Routing6::Trie, Corenet::Ip6Prefix>(*trie, prefixes6);
      return trie;
   });
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6()}) {
      const auto fillCompact = [&](auto& trie) {
         const auto add = [&](const char* text) { trie.routeIs(Corenet::CompactIpPrefix::fromString(text), true); };
         forEach(family, add);
      };
      endsWithoutMemory([&] {
         auto trie = Routing::trieCompactFactory(family);
         fillCompact(*trie);
         return trie;
      });
      endsWithoutMemory([&] {
         auto trie = Routing::trieWrapperFactory(family);
         fillCompact(*trie);
         return trie;
      });
   }
}

TEST(ObjectEndMemory, ofATrieWithPayloads) {
   endsWithoutMemory([] {
      auto trie = Routing::patriciaTrieWithNodeDataFactory(Corenet::ipv6(), false);
      for (const char* text : prefixes6) {
         trie->routeIs(Corenet::IpGenPrefix::fromString(text), Routing::prefixDataFactory());
      }
      return trie;
   });
}

TEST(ObjectEndMemory, ofAnIteratorAndItsTrie) {
   endsWithoutMemory([] {
      auto trie = Routing6::trieFactory();
      fill<Routing6::Trie, Corenet::Ip6Prefix>(*trie, prefixes6);
      auto iterator = std::make_unique<Routing::PatriciaTrieIterator>(trie, nullptr);
      ++*iterator;
      return iterator;
   });
}

TEST(ObjectEndMemory, ofADualFamilyTrieAndTheTriesOfVrfs) {
   const auto make = [](Corenet::AddressFamily family) {
      auto trie = Routing::trieGenFactory("gen", family);
      forEach(family, [&](const char* text) { trie->routeIs(Corenet::IpGenPrefix::fromString(text), true); });
      return trie;
   };
   for (const auto family : {Corenet::ipv4(), Corenet::ipv6()}) {
      endsWithoutMemory([&] { return make(family); });
   }
   endsWithoutMemory([&] {
      auto tries = Routing::trieGenByVrfFactory();
      for (U32 i = 0; i < 20; ++i) {
         const auto entry = tries->vrfTrieGenIs(Vrf::VrfIdMap::VrfId(i));
         entry->ipv4TrieIs(make(Corenet::ipv4()));
         entry->ipv6TrieIs(make(Corenet::ipv6()));
      }
      return tries;
   });
}

// --- the intrusive trie, where a route with two children leaves a node behind that takes memory ---

Ptr<Sprig::Ipv6TrieRoute> make(std::string_view text) {
   return Sprig::ipv6TrieRouteFactory(Corenet::Ip6Prefix::fromString(text));
}

TEST(ObjectEndMemory, ofAnIntrusiveTrieWithARouteAboveTwo) {
   endsWithoutMemory([] {
      auto trie = Sprig::ipv6TrieFactory();
      for (const char* text : {"2001::/16", "2001::/17", "2001:8000::/17"}) {
         trie->routeIs(make(text));
      }
      return trie;
   });
}

// Every allocation of the end fails in turn, or it and all behind it, and the routes that others hold survive, detached.
TEST(ObjectEndMemory, ofRandomIntrusiveTries) {
   const auto seed = Property::seed();
   std::mt19937_64 random(seed);
   for (int round = 0; round < Property::sized(50, 200, 2'000); ++round) {
      std::vector<std::string> texts;
      for (U32 length = 0; length <= 6; ++length) {
         for (U32 i = 0; i < 1u << length; ++i) {
            if (random() % 2 == 0) {
               const auto bits =
                  Corenet::AddressBits<128>(length == 0 ? Corenet::U128{0} : Corenet::U128{i} << (128 - length));
               texts.emplace_back(Corenet::Ip6Prefix(Corenet::Ip6Addr(bits), length).stringValue());
            }
         }
      }
      std::shuffle(texts.begin(), texts.end(), random);
      const LiveCounts before;
      for (const bool stays : {false, true}) {
         const std::uint64_t n = 1 + random() % 4;
         SCOPED_TRACE(fmt::format("seed {}, round {}, {} routes, allocation {} fails{}", seed, round, texts.size(), n,
                                  stays ? " and all behind it" : ""));
         std::vector<Ptr<Sprig::Ipv6TrieRoute>> kept;
         {
            auto trie = Sprig::ipv6TrieWithChangeNotifierFactory();
            for (const auto& text : texts) {
               const auto route = make(text);
               trie->routeIs(route);
               if (random() % 3 == 0) {
                  kept.push_back(route);
               }
            }
            ASSERT_EQ("", trie->audit());
            stays ? CoreSlab::failFrom(n) : CoreSlab::failAt(n);
            trie = nullptr;
            CoreSlab::failAt(0);
         }
         for (const auto& route : kept) {
            ASSERT_EQ(1u, route->uses());
            ASSERT_FALSE(route->isInTrie());
            ASSERT_EQ(nullptr, route->trieNode().left);
            ASSERT_EQ(nullptr, route->trieNode().right);
         }
      }
      ASSERT_EQ("", before.changes());
   }
}

// With memory the routes go in order, the first on the left spine each time.
TEST(ObjectEndMemory, withMemoryAnIntrusiveTrieEndsInOrder) {
   static std::vector<std::string> gone;
   class Telling : public Sprig::Ipv6TrieRoute {
     public:
      using Ipv6TrieRoute::Ipv6TrieRoute;
      ~Telling() override { gone.emplace_back(prefix().stringValue()); }
   };
   const auto endOf = [](std::uint64_t failing) {
      auto trie = Sprig::ipv6TrieFactory();
      for (const char* text : {"2001::/16", "2001::/17", "2001:8000::/17", "2001:8000::/18", "2001:c000::/18"}) {
         trie->routeIs(Corvid::ptrIsImpl<Telling>(Corenet::Ip6Prefix::fromString(text)));
      }
      gone.clear();
      CoreSlab::failFrom(failing);
      trie = nullptr;
      CoreSlab::failAt(0);
      return gone;
   };
   EXPECT_EQ(
      (std::vector<std::string>{"2001::/16", "2001::/17", "2001:8000::/17", "2001:8000::/18", "2001:c000::/18"}),
      endOf(0));
   EXPECT_EQ(
      (std::vector<std::string>{"2001::/17", "2001::/16", "2001:8000::/18", "2001:8000::/17", "2001:c000::/18"}),
      endOf(1));
}

}  // namespace ObjectEndMemoryTest

#endif
