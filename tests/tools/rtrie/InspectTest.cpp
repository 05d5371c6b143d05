// InspectCommand: the program, asked for classes and for attributes of small tables.
#include "tools/rtrie/commands/InspectCommand.h"

#include <nlohmann/json.hpp>

#include "Support.h"

namespace Rtrie {
namespace InspectTest {

using Support::Ran;
using Support::rtrie;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(InspectCommand, listsModulesClassesAndFields) {
   const Ran ran = rtrie({"inspect"});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
   EXPECT_THAT(ran.out, HasSubstr("module PatriciaTrie\n"));
   EXPECT_THAT(ran.out, HasSubstr("module Corenet\n"));
   EXPECT_THAT(ran.out,
               HasSubstr("  class Routing::PatriciaTrie(Corenet::AddressFamily af, bool useCompactIpPrefix)\n"));
   EXPECT_THAT(ran.out, ContainsRegex("\n    136  attribute +get set +U32 routes\n"));
   EXPECT_THAT(ran.out, HasSubstr("  abstract class Routing::PatriciaTrieWalkCb\n"));
   EXPECT_THAT(ran.out, ContainsRegex("\n    132  operation for an object +call +Routing::PrefixData "
                                      "insertData\\(Routing::PrefixData data\\)\n"));
}

TEST(InspectCommand, showsOneClassByItsFullOrLastName) {
   const Ran full = rtrie({"inspect", "Routing::PrefixDataContainer"});
   EXPECT_EQ(0, full.status);
   EXPECT_THAT(full.out,
               ContainsRegex("^module PatriciaTrieData\n\n  class Routing::PrefixDataContainer\\(\\)\n    130 "));
   EXPECT_THAT(full.out, Not(HasSubstr("class Routing::PrefixData(")));
   EXPECT_EQ(full.out, rtrie({"inspect", "PrefixDataContainer"}).out);
}

TEST(InspectCommand, speaksJson) {
   const Ran ran = rtrie({"inspect", "--format", "json", "PatriciaTrie"});
   EXPECT_EQ(0, ran.status);
   const auto json = nlohmann::json::parse(ran.out);
   ASSERT_EQ(1U, json.size());
   EXPECT_EQ("Routing::PatriciaTrie", json[0]["name"]);
   EXPECT_EQ("class", json[0]["kind"]);
   EXPECT_TRUE(json[0]["base"].is_null());
   EXPECT_EQ("useCompactIpPrefix", json[0]["constructor"][1]["name"]);
   bool seen = false;
   for (const auto& field : json[0]["fields"]) {
      if (field["name"] == "updateRoute") {
         seen = true;
         EXPECT_EQ("operation", field["kind"]);
         EXPECT_EQ("void", field["type"]);
         EXPECT_EQ(nlohmann::json({"call"}), field["access"]);
         EXPECT_EQ("Routing::PrefixData", field["arguments"][1]["type"]);
         EXPECT_TRUE(field["key"].is_null());
      }
   }
   EXPECT_TRUE(seen);
}

TEST(InspectCommand, readsALoadedTable) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
   const Ran ran = rtrie({"inspect", "--table", table, "routes", "longestMatch(10.1.2.3/32)", "empty"});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
   EXPECT_EQ(
      "IPv4  routes = 2\nIPv6  routes = 1\nIPv4  longestMatch(10.1.2.3/32) = 10.1.0.0/16\n"
      "IPv4  empty = false\nIPv6  empty = false\n",
      ran.out);
   const Ran engine = rtrie({"inspect", "--table", table, "--engine", "patricia", "longestMatchCommon(10.1.2.3/32)"});
   EXPECT_EQ("IPv4  longestMatchCommon(10.1.2.3/32) = 10.1.0.0/16\n", engine.out);
   const Ran json = rtrie({"inspect", "--table", table, "--format", "json", "--engine", "patricia-compact", "nodes"});
   EXPECT_EQ(0, json.status);
   EXPECT_EQ(
      "{\"family\":\"ipv4\",\"path\":\"nodes\",\"value\":1}\n"
      "{\"family\":\"ipv6\",\"path\":\"nodes\",\"value\":1}\n",
      json.out);
}

TEST(InspectCommand, jsonHasNumbersTruthsAndNulls) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const Ran ran = rtrie({"inspect", "--table", table, "--format", "json", "--engine", "patricia", "routes", "empty",
                          "defaultRouteNodeData", "longestMatchCommon(10.1.2.3/32)", "updateRoute(11.0.0.0/8)"});
   EXPECT_EQ(
      "{\"family\":\"ipv4\",\"path\":\"routes\",\"value\":1}\n"
      "{\"family\":\"ipv4\",\"path\":\"empty\",\"value\":false}\n"
      "{\"family\":\"ipv4\",\"path\":\"defaultRouteNodeData\",\"value\":null}\n"
      "{\"family\":\"ipv4\",\"path\":\"longestMatchCommon(10.1.2.3/32)\",\"value\":\"10.0.0.0/8\"}\n"
      "{\"family\":\"ipv4\",\"path\":\"updateRoute(11.0.0.0/8)\",\"value\":null}\n",
      ran.out);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
}

