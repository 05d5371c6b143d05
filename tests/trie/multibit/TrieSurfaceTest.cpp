// The reflected surfaces of the multibit trie and its callbacks: their fields with the access kinds they take, and each reached by
// name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/multibit/TrieDumpStateWalkCallback.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"
#include "tests/trie/Surface.h"
#include "tests/trie/multibit/TrieSupport.h"

namespace TrieSurfaceTest {

using namespace testing_support;
using testing::ElementsAre;
using TestSupport::statusOf;
using TestSupport::surfaceOf;
namespace Inspect = Corvid::Inspect;

using TrieSurface = TrieFixture;

TEST_F(TrieSurface, ofTheTrie) {
   EXPECT_EQ(
      "130 longestMatch Corenet::Prefix: 0\n"
      "131 route bool: 0 1 2\n"
      "132 longerRoutePresent bool: 10\n"
      "133 changedRoute Corenet::Prefix: 0 published\n"
      "134 notifyChangedRoute void: 10\n"
      "135 doDump void: 10\n"
      "137 defaultRoutePresent bool: 0\n"
      "138 nodes S32: 0 1\n"
      "139 routes U32: 0 1\n"
      "140 empty bool: 10\n"
      "141 isDefaultRoutePresent bool: 10\n"
      "142 preOrderWalkCompact void: 10\n"
      "143 preOrderWalk void: 10\n"
      "144 getNext Corenet::Prefix: 10\n"
      "145 findParent Corenet::Prefix: 10\n"
      "146 initialized bool: 0 1\n"
      "147 handleInitialized void: 10\n"
      "148 handleDeletion void: 10\n"
      "149 dumpState void: 10\n",
      surfaceOf("Routing::Trie"));
   const auto type = Inspect::findType("Routing::Trie").value();
   EXPECT_EQ("Trie", type.moduleName());
   EXPECT_FALSE(type.base());
   EXPECT_TRUE(type.constructorParameters().empty());
   using Tesk::Shape;
   const std::pair<const char*, Shape> shapes[] = {{"longestMatch", Shape::keyedValues},
                                                   {"route", Shape::keyedValues},
                                                   {"longerRoutePresent", Shape::constOperation},
                                                   {"changedRoute", Shape::value},
                                                   {"notifyChangedRoute", Shape::operation},
                                                   {"doDump", Shape::operation},
                                                   {"empty", Shape::constOperation},
                                                   {"isDefaultRoutePresent", Shape::constOperation},
                                                   {"preOrderWalkCompact", Shape::operation},
                                                   {"preOrderWalk", Shape::operation},
                                                   {"getNext", Shape::constOperation},
                                                   {"findParent", Shape::constOperation},
                                                   {"handleInitialized", Shape::operation},
                                                   {"handleDeletion", Shape::operation},
                                                   {"dumpState", Shape::constOperation}};
   for (const auto& [name, shape] : shapes) {
      EXPECT_EQ(shape, type.field(name)->shape()) << name;
   }
   EXPECT_EQ("Corenet::Prefix", type.field("route")->keyTypeName());
   const auto parametersOf = [&](std::string_view name) {
      std::string text;
      for (const auto& parameter : type.field(name)->parameters()) {
         text += std::string(parameter.typeName) + ' ' + std::string(parameter.name) + ' ';
      }
      return text;
   };
   EXPECT_EQ("Corenet::CompactIpPrefix subtreeRoot Routing::PatriciaTrieCompactWalkCb callback ",
             parametersOf("preOrderWalkCompact"));
   EXPECT_EQ("Corenet::Prefix subtreeRoot Routing::TrieWalkCallback callback ", parametersOf("preOrderWalk"));
   EXPECT_EQ("Keel::DumpContext dumpCtx U32 indentCount ", parametersOf("dumpState"));
   EXPECT_EQ("Corenet::Prefix prefix ", parametersOf("getNext"));
   EXPECT_EQ("Corenet::Prefix prefix ", parametersOf("findParent"));
   EXPECT_EQ("Corenet::Prefix prefix ", parametersOf("notifyChangedRoute"));
   EXPECT_EQ("Corenet::Prefix prefix ", parametersOf("longerRoutePresent"));
}

TEST_F(TrieSurface, ofTheCallbacks) {
   EXPECT_EQ("130 handlePrefix S32: 10\n", surfaceOf("Routing::TrieWalkCallback"));
   EXPECT_EQ("258 pcb Routing::PatriciaTrieCompactWalkCb: 0\n", surfaceOf("Routing::TrieWalkCallbackWrapper"));
   EXPECT_EQ("259 walkedPrefix Corenet::Prefix: 3 6 7 8 9\n", surfaceOf("Routing::TrieWalkCallbackTest"));
   EXPECT_EQ(
      "258 dumpCtx Keel::DumpContext: 0\n"
      "259 indentCount U32: 0\n"
      "260 entries U32: 0 1\n",
      surfaceOf("Routing::TrieDumpStateWalkCallback"));
   for (const char* name :
        {"Routing::TrieWalkCallbackWrapper", "Routing::TrieWalkCallbackTest", "Routing::TrieDumpStateWalkCallback"}) {
      EXPECT_EQ("Routing::TrieWalkCallback", Inspect::findType(name)->base()->name()) << name;
   }
   EXPECT_EQ(Tesk::Shape::queue, Inspect::findType("Routing::TrieWalkCallbackTest")->field("walkedPrefix")->shape());
   EXPECT_EQ(Tesk::Shape::pointer, Inspect::findType("Routing::TrieWalkCallbackWrapper")->field("pcb")->shape());
}

TEST_F(TrieSurface, whatIsNotThereIsRefused) {
   EXPECT_EQ(2, statusOf(*trie, 136, 0));
   EXPECT_EQ(2, statusOf(*trie, 129, 0));
   EXPECT_EQ(2, statusOf(*trie, 150, 0));
   EXPECT_EQ(1, statusOf(*trie, 130, 5));
   EXPECT_EQ(1, statusOf(*trie, 131, 28));
   EXPECT_EQ(1, statusOf(*trie, 132, 0));
   EXPECT_EQ(1, statusOf(*trie, 133, 1));
   EXPECT_EQ(1, statusOf(*trie, 137, 1));
   EXPECT_EQ(1, statusOf(*trie, 140, 0));
   const auto recorder = Routing::trieWalkCallbackTestFactory();
   EXPECT_EQ(2, statusOf(*recorder, 258, 0));
   EXPECT_EQ(1, statusOf(*recorder, 259, 0));
   EXPECT_EQ(1, statusOf(*recorder, 259, 4));
}

TEST_F(TrieSurface, routesByName) {
   Inspect::set(*trie, "route", "10.0.0.0/8", "false");  // the value is ignored
   EXPECT_EQ("true", Inspect::get(*trie, "route", "10.0.0.0/8").text);
   EXPECT_EQ("10.0.0.0/8", Inspect::get(*trie, "longestMatch", "10.1.1.1/32").text);
   EXPECT_EQ("0.0.0.0/255", Inspect::get(*trie, "longestMatch", "11.1.1.1/32").text);
   EXPECT_EQ("true", Inspect::call(*trie, "longerRoutePresent", {"8.0.0.0/6"}).text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*trie, "findParent", {"10.1.0.0/16"}).text);
   EXPECT_EQ("10.0.0.0/8", Inspect::call(*trie, "getNext", {"0.0.0.0/0"}).text);
   EXPECT_EQ("1", Inspect::get(*trie, "routes").text);
   EXPECT_EQ("0", Inspect::get(*trie, "nodes").text);
   EXPECT_EQ("false", Inspect::call(*trie, "empty").text);
   EXPECT_EQ("true", Inspect::del(*trie, "route", "10.0.0.0/8").text);
   EXPECT_EQ("false", Inspect::del(*trie, "route", "10.1.0.0/16").text);
   EXPECT_EQ("true", Inspect::call(*trie, "empty").text);
   Inspect::set(*trie, "route", "0.0.0.0/0", "true");
   EXPECT_EQ("true", Inspect::get(*trie, "defaultRoutePresent").text);
   EXPECT_EQ("true", Inspect::call(*trie, "isDefaultRoutePresent").text);
   EXPECT_EQ("", trie->audit());
}

