// What the wrapper hands on when a route is added, its flag included. The engines take the flag for nothing, so that no answer
// tells it: the wrapper's own source is compiled here once more, under another name and upon engines that note it.
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <utility>
#include <vector>

// All that the source includes comes first, so that the names below reach it alone.
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/front/TrieWrapperModule.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieBulk.h"

namespace Routing {

std::vector<std::string> handedOn;

template <class Engine>
struct Noting : Engine {
   using Engine::Engine;
   template <class Prefix>
   void routeIs(const Prefix& prefix, bool value) {
      handedOn.push_back(std::string(prefix.stringValue().view()) + (value ? " true" : " false"));
      Engine::routeIs(prefix, value);
   }
};
using NotingTrie = Noting<Trie>;
using NotingTrieCompact = Noting<TrieCompact>;

static Corvid::Ptr<NotingTrie> notingTrieFactory() { return Corvid::ptrIsImpl<NotingTrie>(); }
static Corvid::Ptr<NotingTrieCompact> notingTrieCompactFactory(Corenet::AddressFamily af) {
   return Corvid::ptrIsImpl<NotingTrieCompact>(af);
}

}  // namespace Routing

#define TrieWrapper WrapperOfNotingEngines
#define trieWrapperFactory wrapperOfNotingEnginesFactory
#define Trie NotingTrie
#define trieFactory notingTrieFactory
#define TrieCompact NotingTrieCompact
#define trieCompactFactory notingTrieCompactFactory

#include "routetrie/trie/front/TrieWrapper.cpp"
#include "routetrie/trie/front/TrieWrapper.h"

// It is in no module.
Corvid::TypeData Routing::WrapperOfNotingEngines::typeData() const { return {}; }

namespace TrieWrapperFlagTest {

TEST(TrieWrapperFlag, isHandedOnToEitherEngine) {
   for (const auto* route : {"10.0.0.0/8", "2001:db8::/32"}) {
      const auto prefix = Corenet::CompactIpPrefix::fromString(route);
      const auto trie = Routing::wrapperOfNotingEnginesFactory(prefix.af());
      for (const bool value : {false, true, false}) {
         Routing::handedOn.clear();
         trie->routeIs(prefix, value);
         EXPECT_EQ(std::vector<std::string>{std::string(route) + (value ? " true" : " false")}, Routing::handedOn);
         EXPECT_TRUE(trie->route(prefix)) << "the engine adds it all the same";
      }
   }
}

}  // namespace TrieWrapperFlagTest
