// MRT files with every kind of record, plain and packed, as the tables that they make. What bgpdump makes of them, where it is
// there, tests/tools/bgpdump/BgpdumpTest.cpp asks.
#include <fmt/format.h>

#include "tests/tools/tables/Fixtures.h"
#include "tests/tools/tables/MrtSamples.h"

namespace Rtrie {
namespace MrtFilesTest {

TEST(MrtFiles, everyKindOfRecord) {
   const Support::Folder folder;
   const auto all = Mrt::samples();
   ASSERT_EQ(9U, all.size());
   for (const Mrt::Sample& sample : all) {
      const std::string name(sample.name);
      for (const auto& file : {folder.file(name, sample.bytes), folder.file(name + ".gz", Support::gz(sample.bytes)),
                               folder.file(name + ".bz2", Support::bz2(sample.bytes)),
                               folder.file(name + ".xz", Support::xz(sample.bytes)),
                               folder.file(name + ".zst", Support::zst(sample.bytes))}) {
         const auto loaded = Support::loaded({file});
         EXPECT_EQ(sample.routes, loaded.routes) << file;
         EXPECT_EQ(sample.candidates, loaded.candidates) << file;
         EXPECT_EQ(0U, loaded.report.faults) << file;
         if (!sample.told.empty()) {
            EXPECT_THAT(loaded.told, testing::HasSubstr(fmt::format("rtrie: {}: {}\n", file, sample.told)));
         }
      }
   }
}

// Cut anywhere, it is read up to there and the cut is told, unless it is between two records.
TEST(MrtFiles, cutAnywhere) {
   const Support::Folder folder;
   for (const Mrt::Sample& sample : Mrt::samples()) {
      for (std::size_t size = 13; size < sample.bytes.size(); size += 61) {
         const auto loaded = Support::loaded({folder.file("cut", sample.bytes.substr(0, size))});
         EXPECT_LE(loaded.report.faults, 1U) << sample.name << " at " << size;
         EXPECT_FALSE(loaded.routes.empty());  // or why there are none
      }
   }
}

}  // namespace MrtFilesTest
}  // namespace Rtrie