TEST_F(TrieSurface, countsAndFlagsByName) {
   Inspect::set(*trie, "nodes", "-3");
   EXPECT_EQ(-3, trie->nodes());
   Inspect::set(*trie, "routes", "7");
   EXPECT_EQ(7u, trie->routes());
   Inspect::set(*trie, "initialized", "true");
   EXPECT_TRUE(trie->initialized());
}

TEST_F(TrieSurface, announcementsByName) {
   std::vector<std::string> told;
   const auto watch = trie->publisher()->subscribe(
      [&](const Corvid::Change&) { told.push_back(Inspect::get(*trie, "changedRoute").text); });
   Inspect::call(*trie, "notifyChangedRoute", {"10.0.0.0/8"});
   EXPECT_THAT(told, ElementsAre("10.0.0.0/8"));
   EXPECT_EQ("0.0.0.0/255", Inspect::get(*trie, "changedRoute").text);
}

TEST_F(TrieSurface, lifeCycleByName) {
   add("10.1.1.1/32");
   Inspect::call(*trie, "handleDeletion");
   Inspect::call(*trie, "handleInitialized");
   EXPECT_TRUE(trie->root()->isBare());
   EXPECT_EQ("1", Inspect::get(*trie, "routes").text);
}

TEST_F(TrieSurface, walksAndDumpsByName) {
   add({"10.0.0.0/8", "11.0.0.0/8"});
   const auto recorder = Routing::trieWalkCallbackTestFactory();
   Inspect::call(*trie, "preOrderWalk", {"0.0.0.0/0", recorder});
   EXPECT_EQ(2u, Inspect::count(*recorder, "walkedPrefix"));
   EXPECT_EQ("10.0.0.0/8", Inspect::front(*recorder, "walkedPrefix").text);
   EXPECT_EQ("11.0.0.0/8", Inspect::back(*recorder, "walkedPrefix").text);

   std::ostringstream out;
   Inspect::call(*trie, "dumpState", {Keel::dumpContextFactory(out), "0"});
   EXPECT_EQ("Trie\n  route[] #2\n    10.0.0.0/8\n    11.0.0.0/8\n", out.str());
   testing::internal::CaptureStdout();
   Inspect::call(*trie, "doDump");
   EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("routes+children: 2"));
}

