// The dump of an intrusive trie: the whole structure, with addresses masked but for where a test names one.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "routetrie/platform/Corvid/Inspect.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "tests/trie/intrusive/IntrusiveKinds.h"

namespace IntrusiveTrieDumpTest {

using Corenet::Ip6Prefix;
using Corvid::Ptr;
using Sprig::Ipv6Trie;
using Sprig::Ipv6TrieRoute;
using testing_support::ParentPtrType;
using testing_support::PrefixDataAndLength;

Ptr<Ipv6TrieRoute> add(const Ptr<Ipv6Trie>& trie, std::string_view text) {
   auto route = Sprig::ipv6TrieRouteFactory(Ip6Prefix::fromString(text));
   trie->routeIs(route);
   return route;
}

std::string dumped(const Ptr<Ipv6Trie>& trie, U32 indent = 0) {
   std::ostringstream out;
   trie->dumpState(Keel::dumpContextFactory(out), indent);
   return out.str();
}

std::string addressOf(const void* pointer) {
   return fmt::format("0x{:016x}", reinterpret_cast<std::uintptr_t>(pointer));
}

// The text with each address replaced by the name that it is given, or by "#".
std::string masked(std::string text, const std::map<std::string, const void*>& names = {}) {
   for (const auto& [name, pointer] : names) {
      const std::string address = addressOf(pointer);
      for (auto at = text.find(address); at != std::string::npos; at = text.find(address)) {
         text.replace(at, address.size(), name);
      }
   }
   for (auto at = text.find("0x"); at != std::string::npos; at = text.find("0x", at)) {
      EXPECT_EQ(std::string::npos, text.substr(at, 18).find_first_not_of("0123456789abcdefx"));
      text.replace(at, 18, "#");
   }
   return text;
}

// Blanks at the ends of lines would not show: there are none, and the numbers of blanks are exact.
TEST(IntrusiveTrieDump, ofAnEmptyTrie) {
   const auto trie = Sprig::ipv6TrieFactory();
   EXPECT_EQ("Ipv6Trie\n  Trie\n    o - " + addressOf(&trie->trie()) + "\n", dumped(trie));
}

TEST(IntrusiveTrieDump, standsBehindItsIndent) {
   const auto trie = Sprig::ipv6TrieFactory();
   EXPECT_EQ("   Ipv6Trie\n     Trie\n       o - " + addressOf(&trie->trie()) + "\n", dumped(trie, 3));
   const auto route = add(trie, "::/0");
   EXPECT_EQ("   Ipv6Trie\n     Trie\n       o ::/0 # E #\n       | L - #\n       | R - #\n",
             masked(dumped(trie, 3)));
}

TEST(IntrusiveTrieDump, namesSlotsAndRoutes) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto zero = add(trie, "::/0");
   const auto route = add(trie, "2001:db8::/32");
   EXPECT_EQ(
      "Ipv6Trie\n"
      "  Trie\n"
      "    o ::/0 [root] E [zero]\n"
      "    | L 2001:db8::/32 [zero.left] E [route]\n"
      "    | | L - [route.left]\n"
      "    | | R - [route.right]\n"
      "    | R - [zero.right]\n",
      masked(dumped(trie), {{"[root]", &trie->trie()},
                            {"[zero]", zero.get()},
                            {"[zero.left]", &zero->trieNode().left},
                            {"[zero.right]", &zero->trieNode().right},
                            {"[route]", route.get()},
                            {"[route.left]", &route->trieNode().left},
                            {"[route.right]", &route->trieNode().right}}));
}

// A route is named by its object, an internal node by itself; its `left` is its first field.
TEST(IntrusiveTrieDump, namesInternalNodes) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto low = add(trie, "2001:db8::/32");
   const auto high = add(trie, "2001:db9::/32");
   const auto* joint = trie->trie().root();
   ASSERT_TRUE(joint->isInternal());
   EXPECT_EQ(
      "Ipv6Trie\n"
      "  Trie\n"
      "    o 2001:db8::/31 [root] I [joint]\n"
      "    | L 2001:db8::/32 [joint] E [low]\n"
      "    | | L - #\n"
      "    | | R - #\n"
      "    | R 2001:db9::/32 [joint.right] E [high]\n"
      "    | | L - #\n"
      "    | | R - #\n",
      masked(dumped(trie), {{"[root]", &trie->trie()},
                            {"[joint]", joint},
                            {"[joint.right]", &joint->right},
                            {"[low]", low.get()},
                            {"[high]", high.get()}}));
}

// The null prefix reads as nothing of length 0; a host route ends the deepest path.
TEST(IntrusiveTrieDump, ofTheNullPrefixAndOfAHost) {
   const auto trie = Sprig::ipv6TrieFactory();
   const auto null = Sprig::ipv6TrieRouteFactory(Ip6Prefix::nullPrefix());
   trie->routeIs(null);
   const auto host = add(trie, "2001:db8::1/128");
   EXPECT_EQ(
      "Ipv6Trie\n  Trie\n    o ::/0 # E #\n    | L 2001:db8::1/128 # E #\n    | | L - #\n    | | R - #\n"
      "    | R - #\n",
      masked(dumped(trie)));
}

