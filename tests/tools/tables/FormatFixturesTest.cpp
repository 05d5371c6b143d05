// What the tools themselves have printed, beside what is read of it: for each file NAME of tests/tools/tables/fixtures/ the file
// NAME.routes has the routes, then those that lost, each with "- " before it, then what is told on standard error.
// ROUTETRIE_UPDATE_GOLDEN=1 writes them anew, to be looked at as a difference.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>

#include "tests/tools/tables/Fixtures.h"

namespace Rtrie {
namespace FormatFixturesTest {

std::string textOf(const std::string& file, const LoadOptions& options = {}) {
   const auto loaded = Support::loaded({file}, options);
   std::string text;
   for (const auto& route : loaded.routes) {
      text += route + "\n";
   }
   for (const auto& other : loaded.candidates) {
      text += "- " + other + "\n";
   }
   std::string told = loaded.told;
   for (auto at = told.find(file); at != std::string::npos; at = told.find(file)) {
      told.erase(at, file.size());
   }
   return text + told;
}

TEST(FormatFixtures, eachIsReadAsItsToolMeansIt) {
   std::set<std::string> files;
   for (const auto& entry : std::filesystem::directory_iterator(Support::fixture(""))) {
      if (entry.path().extension() != ".routes") {
         files.insert(entry.path());
      }
   }
   EXPECT_GE(files.size(), 20U);
   for (const auto& file : files) {
      const auto expected = file + ".routes";
      const auto actual = textOf(file);
      if (std::getenv("ROUTETRIE_UPDATE_GOLDEN") != nullptr) {
         std::ofstream(expected) << actual;
      }
      EXPECT_EQ(Support::contentOf(expected), actual) << file;
   }
}

// Whatever has become of it on its way: it is read or told, in little time, and what is told quotes no control bytes.
TEST(FormatFixtures, damagedOnesAreReadOrTold) {
   const auto seed = std::random_device()();
   SCOPED_TRACE(fmt::format("seed {}", seed));
   std::mt19937 random(seed);
   const Support::Folder folder;
   for (const auto& entry : std::filesystem::directory_iterator(Support::fixture(""))) {
      const auto whole = Support::contentOf(entry.path());
      for (int i = 0; i < 6; ++i) {
         auto text = whole;
         for (auto changes = random() % 8 + 1; changes > 0 && !text.empty(); --changes) {
            const auto at = random() % text.size();
            switch (random() % 4) {
               case 0: text[at] = static_cast<char>(random()); break;
               case 1: text.erase(at, random() % 30); break;
               case 2: text.insert(at, text.substr(random() % text.size(), random() % 60)); break;
               default: text.resize(at + 1); break;
            }
         }
         const auto loaded = Support::loaded({folder.file("damaged", text)});
         EXPECT_LT(loaded.routes.size(), 400U) << entry.path();
         EXPECT_THAT(loaded.told, testing::Not(testing::HasSubstr("\x1b")));
         EXPECT_FALSE(loaded.routes.empty() && loaded.told.empty()) << entry.path();
      }
   }
}

// What a program prints in JSON is what it prints in text.
TEST(FormatFixtures, jsonSaysWhatTextSays) {
   EXPECT_EQ(Support::loaded({Support::fixture("frr-show-ip-route.txt")}).routes,
             Support::loaded({Support::fixture("frr-show-ip-route.json")}).routes);
   EXPECT_EQ(Support::loaded({Support::fixture("bgpq4-cisco-aggregated.txt")}).routes,
             Support::loaded({Support::fixture("bgpq4-json.json")}).routes);
}

TEST(FormatFixtures, anotherTableOrAll) {
   LoadOptions options;
   options.routeTable = "other4";
   const auto bird = Support::fixture("bird-show-route-table-all-all.txt");
   EXPECT_THAT(Support::loaded({bird}, options).routes,
               testing::ElementsAre("10.9.0.0/16 via 192.0.2.2 dev d0 proto o4 preference 200"));
   const std::size_t main = Support::loaded({bird}).routes.size();
   options.routeTable = "all";
   EXPECT_EQ(main + 1, Support::loaded({bird}, options).routes.size());
   options.routeTable = "200";
   EXPECT_THAT(Support::loaded({Support::fixture("ip-j-route-table-all.json")}, options).routes,
               testing::ElementsAre("172.22.0.0/16 via 192.0.2.5 dev d0 table 200"));
}

}  // namespace FormatFixturesTest
}  // namespace Rtrie
