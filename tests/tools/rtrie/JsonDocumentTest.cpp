// docs/JSON.md against the program: every field that a command prints stands there with its type, and every field that stands there,
// with each of its types, is printed.
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "Support.h"
#include "routetrie/platform/BriskTrace.h"
#include "tools/rtrie/Command.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/manual/Manual.h"

namespace Rtrie {
namespace JsonDocumentTest {

using Json = nlohmann::json;
using Types = std::set<std::string>;
using Fields = std::map<std::string, Types>;  // by path

// The tables of the document, by their headings.
std::map<std::string, Fields> documented() {
   std::map<std::string, Fields> sections;
   std::istringstream document(Support::contentOf(ROUTETRIE_SOURCE_DIR "/docs/JSON.md"));
   const std::regex row(R"(\| `([^`]+)` \| ([a-z, ]+) \|.*\|)");
   std::string heading;
   for (std::string line; std::getline(document, line);) {
      std::smatch match;
      if (line.starts_with("## ")) {
         heading = line.substr(3);
         sections[heading];
      } else if (std::regex_match(line, match, row)) {
         std::istringstream types(match[2]);
         for (std::string type; std::getline(types, type, ',');) {
            sections[heading][match[1]].insert(type.substr(type.find_first_not_of(' ')));
         }
      } else if (line.starts_with("| `")) {
         ADD_FAILURE() << "not a row: " << line;
      }
   }
   return sections;
}

std::string typeOf(const Json& value) {
   return value.is_number_integer() ? "integer" : value.is_number() ? "number" : value.type_name();
}

// The fields of a value, each with the types that were met. vary: paths of objects whose names are no fields.
void addFields(const Json& value, const std::string& path, const Fields& known, Fields& fields) {
   if (value.is_object()) {
      const bool varies = known.contains(path + ".*");
      for (const auto& [name, each] : value.items()) {
         const std::string at = varies ? path + ".*" : path.empty() ? name : path + "." + name;
         fields[at].insert(typeOf(each));
         addFields(each, at, known, fields);
      }
   } else if (value.is_array()) {
      for (const auto& each : value) {
         if (!each.is_structured()) {
            fields[path + "[]"].insert(typeOf(each));
         }
         addFields(each, path + "[]", known, fields);
      }
   }
}

class JsonDocument : public testing::Test {
  protected:
   // How each heading's objects are made: all runs print such, and together every field.
   std::map<std::string, std::vector<std::string>> printed() {
      const auto run = [&](const std::vector<std::string>& words, std::string_view input = "") {
         auto all = words;
         all.insert(all.end(), {"--format", "json"});
         return Support::rtrie(all, input).out;
      };
      std::map<std::string, std::vector<std::string>> out;
      const auto bgp = folder_.file("bgp",
                                    "TABLE_DUMP2_AP|1700000000|B|192.0.2.1|64500|10.0.0.0/8|7|64500 64501|IGP\n"
                                    "TABLE_DUMP2|1700000000|B|192.0.2.2|AS1.2|10.0.0.0/8|64502|IGP\n");
      const auto kernel = folder_.file("kernel",
                                       "default via 192.0.2.1 dev eth0 table main\n"
                                       "10.0.0.0/8 via 192.0.2.1 dev eth0 table main metric 5\n"
                                       "10.1.0.0/16 proto static table main metric 3 nexthop encap mpls 16 via "
                                       "192.0.2.1 dev eth1 weight 1 nexthop via 192.0.2.2 "
                                       "dev eth1 weight 3 linkdown\n"
                                       "10.1.0.0/16 from 192.0.2.0/24 via 192.0.2.9 dev eth0 table main metric 9\n");
      const auto list = folder_.file("list", "10.0.0.0/8 ten\n10.1.0.0/16\n2001:db8::/32 doc\n");
      const auto other = folder_.file("other", "10.0.0.0/8 eleven\n10.2.0.0/16 two\n2001:db8::/32 doc\n");
      for (const auto& table : {bgp, kernel}) {
         out["rtrie lookup"].push_back(
            run({"lookup", "--table", table, "--op", "exact", "10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"}));
      }
      out["rtrie lookup"].push_back(run({"lookup", "--table", kernel, "10.1.2.3"}));
      out["rtrie lookup"].push_back(run({"lookup", "--table", list, "10.1.2.3", "11.0.0.1", "2001:db8::1"}));
      out["rtrie lookup"].push_back(run({"lookup", "--table", list, "--op", "longer", "10.0.0.0/8"}));
      out["rtrie explain"].push_back(run({"explain", "--table", kernel, "10.1.2.3"}));
      out["rtrie explain"].push_back(run({"explain", "--table", list, "11.0.0.1", "2001:db8::1"}));
      out["rtrie diff"].push_back(run({"diff", list, other}));
      out["rtrie aggregate"].push_back(run({"aggregate", "--table", list}));
      out["rtrie free"].push_back(
         run({"free", "--table", list, "--within", "10.0.0.0/14", "--ignore", "10.0.0.0/8"}));
      out["rtrie verify"].push_back(run({"verify", "--table", list, "--samples", "3"}));
      for (const Engine& engine : engines()) {
         out["rtrie stats"].push_back(run({"stats", "--table", list, "--engine", std::string(engine.name)}));
      }
      out["rtrie walk"].push_back(run({"walk", "--table", list}));
      out["rtrie dump"].push_back(run({"dump", "--table", list, "--engine", "gen"}));
      out["rtrie dump"].push_back(run({"dump", "--table", list, "--engine", "patricia", "--tree"}));
      out["rtrie inspect --table"].push_back(
         run({"inspect", "--table", list, "routes", "longestMatch(10.0.0.1/32)", "route(10.0.0.0/8)"}));
      out["rtrie inspect --table"].push_back(
         run({"inspect", "--table", list, "--engine", "patricia", "defaultRouteNodeData"}));
      out["rtrie inspect"].push_back(run({"inspect"}));
      const auto trace = folder_.path("trace");
      {
         const auto file = BriskTrace::TraceFile::inFile(trace);
         file->record(file->messageIs("TrieGen", 7, "bool route()"), BriskTrace::timeStamp());
      }
      out["rtrie trace"].push_back(run({"trace", trace}));
      out["rtrie trace --list"].push_back(run({"trace", "--list", trace}));
      const std::string_view updates = "+ 10.9.0.0/16 new\n+ 11.0.0.0/8 eleven\n- 11.0.0.0/8\n";
      out["rtrie watch"].push_back(run({"watch", "--table", list}, updates));
      out["rtrie watch --match"].push_back(
         run({"watch", "--table", list, "--match", "10.9.1.1", "11.0.0.1"}, updates));
      out["rtrie shell: tables"].push_back(Support::rtrie({"shell", "--table", list}, "tables --format json\n").out);
      return out;
   }