// Each of these ended the program by a signal.
TEST(InspectCommand, whatWouldBreakTheTableIsRefused) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n10.1.0.0/16\n");
   for (const auto& [engine, path] :
        {std::pair{"patricia", "preOrderWalk(10.0.0.0/8)"}, std::pair{"gen", "longerRoutePresent(none)"},
         std::pair{"multibit", "handleDeletion"}, std::pair{"gen", "cb4.handlePrefix(10.0.0.0/8)"},
         std::pair{"patricia", "dumpState(null, 0)"}}) {
      const Ran ran = rtrie({"inspect", "--table", table, "--engine", engine, path, "routes"});
      EXPECT_EQ("IPv4  routes = 2\n", ran.out) << path;
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      EXPECT_EQ(1, ran.status) << path;
   }
}

// Of "name" the trie of the front end tells, of "empty" alone the engine beneath, which can also be named.
TEST(InspectCommand, readsTheEngineWhereTheFrontEndHasNoSuchField) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
   for (const char* engine : {"auto", "gen"}) {
      const Ran ran = rtrie({"inspect", "--table", table, "--engine", engine, "name", "empty", "useCompactIpPrefix",
                             "trie4.longestMatch(10.1.2.3/32)"});
      EXPECT_EQ(
         "IPv4  name = rtrie\nIPv6  name = rtrie\nIPv4  empty = false\nIPv6  empty = false\n"
         "IPv6  useCompactIpPrefix = false\nIPv4  trie4.longestMatch(10.1.2.3/32) = 10.1.0.0/16\n",
         ran.out);
      EXPECT_EQ("rtrie: Routing::TrieGen has no field \"useCompactIpPrefix\"\n", ran.err);
      EXPECT_EQ(1, ran.status);
   }
}

// The container has no fields that can be reached by name, but it has a count.
TEST(InspectCommand, theEngineTableHasItsCountAlone) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const Ran count = rtrie({"inspect", "--table", table, "--engine", "table", "routes"});
   EXPECT_EQ("IPv4  routes = 1\n", count.out);
   EXPECT_EQ(0, count.status);
   const Ran field = rtrie({"inspect", "--table", table, "--engine", "table", "routes", "empty"});
   EXPECT_EQ("", field.out);
   EXPECT_THAT(field.err,
               testing::StartsWith("rtrie: engine \"table\" has no fields to read by name: engines that have "
                                   "it are gen, patricia, "));
   EXPECT_EQ(2, field.status);
}

TEST(InspectCommand, whatCantBeHadIsOneClearLine) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const Ran unknown = rtrie({"inspect", "Nothing"});
   EXPECT_EQ("rtrie: unknown class \"Nothing\": rtrie inspect lists them all\n", unknown.err);
   EXPECT_EQ(2, unknown.status);
   const Ran noPath = rtrie({"inspect", "--table", table});
   EXPECT_EQ("rtrie: what is to be read of the table? give a path, such as routes\n", noPath.err);
   EXPECT_EQ(2, noPath.status);
   const Ran noField = rtrie({"inspect", "--table", table, "nothing", "routes"});
   EXPECT_EQ("rtrie: Routing::TrieGen has no field \"nothing\"\n", noField.err);
   EXPECT_EQ("IPv4  routes = 1\n", noField.out);
   EXPECT_EQ(1, noField.status);
   EXPECT_EQ(3, rtrie({"inspect", "--table", table, "nothing"}).status);
   const Ran family = rtrie({"inspect", "--table", table, "longestMatch(2001:db8::/32)"});
   EXPECT_EQ("rtrie: no table of engine \"gen\" is of the family of \"longestMatch(2001:db8::/32)\"\n", family.err);
   EXPECT_EQ(3, family.status);
   EXPECT_EQ(2, rtrie({"inspect", "--format", "xml"}).status);
}

TEST(InspectCommand, speaksRows) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n2001:db8::/32\n");
   EXPECT_EQ("ipv4\troutes\t1\nipv6\troutes\t1\n",
             rtrie({"inspect", "--table", table, "--format", "tsv", "routes"}).out);
   EXPECT_EQ(
      "family,path,value\nipv4,longestMatch(10.1.2.3/32),10.0.0.0/8\n"
      "ipv4,routes,1\nipv6,routes,1\n",
      rtrie({"inspect", "--table", table, "--format", "csv", "longestMatch(10.1.2.3/32)", "routes"}).out);
   EXPECT_THAT(rtrie({"inspect", "--format", "tsv", "PatriciaTrie"}).out,
               ContainsRegex("(^|\n)PatriciaTrie\tRouting::PatriciaTrie\t136\troutes\tattribute\tU32\tget set\n"));
   EXPECT_THAT(rtrie({"inspect", "--format", "csv", "PatriciaTrie"}).out,
               testing::StartsWith("module,class,id,name,kind,type,access\n"));
}

}  // namespace InspectTest
}  // namespace Rtrie