TEST(IntrusiveTrieDump, cutsNoList) {
   const auto trie = Sprig::ipv6TrieFactory();
   for (U32 i = 0; i < 1500; ++i) {
      trie->routeIs(
         Sprig::ipv6TrieRouteFactory(Ip6Prefix::cut(Corenet::AddressBits<128>(Corenet::U128{i} << 112), 16)));
   }
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   context->listLimitIs(2);
   trie->dumpState(context, 0);
   EXPECT_FALSE(context->truncated());
   std::size_t routes = 0;
   const std::string text = out.str();
   for (auto at = text.find(" E 0x"); at != std::string::npos; at = text.find(" E 0x", at + 1)) {
      ++routes;
   }
   EXPECT_EQ(1500u, routes);
}

TEST(IntrusiveTrieDump, ofAPathOf129Routes) {
   const auto trie = Sprig::ipv6TrieFactory();
   for (U32 length = 0; length <= 128; ++length) {
      add(trie, "::/" + std::to_string(length));
   }
   const std::string text = masked(dumped(trie));
   std::string bars;
   for (int i = 0; i < 128; ++i) {
      bars += "| ";
   }
   EXPECT_NE(std::string::npos, text.find("\n    " + bars + "L ::/128 # E #\n"));
   EXPECT_NE(std::string::npos, text.find("\n    " + bars + "| R - #\n"));
   EXPECT_EQ(std::string::npos, text.find(bars + "| | "));
}

TEST(IntrusiveTrieDump, byName) {
   const auto trie = Sprig::ipv6TrieFactory();
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   Corvid::Inspect::call(*trie, "dumpState", {context, "2"});
   EXPECT_EQ("  Ipv6Trie\n    Trie\n      o - #\n", masked(out.str()));
}

TEST(IntrusiveTrieDump, toStandardOutputWithoutAContext) {
   const auto trie = Sprig::ipv6TrieFactory();
   testing::internal::CaptureStdout();
   trie->dumpState(nullptr, 0);
   EXPECT_EQ("Ipv6Trie\n  Trie\n    o - #\n", masked(testing::internal::GetCapturedStdout()));
}

//--- the engine's own part, on the other family ---

class Ipv4Dump : public testing_support::IntrusiveFixture<testing_support::Ipv4Kind> {};

TEST_F(Ipv4Dump, asTheFamilyThatIsAsked) {
   add("10.0.0.0/8");
   add("10.128.0.0/16");
   std::ostringstream out;
   trie.dumpStateIp(Keel::dumpContextFactory(out), 0, Corenet::V4V6::v4);
   EXPECT_EQ(
      "Trie\n  o 10.0.0.0/8 # E [outer]\n  | L - #\n  | R 10.128.0.0/16 # E [inner]\n  | | L - #\n  | | R - #\n",
      masked(out.str(), {{"[outer]", routes["10.0.0.0/8"].get()}, {"[inner]", routes["10.128.0.0/16"].get()}}));
   out.str("");
   trie.dumpStateIp(Keel::dumpContextFactory(out), 1, Corenet::V4V6::v6);
   EXPECT_EQ(" Trie\n   o a00::/8 # E #\n   | L - #\n   | R a80::/16 # E #\n   | | L - #\n   | | R - #\n",
             masked(out.str()));
}

// Only the tags of slots in trees have letters; the depth is a byte.
TEST_F(Ipv4Dump, ofASlotByItself) {
   const auto lines = [this](ParentPtrType type, U8 depth) {
      NodeType* const slot = nullptr;
      std::ostringstream out;
      trie.dumpStateDoParentPointer(&slot, type, depth, Keel::dumpContextFactory(out), 0,
                                    [](const PrefixDataAndLength&) { return Corvid::String("text"); });
      return masked(out.str());
   };
   EXPECT_EQ("- - #\n", lines(ParentPtrType::none, 0));
   EXPECT_EQ("| o - #\n", lines(ParentPtrType::trieRoot, 1));
   EXPECT_EQ("| | L - #\n", lines(ParentPtrType::nodeLeft, 2));
   EXPECT_EQ("R - #\n", lines(ParentPtrType::nodeRight, 0));
   EXPECT_EQ("- - #\n", lines(static_cast<ParentPtrType>(7), 0));

   auto& route = add("10.0.0.0/8");
   NodeType* const slot = &route.trieNode();
   std::ostringstream out;
   trie.dumpStateDoParentPointer(&slot, ParentPtrType::nodeLeft, 255, Keel::dumpContextFactory(out), 0,
                                 [](const PrefixDataAndLength&) { return Corvid::String("text"); });
   const std::string text = masked(out.str());
   EXPECT_EQ(255u * 2, text.find("L text # E #\nL - #\nR - #\n")) << "after depth 255 comes 0";
}

class IntrusiveTrieDumpDeathTest : public Ipv4Dump {};

TEST_F(IntrusiveTrieDumpDeathTest, whatTheFormatterRaisesEndsTheProcess) {
   add("10.0.0.0/8");
   NodeType* const slot = trie.root();
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   EXPECT_DEATH(trie.dumpStateDoParentPointer(
                   &slot, ParentPtrType::trieRoot, 0, context, 0,
                   [](const PrefixDataAndLength&) -> Corvid::String { throw std::runtime_error("no text"); }),
                "terminate called after throwing .*runtime_error");
}

TEST(Ipv6TrieDumpDeathTest, whatTheStreamRaisesEndsTheProcess) {
   struct Full : std::streambuf {};  // takes nothing
   const auto trie = Sprig::ipv6TrieFactory();
   Full buffer;
   std::ostream out(&buffer);
   out.exceptions(std::ios::badbit);
   const auto context = Keel::dumpContextFactory(out);
   EXPECT_DEATH(trie->dumpState(context, 0), "terminate called after throwing .*failure");
}

}  // namespace IntrusiveTrieDumpTest