   const Support::Folder folder_;
};

// What one run printed, as objects: one a line, or an array of them.
std::vector<Json> objectsOf(const std::string& text) {
   if (text.starts_with('[')) {
      return Json::parse(text).get<std::vector<Json>>();
   }
   std::vector<Json> objects;
   std::istringstream lines(text);
   for (std::string line; std::getline(lines, line);) {
      objects.push_back(Json::parse(line));
      EXPECT_TRUE(objects.back().is_object()) << line;
   }
   return objects;
}

TEST_F(JsonDocument, isWhatCommandsPrint) {
   const auto documents = documented();
   const auto runs = printed();
   for (const auto& [heading, fields] : documents) {
      EXPECT_TRUE(runs.contains(heading)) << "no run prints \"" << heading << "\"";
   }
   for (const auto& [heading, texts] : runs) {
      SCOPED_TRACE(heading);
      ASSERT_TRUE(documents.contains(heading)) << "the document has no such heading";
      const Fields& known = documents.at(heading);
      Fields met;
      for (const std::string& text : texts) {
         ASSERT_NE("", text);
         for (const Json& object : objectsOf(text)) {
            addFields(object, "", known, met);
         }
      }
      for (const auto& [path, types] : met) {
         ASSERT_TRUE(known.contains(path)) << path << " is not documented";
         for (const std::string& type : types) {
            EXPECT_TRUE(known.at(path).contains(type)) << path << " is documented otherwise than as " << type;
         }
      }
      for (const auto& [path, types] : known) {
         ASSERT_TRUE(met.contains(path)) << path << " is documented, and never printed";
         for (const std::string& type : types) {
            EXPECT_TRUE(met.at(path).contains(type)) << path << " is never " << type;
         }
      }
   }
}

TEST_F(JsonDocument, hasEachCommandThatPrintsIt) {
   const auto documents = documented();
   for (const Command& command : commands()) {
      const Manual manual = manualOf(command);
      const auto* format = manual.option("--format");
      if (format == nullptr) {
         EXPECT_TRUE(command.name == "shell" || manual.option("--out") != nullptr)
            << command.name << " neither leaves it to its commands nor writes a picture or a page";
         continue;
      }
      EXPECT_THAT(format->values, testing::IsSupersetOf({"text", "tsv", "csv", "json"})) << command.name;
      EXPECT_TRUE(documents.contains(manual.name)) << manual.name << " is not in the document";
   }
}

}  // namespace JsonDocumentTest
}  // namespace Rtrie
