// CallCheck: every field of every class, asked for with every kind of argument, good and bad. The calls are generated from
// the module records, so that a field that is added is asked for too. What can't be called raises; nothing dies, and no
// table is broken by it.
#include "tools/rtrie/CallCheck.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Support.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "tests/property/Scale.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/InspectPath.h"

namespace Rtrie {
namespace CallCheckTest {

namespace Inspect = Corvid::Inspect;
using Corenet::AddressFamily;

// Texts for a parameter of that type: values of both families and of none, the least and the greatest, and no values.
std::vector<std::string> textsFor(std::string_view typeName) {
   if (typeName.find("refix") != std::string_view::npos && typeName.starts_with("Corenet::")) {
      return {"10.0.0.0/8",    "10.1.0.0/16", "10.1.2.3/32",   "0.0.0.0/0",       "0.0.0.0/255", "255.255.255.255/32",
              "2001:db8::/32", "::/0",        "2001:db8::/57", "2001:db8::1/128", "::/255",      "none",
              "null",          "10.0.0.0/33", "10.1.0.0/8",    "2001:db8::/129",  "x",           ""};
   }
   if (typeName == "bool") {
      return {"true", "false", "2", ""};
   }
   if (typeName == "U8" || typeName == "U16" || typeName == "U32" || typeName == "S32") {
      return {"0", "1", "8", "32", "33", "128", "129", "255", "65535", "4294967295", "-1", "x", ""};
   }
   if (typeName == "Corenet::AddressFamily") {
      return {"ipv4", "ipv6", "none", "3", ""};
   }
   if (typeName == "Corvid::String") {
      return {"text", ""};
   }
   const auto type = Inspect::findType(typeName);
   return type && type->isClass() ? std::vector<std::string>{"null", "x"}
                                  : std::vector<std::string>{"null", "0", "1", "default", "x", ""};
}

// What is asked for a field: all its arguments in all combinations, and one too few and too many.
std::vector<std::vector<std::string>> argumentsFor(const Inspect::Field& field) {
   std::vector<std::string> types;
   if (field.takes(Corvid::AccessKind::call)) {
      for (const auto& parameter : field.parameters()) {
         types.emplace_back(parameter.typeName);
      }
   } else if (!field.keyTypeName().empty()) {
      types.emplace_back(field.keyTypeName());
   }
   std::vector<std::vector<std::string>> all = {{}};
   for (const auto& type : types) {
      std::vector<std::vector<std::string>> longer;
      for (const auto& before : all) {
         for (const auto& text : textsFor(type)) {
            longer.push_back(before);
            longer.back().push_back(text);
         }
      }
      all = std::move(longer);
   }
   if (!types.empty()) {
      all.push_back({});
   }
   all.push_back(std::vector<std::string>(types.size() + 1, "10.0.0.0/8"));
   return all;
}

std::string pathOf(std::string_view field, const std::vector<std::string>& arguments) {
   std::string path(field);
   path += '(';
   for (std::size_t i = 0; i < arguments.size(); ++i) {
      path += (i == 0 ? "" : ", ") + arguments[i];
   }
   return path + ')';
}

std::string auditOf(const Corvid::Node& node) {
   if (const auto* trie = dynamic_cast<const Routing::PatriciaTrie*>(&node)) {
      return trie->audit();
   }
   if (const auto* trie = dynamic_cast<const Routing::Trie*>(&node)) {
      return trie->audit();
   }
   if (const auto* trie = dynamic_cast<const Routing::TrieGen*>(&node)) {
      return trie->audit();
   }
   if (const auto* trie = dynamic_cast<const Sprig::Ipv6Trie*>(&node)) {
      return trie->audit();
   }
   return "";
}

struct Asked {
   std::uint64_t calls = 0;
   std::uint64_t answered = 0;
   std::set<std::string> fields;
};

// Asks the object for each of its fields, and then what it hands out. leads: how many objects further.
void askAll(Corvid::Node& node, unsigned leads, Asked& asked) {
   const auto type = Inspect::typeOf(node);
   if (!type) {
      return;
   }
   std::map<std::string_view, Corvid::Ptr<const Corvid::Node>> found;
   for (auto owner = type; owner; owner = owner->base()) {
      for (const auto& field : owner->fields()) {
         asked.fields.insert(fmt::format("{}::{}", owner->name(), field.name()));
         for (const auto& arguments : argumentsFor(field)) {
            const std::string path = pathOf(field.name(), arguments);
            SCOPED_TRACE(path);
            try {
               ++asked.calls;
               const auto value = InspectPath(path).read(node);
               ++asked.answered;
               if (value.object) {
                  found[field.name()] = value.object;
               }
            } catch (const Corvid::RangeException& refusal) {
               EXPECT_STRNE("", refusal.what());
            }
         }
         ASSERT_EQ("", auditOf(node)) << owner->name() << "::" << field.name();
      }
   }
   for (const auto& [name, object] : found) {
      if (leads != 0 && object.get() != &node) {
         askAll(const_cast<Corvid::Node&>(*object), leads - 1, asked);
      }
   }
}

// An object of a class that is made by name, by the arguments at `at` of each parameter's texts; null if they make none.
Corvid::Ptr<Corvid::Node> madeOf(const Inspect::Type& type, std::size_t at, const Corvid::Node& context) {
   std::vector<Inspect::Given> given;
   std::vector<Corvid::Ptr<Corvid::Node>> kept;
   for (const auto& parameter : type.constructorParameters()) {
      const auto wanted = Inspect::findType(parameter.typeName);
      if (wanted && wanted->isClass()) {
         given.emplace_back(wanted->name() == "Keel::DumpContext" ? &context : nullptr);
      } else {
         // No command makes an engine of another family.
         const auto texts = parameter.typeName == "Corenet::AddressFamily" ? std::vector<std::string>{"ipv4", "ipv6"}
                                                                           : textsFor(parameter.typeName);
         given.emplace_back(texts[at % texts.size()]);
      }
   }
   try {
      return Inspect::make(type, given);
   } catch (const Corvid::RangeException&) {
      return nullptr;
   }
}

class CallCheckTest : public testing::Test {
  protected:
   // Dumps go to standard output by themselves.
   CallCheckTest() : before_(std::cout.rdbuf(nothing_.rdbuf())) {}
   ~CallCheckTest() override { std::cout.rdbuf(before_); }

