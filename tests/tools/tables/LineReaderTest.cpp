// LineReader: lines, whatever the pieces that the source gives.
#include "tools/tables/LineReader.h"

#include <cstdint>
#include <cstring>
#include <random>

#include "Support.h"
#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace LineReaderTest {

using testing::ElementsAre;

// Gives at most `piece` bytes at a time.
class TextSource final : public ByteSource {
  public:
   TextSource(std::string text, std::size_t piece) : text_(std::move(text)), piece_(piece) {}
   std::size_t read(char* to, std::size_t room) override {
      const std::size_t count = std::min({room, piece_, text_.size() - at_});
      std::memcpy(to, text_.data() + at_, count);
      at_ += count;
      return count;
   }

  private:
   std::string text_;
   std::size_t piece_;
   std::size_t at_ = 0;
};

std::vector<std::string> linesOf(const std::string& text, std::size_t piece = 1000, std::size_t chunk = 16) {
   TextSource source(text, piece);
   LineReader reader(source, nullptr, chunk);
   std::vector<std::string> lines;
   while (const auto line = reader.next()) {
      lines.emplace_back(*line);
      EXPECT_EQ(lines.size(), reader.lineNumber());
   }
   EXPECT_EQ(std::nullopt, reader.next());
   return lines;
}

TEST(LineReader, endsOfLines) {
   EXPECT_THAT(linesOf(""), ElementsAre());
   EXPECT_THAT(linesOf("\n"), ElementsAre(""));
   EXPECT_THAT(linesOf("a"), ElementsAre("a"));
   EXPECT_THAT(linesOf("a\n"), ElementsAre("a"));
   EXPECT_THAT(linesOf("a\r\n\r\nb\r"), ElementsAre("a", "", "b"));
   EXPECT_THAT(linesOf("a\n\nb"), ElementsAre("a", "", "b"));
}

TEST(LineReader, aByteOrderMarkIsNoPartOfTheFirstLine) {
   EXPECT_THAT(linesOf("\xef\xbb\xbf"
                       "a\n\xef\xbb\xbf"
                       "b\n"),
               ElementsAre("a",
                           "\xef\xbb\xbf"
                           "b"));
}

TEST(LineReader, linesLongerThanTheBuffer) {
   const std::string text = std::string(1000, 'x');
   EXPECT_THAT(linesOf(text + "\n" + text), ElementsAre(text, text));
}

TEST(LineReader, piecesDoNotMatter) {
   std::mt19937 random(1);
   std::string text;
   std::vector<std::string> expected;
   for (unsigned i = 0; i < 200; ++i) {
      expected.emplace_back(random() % 40, static_cast<char>('a' + i % 26));
      text += expected.back() + "\n";
   }
   for (std::size_t piece = 1; piece < 50; ++piece) {
      ASSERT_EQ(expected, linesOf(text, piece)) << piece;
      ASSERT_EQ(expected, linesOf(text, 1000, piece)) << piece;
   }
}

struct Limited {
   std::vector<std::string> lines;
   std::vector<std::uint64_t> tooLong;
   std::string fault;
};

Limited limited(const std::string& text, std::size_t piece, std::size_t chunk, LineLimits limits) {
   TextSource source(text, piece);
   Limited result;
   LineReader reader(
      source, [&](std::uint64_t number, const std::string&) { result.tooLong.push_back(number); }, chunk, limits);
   try {
      while (const auto line = reader.next()) {
         result.lines.emplace_back(*line);
      }
   } catch (const DataError& fault) {
      result.fault = fault.what();
   }
   return result;
}

TEST(LineReader, aLineThatIsTooLongIsToldAndPassedOver) {
   const std::string ten(10, 'x');
   const std::string text = ten + "\na\n" + ten + "y\nb\n" + std::string(1000, 'z') + "\n" + ten + "\n" + ten + "end";
   for (std::size_t piece = 1; piece < 60; ++piece) {
      for (const std::size_t chunk : {1U, 7U, 16U, 64U}) {
         const auto result = limited(text, piece, chunk, {10, 100'000});
         ASSERT_THAT(result.lines, ElementsAre(ten, "a", "b", ten)) << piece << " " << chunk;
         ASSERT_THAT(result.tooLong, ElementsAre(3, 5, 7));
         ASSERT_EQ("", result.fault);
      }
   }
}

TEST(LineReader, aLineThatDoesNotEndIsNoText) {
   const auto result = limited("a\n" + std::string(1000, 'z') + "\nb\n", 7, 16, {10, 500});
   EXPECT_THAT(result.lines, ElementsAre("a"));
   EXPECT_THAT(result.tooLong, ElementsAre(2));
   EXPECT_EQ("<input>:2: line has no end within 500 bytes: this is no text", result.fault);
}

TEST(LineReader, byDefaultALineHas64KiB) {
   constexpr std::size_t most = std::size_t{1} << 16;
   EXPECT_THAT(linesOf(std::string(most, 'x') + "\n"), ElementsAre(std::string(most, 'x')));
   try {
      linesOf("a\n" + std::string(most + 1, 'x') + "\n");
      FAIL();
   } catch (const DataError& fault) {
      EXPECT_STREQ("<input>:2: line longer than 65536 bytes", fault.what());
   }
}

}  // namespace LineReaderTest
}  // namespace Rtrie
