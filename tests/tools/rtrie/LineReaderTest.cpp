// LineReader: lines, whatever the pieces that the source gives.
#include "tools/rtrie/LineReader.h"

#include <cstring>
#include <random>

#include "Support.h"

namespace Rtrie {
namespace {

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
   LineReader reader(source, chunk);
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

}  // namespace
}  // namespace Rtrie
