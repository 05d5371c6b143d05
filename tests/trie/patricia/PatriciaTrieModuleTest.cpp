// What can be reached of a Patricia trie, of its payload and of its callbacks by name.
#include "routetrie/trie/patricia/PatriciaTrieModule.h"

#include <gtest/gtest.h>

#include <sstream>

#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieDumpStateWalkCb.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "tests/trie/Surface.h"

namespace PatriciaTrieModuleTest {

namespace Inspect = Corvid::Inspect;
using Corenet::IpGenPrefix;
using TestSupport::statusOf;
using TestSupport::surfaceOf;

TEST(PatriciaTrieByName, hasItsSurface) {
   EXPECT_EQ(
      "130 af Corenet::AddressFamily: 0\n"
      "131 useCompactIpPrefix bool: 0\n"
      "132 defaultRouteNodeData Routing::PrefixData: 0 1\n"
      "133 doDump void: 10\n"
      "134 defaultRoutePresent bool: 0\n"
      "135 nodes S32: 0 1\n"
      "136 routes U32: 0 1\n"
      "137 iterators U16: 0 1\n"
      "138 nodeDataEnabled bool: 0 1\n"
      "139 isDefaultRoutePresent bool: 10\n"
      "140 longestMatchOrParent Corenet::IpGenPrefix: 10\n"
      "141 longestMatchOrParentCompact Corenet::CompactIpPrefix: 10\n"
      "142 longestMatchCommon Corenet::IpGenPrefix: 10\n"
      "143 longestMatchCommonCompact Corenet::CompactIpPrefix: 10\n"
      "144 findParentCommon Corenet::IpGenPrefix: 10\n"
      "145 findParentCommonCompact Corenet::CompactIpPrefix: 10\n"
      "146 updateRoute void: 10\n"
      "147 updateRouteCompact void: 10\n"
      "148 deleteRoute bool: 10\n"
      "149 deleteRouteCompact bool: 10\n"
      "150 findImmediateChildren void: 10\n"
      "151 findImmediateChildrenCompact void: 10\n"
      "152 preOrderWalk void: 10\n"
      "153 preOrderWalkCompact void: 10\n"
      "154 empty bool: 10\n"
      "155 longerRoutePresentCommon bool: 10\n"
      "156 longerRoutePresentCommonCompact bool: 10\n"
      "157 getFirstBlack U32: 10\n"
      "158 getFirstBlackCompact U32: 10\n"
      "159 getNextBlack U32: 10\n"
      "160 getNextBlackCompact U32: 10\n"
      "161 getNext Corenet::CompactIpPrefix: 10\n"
      "162 initialized bool: 0 1\n"
      "163 handleInitialized void: 10\n"
      "164 handleDeletion void: 10\n"
      "165 dumpState void: 10\n",
      surfaceOf("Routing::PatriciaTrie"));
   EXPECT_EQ(
      "130 onAddition void: 10\n131 onDeletion void: 10\n"
      "132 insertData Routing::PrefixData: 10\n133 removeData Routing::PrefixData: 10\n",
      surfaceOf("Routing::PrefixData"));
   EXPECT_EQ("130 prefixData Routing::PrefixData: 0 1\n", surfaceOf("Routing::PrefixDataContainer"));
   EXPECT_EQ("130 handlePrefixData bool: 10\n", surfaceOf("Routing::PatriciaTrieWalkCb"));
   EXPECT_EQ("130 handlePrefixData bool: 10\n", surfaceOf("Routing::PatriciaTrieCompactWalkCb"));
   EXPECT_EQ("130 isPrefixSkip bool: 10\n", surfaceOf("Routing::PatriciaTrieIteratorCb"));
   EXPECT_EQ("130 isPrefixSkip bool: 10\n", surfaceOf("Routing::PatriciaTrieCompactIteratorCb"));
   const char* const dumping = "258 dumpCtx Keel::DumpContext: 0\n259 indentCount U32: 0\n260 entries U32: 0 1\n";
   EXPECT_EQ(dumping, surfaceOf("Routing::PatriciaTrieDumpStateWalkCb"));
   EXPECT_EQ(dumping, surfaceOf("Routing::PatriciaTrieCompactDumpStateWalkCb"));
}

TEST(PatriciaTrieByName, refusesWhatAFieldDoesNotOffer) {
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   EXPECT_EQ(1, statusOf(*trie, 130, 1));  // the family is for ever
   EXPECT_EQ(1, statusOf(*trie, 134, 1));
   EXPECT_EQ(1, statusOf(*trie, 142, 0));
   EXPECT_EQ(2, statusOf(*trie, 129, 0));
   EXPECT_EQ(2, statusOf(*trie, 166, 0));
   EXPECT_EQ(2, statusOf(*trie, 258, 0));
}

TEST(PatriciaTrieByName, routesComeAndGo) {
   const auto type = Inspect::findType("Routing::PatriciaTrie").value();
   const auto trie = Inspect::make(type, {"ipv6", "true"});
   EXPECT_EQ("true", Inspect::get(*trie, "useCompactIpPrefix").text);
   Inspect::call(*trie, "updateRouteCompact", {"2001:db8::/32", "null"});
   Inspect::call(*trie, "updateRouteCompact", {"2001:db8:7::/48", "null"});
   EXPECT_EQ("2", Inspect::get(*trie, "routes").text);
   EXPECT_EQ("2001:db8::/32",
             Inspect::call(*trie, "findParentCommonCompact", {"2001:db8:7::/48", "null", "null"}).text);
   EXPECT_EQ("2001:db8:7::/48", Inspect::call(*trie, "getNext", {"2001:db8::/32"}).text);
   EXPECT_EQ("true", Inspect::call(*trie, "deleteRouteCompact", {"2001:db8::/32", "null", "null"}).text);
   EXPECT_EQ("1", Inspect::get(*trie, "routes").text);
   Inspect::call(*trie, "handleDeletion");
   EXPECT_EQ("true", Inspect::call(*trie, "empty").text);
}

TEST(PatriciaTrieByName, callbacksAreCalledAndHandedOver) {
   struct Counting : Routing::PatriciaTrieWalkCb {
      bool handlePrefixData(const IpGenPrefix&, const Routing::PrefixData*) override { return ++seen != 0; }
      int seen = 0;
   };
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   trie->updateRoute(IpGenPrefix::fromString("10.0.0.0/8"), nullptr);
   const auto counting = Corvid::ptrIsImpl<Counting>();
   Inspect::call(*trie, "preOrderWalk", {"0.0.0.0/0", counting});
   EXPECT_EQ(1, counting->seen);
   EXPECT_EQ("true", Inspect::call(*counting, "handlePrefixData", {"10.0.0.0/8", "null"}).text);
   EXPECT_EQ(2, counting->seen);
   EXPECT_EQ(1U, counting->uses());
}

TEST(PatriciaTrieByName, aDumpGoesToTheContextThatIsGiven) {
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   const auto trie = Routing::patriciaTrieFactory(Corenet::ipv4, false);
   Inspect::call(*trie, "dumpState", {context, "0"});
   EXPECT_FALSE(out.str().empty());

   const auto callback =
      Inspect::make(Inspect::findType("Routing::PatriciaTrieDumpStateWalkCb").value(), {context, "4"});
   EXPECT_EQ("4", Inspect::get(*callback, "indentCount").text);
   EXPECT_EQ(context, Inspect::get(*callback, "dumpCtx").object);
   Inspect::set(*callback, "entries", "7");
   EXPECT_EQ("7", Inspect::get(*callback, "entries").text);
}

TEST(PatriciaTrieByName, payloadIsReachedThroughItsContainer) {
   const auto container = Routing::prefixDataContainerFactory();
   const auto data = Routing::prefixDataFactory();
   Inspect::set(*container, "prefixData", data);
   EXPECT_EQ(2U, data->uses());
   EXPECT_EQ(data, Inspect::get(*container, "prefixData").object);
   const auto other = Routing::prefixDataFactory();
   EXPECT_EQ(other, Inspect::call(*data, "insertData", {other}).object);
   EXPECT_EQ("null", Inspect::call(*data, "removeData", {"null"}).text);
   EXPECT_EQ(1U, other->uses());
}

}  // namespace PatriciaTrieModuleTest