TEST_F(TrieSurface, theRecorderByName) {
   const auto recorder = Routing::trieWalkCallbackTestFactory();
   EXPECT_EQ("0.0.0.0/0", Inspect::front(*recorder, "walkedPrefix").text);
   Inspect::enqueue(*recorder, "walkedPrefix", "10.0.0.0/8");
   Inspect::enqueue(*recorder, "walkedPrefix", "11.0.0.0/8");
   EXPECT_EQ("1", Inspect::call(*recorder, "handlePrefix", {"12.0.0.0/8"}).text);
   EXPECT_EQ("10.0.0.0/8", Inspect::dequeue(*recorder, "walkedPrefix").text);
   std::vector<std::string> members;
   Inspect::iterate(*recorder, "walkedPrefix", [&](const Inspect::Value& position, const Inspect::Value& value) {
      members.push_back(position.text + ' ' + value.text);
      return true;
   });
   EXPECT_THAT(members, ElementsAre("1 11.0.0.0/8", "2 12.0.0.0/8"));
   // A dequeue takes no argument.
   const Corvid::FieldDescriptor field{259};
   const Corvid::TypeData type = recorder->typeData();
   Corenet::Prefix result;
   EXPECT_EQ(1, type.module->functions[type.index].inspect(&result, recorder.get(), &field, 0, 9, &result, nullptr));
   EXPECT_EQ(2u, Inspect::count(*recorder, "walkedPrefix"));
}

TEST_F(TrieSurface, theOtherCallbacksByName) {
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   const auto dumping = Corvid::ptrIsImpl<Routing::TrieDumpStateWalkCallback>(context, 3u);
   EXPECT_EQ(context, Inspect::get(*dumping, "dumpCtx").object);
   EXPECT_EQ("3", Inspect::get(*dumping, "indentCount").text);
   Inspect::set(*dumping, "entries", "5");
   EXPECT_EQ(5u, dumping->entries());
   Inspect::call(*dumping, "handlePrefix", {"10.0.0.0/8"});
   EXPECT_EQ("   10.0.0.0/8\n", out.str());
   const auto wrapper = Corvid::ptrIsImpl<Routing::TrieWalkCallbackWrapper>(nullptr);
   EXPECT_EQ("null", Inspect::get(*wrapper, "pcb").text);
}

}  // namespace TrieSurfaceTest
