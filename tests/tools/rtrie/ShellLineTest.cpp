// ShellLine: words, quotes, comments, and where the output goes.
#include "tools/rtrie/shell/ShellLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace Rtrie {
namespace ShellLineTest {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> wordsOf(std::string_view text) { return ShellLine::of(text).texts(); }

TEST(ShellLine, words) {
   EXPECT_THAT(wordsOf(""), IsEmpty());
   EXPECT_THAT(wordsOf("  \t\r"), IsEmpty());
   EXPECT_THAT(wordsOf(" match  10.0.0.1\t::1 "), ElementsAre("match", "10.0.0.1", "::1"));
   EXPECT_THAT(wordsOf("inspect longestMatch(10.0.0.0/8)"), ElementsAre("inspect", "longestMatch(10.0.0.0/8)"));
   const auto line = ShellLine::of("ab  'c d'");
   EXPECT_EQ(0u, line.words[0].begin);
   EXPECT_EQ(4u, line.words[1].begin);
}

TEST(ShellLine, quotes) {
   EXPECT_THAT(wordsOf(R"('a b' "c d" e\ f)"), ElementsAre("a b", "c d", "e f"));
   EXPECT_THAT(wordsOf(R"(a'b'"c")"), ElementsAre("abc"));
   EXPECT_THAT(wordsOf(R"("a\"b\\c\d" 'e\f')"), ElementsAre(R"(a"b\c\d)", R"(e\f)"));
   EXPECT_THAT(wordsOf("'' \"\""), ElementsAre("", ""));
   EXPECT_THAT(wordsOf("'|' '>' '#'"), ElementsAre("|", ">", "#"));
   EXPECT_THAT(wordsOf("a\\"), ElementsAre("a\\"));
   EXPECT_EQ("a quote is not closed", ShellLine::of("walk 'a b").fault);
   EXPECT_EQ("a quote is not closed", ShellLine::of("walk \"a\\\"").fault);
   EXPECT_EQ("", ShellLine::of("walk \"it's\"").fault);
}

TEST(ShellLine, comments) {
   EXPECT_THAT(wordsOf("# all"), IsEmpty());
   EXPECT_THAT(wordsOf("walk # 'rest"), ElementsAre("walk"));
   EXPECT_THAT(wordsOf("walk a#b"), ElementsAre("walk", "a#b"));
}

TEST(ShellLine, whereTheOutputGoes) {
   const auto piped = ShellLine::of("walk 10.0.0.0/8|grep 'a | b' > x");
   EXPECT_THAT(piped.texts(), ElementsAre("walk", "10.0.0.0/8"));
   EXPECT_EQ("grep 'a | b' > x", piped.pipe);
   const auto written = ShellLine::of("walk >'a b' 10.0.0.0/8");
   EXPECT_THAT(written.texts(), ElementsAre("walk", "10.0.0.0/8"));
   EXPECT_EQ("a b", written.file);
   EXPECT_FALSE(written.appends);
   EXPECT_TRUE(ShellLine::of("walk>>f").appends);
   EXPECT_EQ("f", ShellLine::of("walk>>f").file);
   EXPECT_EQ("no command behind |", ShellLine::of("walk | ").fault);
   EXPECT_EQ("no file behind >", ShellLine::of("walk > ").fault);
   EXPECT_EQ("the output goes to one file", ShellLine::of("walk > a > b").fault);
   EXPECT_EQ("the output goes either to a command or to a file", ShellLine::of("walk > a | b").fault);
}

TEST(ShellLine, aQuotedTextIsOneWordAgain) {
   const unsigned seed = std::random_device()();
   SCOPED_TRACE("seed " + std::to_string(seed));
   std::mt19937 random(seed);
   constexpr std::string_view letters = "ab \t'\"\\#|>/.:";
   for (int round = 0; round < 2000; ++round) {
      std::string text;
      for (auto size = random() % 6; size > 0; --size) {
         text += letters[random() % letters.size()];
      }
      EXPECT_THAT(wordsOf(quotedForShell(text)), ElementsAre(text)) << quotedForShell(text);
   }
}

}  // namespace ShellLineTest
}  // namespace Rtrie