   static std::unique_ptr<RouteTable> tableOf(const Engine& engine, AddressFamily af, bool hasDefault) {
      auto table = engine.make(af);
      for (const char* route : {"10.0.0.0/8", "10.1.0.0/16", "192.0.2.0/24", "2001:db8::/32", "2001:db8::/57"}) {
         if (Support::prefix(route).af() == af) {
            table->routeWithPayloadIs(Support::prefix(route), {1, "payload"});
         }
      }
      if (hasDefault) {
         table->routeWithPayloadIs(Support::prefix(af == AddressFamily::ipv6 ? "::/0" : "0.0.0.0/0"), {2, "default"});
      }
      return table;
   }

  private:
   std::ostringstream nothing_;
   std::streambuf* const before_;
};

TEST_F(CallCheckTest, everyFieldOfEveryTableSurvivesEveryArgument) {
   Asked asked;
   for (const Engine& engine : engines()) {
      for (const AddressFamily af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
         for (const bool hasDefault : {false, true}) {
            if (engine.holds(af) && includes(engine.answers, Questions::object)) {
               SCOPED_TRACE(engine.name);
               const auto table = tableOf(engine, af, hasDefault);
               askAll(table->object(), 2, asked);
               // An empty table has no node to go to.
               askAll(engine.make(af)->object(), 2, asked);
            }
         }
      }
   }
   EXPECT_GT(asked.calls, 20000U);
   RecordProperty("calls", std::to_string(asked.calls));
   EXPECT_GT(asked.answered, 1000U) << "what can be answered still is";
}

TEST_F(CallCheckTest, everyFieldOfEveryClassSurvivesEveryArgument) {
   std::ostringstream out;
   const auto context = Keel::dumpContextFactory(out);
   Asked asked;
   std::set<std::string> wanted;
   for (const auto& module : Inspect::modules()) {
      for (const auto& type : module.types()) {
         if (!type.isClass() || !type.isConstructible()) {
            continue;
         }
         for (const auto& field : type.fields()) {
            wanted.insert(fmt::format("{}::{}", type.name(), field.name()));
         }
         for (std::size_t at = 0; at < 18; at += Property::isFull() ? 1U : 4U) {
            SCOPED_TRACE(fmt::format("{} {}", type.name(), at));
            if (const auto object = madeOf(type, at, *context)) {
               askAll(*object, 1, asked);
            }
            if (type.constructorParameters().empty()) {
               break;
            }
         }
      }
   }
   for (const auto& field : wanted) {
      EXPECT_TRUE(asked.fields.contains(field)) << field;
   }
   EXPECT_GT(wanted.size(), 100U);
}

// The text of the refusal of a path asked of a table that holds 10.0.0.0/8 or 2001:db8::/32; the value if there is none.
std::string refusalOf(std::string_view engine, std::string_view path, AddressFamily af = AddressFamily::ipv4) {
   for (const Engine& each : engines()) {
      if (each.name == engine) {
         const auto table = each.make(af);
         table->routeWithPayloadIs(Support::prefix(af == AddressFamily::ipv6 ? "2001:db8::/32" : "10.0.0.0/8"),
                                   {3, "p"});
         const InspectPath parsed(path);
         try {
            return parsed.read(table->objectWith(parsed.steps().front().field)).text;
         } catch (const Corvid::RangeException& refusal) {
            return refusal.what();
         }
      }
   }
   return "no such engine";
}

TEST_F(CallCheckTest, eachRefusalSaysWhy) {
   EXPECT_EQ(
      "Routing::PatriciaTrie::preOrderWalk needs an object of class Routing::PatriciaTrieWalkCb for callback, "
      "which can't be given as text",
      refusalOf("patricia", "preOrderWalk(10.0.0.0/8)"));
   EXPECT_EQ(
      "Routing::PatriciaTrieWithNodeData::longestMatch of a trie of family ipv4 can't be asked for "
      "\"2001:db8::1/128\"",
      refusalOf("patricia-data", "longestMatch(2001:db8::1/128)"));
   EXPECT_EQ("Routing::TrieGen::longerRoutePresent can't be asked for \"none\", which is no prefix of a route",
             refusalOf("gen", "longerRoutePresent(none)"));
   EXPECT_EQ("Routing::TrieGen::longestMatch can't be asked for \"0.0.0.0/255\", which is no prefix of a route",
             refusalOf("gen", "longestMatch(0.0.0.0/255)"));
   EXPECT_EQ("Routing::Trie::handleDeletion is a handler, which the library alone calls",
             refusalOf("multibit", "handleDeletion"));
   EXPECT_EQ(
      "Routing::PatriciaTrie::longestMatchCommonCompact takes compact prefixes, and this trie keeps whole addresses",
      refusalOf("patricia", "longestMatchCommonCompact(2001:db8::/32)", AddressFamily::ipv6));
   EXPECT_EQ("Routing::PatriciaTrie::longestMatchCommon takes whole addresses, and this trie keeps compact prefixes",
             refusalOf("patricia-compact", "longestMatchCommon(2001:db8::/32)", AddressFamily::ipv6));
   EXPECT_EQ(
      "Routing::PatriciaTrie::updateRouteCompact needs an object of class Routing::PrefixData for data, since the "
      "trie keeps a payload for each route",
      refusalOf("patricia-data", "updateRouteCompact(11.0.0.0/8)"));
   EXPECT_EQ("Routing::PatriciaTrie::getFirstBlack tells of the node of a route, and \"11.0.0.0/8\" is at none",
             refusalOf("patricia", "getFirstBlack(11.0.0.0/8)"));
   EXPECT_EQ("Sprig::Ipv6TrieRoute::trieRemove would take the route from its trie behind the table's back",
             refusalOf("intrusive", "longestMatch(2001:db8::1/128).trieRemove", AddressFamily::ipv6));
   EXPECT_EQ("Routing::Trie is no PatriciaTrie", refusalOf("multibit", "PatriciaTrie::routes"));
}

TEST_F(CallCheckTest, whatIsHarmlessIsAnswered) {
   EXPECT_EQ("10.0.0.0/8", refusalOf("patricia", "longestMatchCommon(10.1.2.3/32)"));
   EXPECT_EQ("10.0.0.0/8", refusalOf("patricia", "findParentCommon(10.1.0.0/16, null, null)"));
   EXPECT_EQ("", refusalOf("patricia", "updateRoute(11.0.0.0/8)"));
   EXPECT_EQ("true", refusalOf("patricia", "deleteRoute(10.0.0.0/8)"));
   EXPECT_EQ("8", refusalOf("patricia", "getFirstBlack(10.0.0.0/8)"));
   EXPECT_EQ("0", refusalOf("patricia", "getNextBlack(10.0.0.0/8, 8)"));
   EXPECT_EQ("1", refusalOf("multibit", "Trie::routes"));
   EXPECT_EQ("1", refusalOf("gen", "trie4.Routing::Trie::routes"));
   EXPECT_EQ("2001:db8::/32", refusalOf("trie6", "longestMatch(2001:db8::1/128)", AddressFamily::ipv6));
}

}  // namespace CallCheckTest
}  // namespace Rtrie
