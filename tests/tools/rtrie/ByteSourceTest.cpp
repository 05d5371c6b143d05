// ByteSource: plain files, .gz whole and broken, descriptors.
#include "tools/rtrie/ByteSource.h"

#include <unistd.h>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace {

using Support::Folder;
using Support::gz;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string allOf(ByteSource& source, std::size_t room = 7) {
   std::string all;
   std::string part(room, '\0');
   while (const std::size_t got = source.read(part.data(), room)) {
      all.append(part, 0, got);
   }
   return all;
}

std::string faultOf(const std::string& path) {
   try {
      allOf(*openTable(path));
      return "no fault";
   } catch (const DataError& fault) {
      return fault.what();
   }
}

TEST(ByteSource, plainAndGzReadAlike) {
   const Folder folder;
   const std::string content = "10.0.0.0/8\n2001:db8::/32\n";
   EXPECT_EQ(content, allOf(*openTable(folder.file("plain.gz", content))));  // the name says nothing
   EXPECT_EQ(content, allOf(*openTable(folder.gzFile("packed.txt", content))));
   EXPECT_EQ("", allOf(*openTable(folder.file("empty", ""))));
   EXPECT_EQ("", allOf(*openTable(folder.gzFile("empty.gz", ""))));
   EXPECT_EQ("ab", allOf(*openTable(folder.file("members.gz", gz("a") + gz("b")))));
}

TEST(ByteSource, sizeAndPosition) {
   const Folder folder;
   const auto source = openTable(folder.file("table", std::string(1000, 'x')));
   EXPECT_EQ(1000U, source->size());
   allOf(*source);
   EXPECT_EQ(1000U, source->position());
   const auto packed = openTable(folder.gzFile("table.gz", std::string(1000, 'x')));
   EXPECT_LT(packed->size(), 1000U);
   allOf(*packed);
   EXPECT_EQ(packed->size(), packed->position());
}

TEST(ByteSource, aGzCutAnywhereIsTruncated) {
   const Folder folder;
   const std::string whole = gz("10.0.0.0/8 some payload\n11.0.0.0/8 other payload\n");
   // Two bytes make a .gz; one alone cannot be told from text.
   for (std::size_t bytes = 2; bytes < whole.size(); ++bytes) {
      const auto path = folder.file("cut.gz", whole.substr(0, bytes));
      ASSERT_EQ(path + ": truncated .gz: the file ends before its data does", faultOf(path)) << bytes << " bytes";
   }
}

TEST(ByteSource, corruptGz) {
   const Folder folder;
   std::string bytes = gz("10.0.0.0/8 some payload\n11.0.0.0/8 other payload\n");
   bytes[bytes.size() - 6] = static_cast<char>(bytes[bytes.size() - 6] ^ 1);  // in the check sum
   EXPECT_THAT(faultOf(folder.file("bad.gz", bytes)), HasSubstr("bad.gz: corrupt .gz: "));
}

TEST(ByteSource, whatCannotBeOpened) {
   const Folder folder;
   EXPECT_THAT(faultOf(folder.path("absent")),
               AllOf(StartsWith(folder.path("absent")), EndsWith(": cannot open: No such file or directory")));
   EXPECT_THAT(faultOf(folder.path("")), EndsWith(": is a directory"));
}

TEST(ByteSource, tableNames) {
   EXPECT_EQ("<stdin>", tableName("-"));
   EXPECT_EQ("a/b.txt", tableName("a/b.txt"));
}

TEST(ByteSource, aDescriptorGivesWhatIsThere) {
   int ends[2];
   ASSERT_EQ(0, pipe(ends));
   unsigned waits = 0;
   const auto source = descriptorSource(ends[0], "<pipe>", [&] { ++waits; });
   std::string part(100, '\0');
   ASSERT_EQ(3, write(ends[1], "abc", 3));
   EXPECT_EQ(3U, source->read(part.data(), part.size()));
   ASSERT_EQ(2, write(ends[1], "de", 2));
   EXPECT_EQ(2U, source->read(part.data(), part.size()));
   EXPECT_EQ("de", part.substr(0, 2));
   close(ends[1]);
   EXPECT_EQ(0U, source->read(part.data(), part.size()));
   EXPECT_EQ(3U, waits);
   close(ends[0]);
   EXPECT_THROW(source->read(part.data(), part.size()), DataError);
}

}  // namespace
}  // namespace Rtrie
