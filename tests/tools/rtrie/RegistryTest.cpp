// Registry: rows by name.
#include "tools/rtrie/Registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Rtrie {
namespace RegistryTest {

struct Row {
   std::string_view name;
   std::string_view summary;
};
constexpr Row table[] = {{"first", "the one"}, {"second", "the other"}};
constexpr std::span<const Row> rows(table);

TEST(Registry, namesInOrder) {
   EXPECT_EQ("first, second", namesOf(rows));
   EXPECT_EQ("", namesOf(std::span<const Row>()));
}

TEST(Registry, findsByTheWholeName) {
   EXPECT_EQ(&table[1], &rowNamed(rows, "thing", "second"));
   for (const char* unknown : {"", "sec", "secondly", "First"}) {
      try {
         rowNamed(rows, "thing", unknown);
         FAIL() << unknown;
      } catch (const UsageError& error) {
         EXPECT_EQ(fmt::format("unknown thing \"{}\": known are first, second", unknown), error.what());
      }
   }
}

TEST(Registry, summariesAreALineEach) {
   EXPECT_EQ("  first             the one\n  second            the other\n", summariesOf(rows));
}

}  // namespace RegistryTest
}  // namespace Rtrie
