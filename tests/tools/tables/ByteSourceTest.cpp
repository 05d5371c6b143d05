// ByteSource: plain files, .gz whole and broken, descriptors.
#include "tools/tables/ByteSource.h"

#include <cstdint>

#include <fmt/format.h>
#include <unistd.h>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace ByteSourceTest {

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

struct Kind {
   std::string_view name;
   std::string (*packed)(std::string_view content);
   std::size_t tellingBytes;  // fewer of them could be the start of a text
};
constexpr Kind kinds[] = {
   {".gz", Support::gz, 2}, {".bz2", Support::bz2, 4}, {".xz", Support::xz, 6}, {".zst", Support::zst, 4}};

std::string textOfRoutes() {
   std::string text;
   for (int i = 0; i < 20000; ++i) {
      text += fmt::format("10.{}.{}.0/24 payload {}\n", i / 256, i % 256, i * 7919 % 1000);
   }
   return text;
}

TEST(ByteSource, everyCompressionReadsAlike) {
   const Folder folder;
   const std::string text = textOfRoutes();
   for (const Kind& kind : kinds) {
      SCOPED_TRACE(kind.name);
      const auto path = folder.file("packed", kind.packed(text));
      for (const std::size_t room : {std::size_t{1000}, std::size_t{1} << 17}) {
         const auto source = openTable(path);
         EXPECT_EQ(text, allOf(*source, room));
         EXPECT_EQ(source->size(), source->position());
      }
      EXPECT_EQ("", allOf(*openTable(folder.file("empty", kind.packed("")))));
      EXPECT_EQ("ab", allOf(*openTable(folder.file("streams", kind.packed("a") + kind.packed("b")))));
   }
}

TEST(ByteSource, aCompressedFileCutAnywhereIsTruncated) {
   const Folder folder;
   for (const Kind& kind : kinds) {
      SCOPED_TRACE(kind.name);
      const std::string whole = kind.packed("10.0.0.0/8 some payload\n11.0.0.0/8 other payload\n");
      for (std::size_t bytes = kind.tellingBytes; bytes < whole.size(); ++bytes) {
         const auto path = folder.file("cut", whole.substr(0, bytes));
         ASSERT_EQ(fmt::format("{}: truncated {}: the file ends before its data does", path, kind.name),
                   faultOf(path))
            << bytes << " bytes";
      }
   }
}

TEST(ByteSource, aCorruptCompressedFile) {
   const Folder folder;
   const std::string text = textOfRoutes();
   for (const Kind& kind : kinds) {
      std::string bytes = kind.packed(text);
      bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 0x55);
      EXPECT_THAT(faultOf(folder.file("bad", bytes)), HasSubstr(fmt::format("bad: corrupt {}: ", kind.name)));
   }
   std::string bytes = gz("10.0.0.0/8 some payload\n");
   bytes[bytes.size() - 6] = static_cast<char>(bytes[bytes.size() - 6] ^ 1);  // in the check sum
   EXPECT_THAT(faultOf(folder.file("bad.gz", bytes)), HasSubstr("bad.gz: corrupt .gz: "));
}

TEST(ByteSource, whatFollowsAGzIsPassedOver) {
   const Folder folder;
   EXPECT_EQ("a", allOf(*openTable(folder.file("padded", gz("a") + std::string(512, '\0')))));
}

TEST(ByteSource, aFileMadeToSwellIsRefused) {
   const Folder folder;
   const std::string zeros(std::size_t{4} << 20, '\n');
   constexpr std::uint64_t mostBytes = 1 << 20;
   for (const Kind& kind : kinds) {
      const auto path = folder.file("bomb", kind.packed(zeros));
      const auto source = openTable(path, mostBytes);
      try {
         allOf(*source, 1 << 16);
         ADD_FAILURE() << kind.name;
      } catch (const DataError& fault) {
         // A .gz can't swell by more than some thousand times, so that much is allowed until the limit.
         EXPECT_THAT(fault.what(), HasSubstr(fmt::format(" bytes of {} unpack to more than ", kind.name)));
         EXPECT_THAT(fault.what(), EndsWith(kind.name == ".gz" ? " 1,048,576: no table packs like that"
                                                               : " 65,536: no table packs like that"));
      }
      // As many bytes of text are read.
      const std::string text = textOfRoutes();
      EXPECT_EQ(text, allOf(*openTable(folder.file("text", kind.packed(text)), 1000), 1 << 16));
   }
}

TEST(ByteSource, compressionsThatAreNotReadAreNamed) {
   const Folder folder;
   for (const auto& [bytes, name] : {std::pair<std::string, std::string>{"PK\x03\x04 and more", ".zip"},
                                     {"LZIP\x01 and more", ".lz"},
                                     {"\x04\x22\x4d\x18 and more", ".lz4"},
                                     {"\x1f\x9d\x90 and more", ".Z"}}) {
      EXPECT_THAT(faultOf(folder.file("other", bytes)), HasSubstr(": is a " + name + " file, which is not read"));
   }
   // A word that begins as .bz2 does is a word.
   EXPECT_EQ("BZh9 is no file", allOf(*openTable(folder.file("word", "BZh9 is no file"))));
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

// What is there before a fault is handed out before it.
TEST(ByteSource, peekedTakesNothing) {
   const Folder folder;
   PeekedSource whole(openTable(folder.file("t", "abcdef")));
   EXPECT_EQ("abc", whole.ahead(3).substr(0, 3));
   EXPECT_EQ("abcdef", whole.ahead(100));
   EXPECT_EQ("abcdef", allOf(whole));
   EXPECT_EQ("", whole.ahead(1));
   const auto packed = Support::gz(std::string(1000, 'x') + "end");
   PeekedSource cut(openTable(folder.file("cut", packed.substr(0, packed.size() - 1))));
   EXPECT_EQ(1003U, cut.ahead(5000).size());
   std::string text(5000, ' ');
   EXPECT_EQ(1003U, cut.read(text.data(), text.size()));
   EXPECT_THROW(cut.read(text.data(), text.size()), DataError);
}

}  // namespace ByteSourceTest
}  // namespace Rtrie
