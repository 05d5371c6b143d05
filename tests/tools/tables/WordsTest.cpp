// Words: cutting lines into words and fields.
#include "tools/tables/Words.h"

#include <gtest/gtest.h>

namespace Rtrie {
namespace WordsTest {

TEST(Words, trimmedTakesBlanksOffBothEnds) {
   EXPECT_EQ("a b", trimmed(" \t a b \r"));
   EXPECT_EQ("", trimmed(" \t\r "));
   EXPECT_EQ("", trimmed(""));
   EXPECT_EQ("x", trimmed("x"));
}

TEST(Words, takeWordLeavesTheSeparator) {
   std::string_view text = "  10.0.0.0/8,\tAU ";
   EXPECT_EQ("10.0.0.0/8", takeWord(text, ", \t"));
   EXPECT_EQ(",\tAU ", text);
   std::string_view words = "a  b";
   EXPECT_EQ("a", takeWord(words));
   EXPECT_EQ("b", takeWord(words));
   EXPECT_EQ("", takeWord(words));
   EXPECT_EQ("", takeWord(words));
}

TEST(Words, takeFieldKeepsEmptyFields) {
   std::string_view text = "a||b";
   EXPECT_EQ("a", takeField(text, '|'));
   EXPECT_EQ("", takeField(text, '|'));
   EXPECT_EQ("b", takeField(text, '|'));
   EXPECT_EQ("", takeField(text, '|'));
   EXPECT_TRUE(text.empty());
}

TEST(Words, aCommentNeedsABlankBeforeIt) {
   EXPECT_EQ("10.0.0.0/8 site", withoutComment("10.0.0.0/8 site  # ours"));
   EXPECT_EQ("10.0.0.0/8 site#5", withoutComment("10.0.0.0/8 site#5"));
   EXPECT_EQ("10.0.0.0/8 site#5", withoutComment("10.0.0.0/8 site#5 #6"));
   EXPECT_EQ("", withoutComment("# all of it"));
   EXPECT_EQ("plain", withoutComment("plain"));
}

}  // namespace WordsTest
}  // namespace Rtrie
