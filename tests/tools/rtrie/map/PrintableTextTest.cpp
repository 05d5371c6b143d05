// PrintableText and MarkupText: hostile text.
#include "tools/rtrie/map/PrintableText.h"

#include <gtest/gtest.h>

#include "tools/rtrie/map/Base64.h"
#include "tools/rtrie/map/MarkupText.h"

namespace Rtrie {
namespace PrintableTextTest {

using namespace std::string_literals;

TEST(PrintableText, keepsTextOfAnyLanguage) {
   for (const char* text : {"", "via 192.0.2.1 dev eth0", "Zürich — 東京 🌍", "a\\b"}) {
      EXPECT_EQ(text, printableText(text));
   }
}

TEST(PrintableText, spellsWhatIsNoText) {
   EXPECT_EQ("a\\x00b\\x0ac\\x7f\\x1b[31m", printableText("a\0b\nc\x7f\x1b[31m"s));
   EXPECT_EQ("\\xc2\\x85", printableText("\xc2\x85"));  // a line end among the controls of Latin-1
   EXPECT_EQ(
      "\\xe2\\x80\\xae"
      "abc",
      printableText("\xe2\x80\xae"
                    "abc"));                                     // from right to left from here
   EXPECT_EQ("\\xe2\\x80\\xa8", printableText("\xe2\x80\xa8"));  // a line end
   EXPECT_EQ("\\xef\\xbf\\xbf", printableText("\xef\xbf\xbf"));  // no character ever
   EXPECT_EQ("\\xff\\xfe", printableText("\xff\xfe"));           // not UTF-8
   EXPECT_EQ("\\xc0\\xaf", printableText("\xc0\xaf"));           // longer than it has to be
   EXPECT_EQ("\\xe0\\x80\\xaf", printableText("\xe0\x80\xaf"));
   EXPECT_EQ("\\xed\\xa0\\x80", printableText("\xed\xa0\x80"));           // half of a pair of UTF-16
   EXPECT_EQ("\\xf4\\x90\\x80\\x80", printableText("\xf4\x90\x80\x80"));  // past the last one
   EXPECT_EQ("\\xe2\\x82", printableText("\xe2\x82"));                    // cut
   EXPECT_EQ("\\xe2(\\x82", printableText("\xe2(\x82"));
}

TEST(PrintableText, isCutBetweenCharacters) {
   EXPECT_EQ("abc", printableText("abc", 3));
   EXPECT_EQ("ab…", printableText("abcd", 3));
   EXPECT_EQ("äö…", printableText("äöüß", 3));
   EXPECT_EQ("a…", printableText("a\n\n", 5));
   EXPECT_EQ("a\\x0a", printableText("a\n", 5));
   EXPECT_EQ("…", printableText("abc", 1));
}

TEST(MarkupText, leavesNothingThatIsMarkup) {
   EXPECT_EQ("&lt;script&gt;alert(&quot;1&quot; &amp; &#39;2&#39;)&lt;/script&gt;",
             markupText("<script>alert(\"1\" & '2')</script>"));
   EXPECT_EQ("&lt;…", markupText("<script>", 2));
   EXPECT_EQ("\\x00&lt;", markupText("\0<"s));
}

// The examples of RFC 4648.
TEST(Base64, asDefined) {
   EXPECT_EQ("", base64Of(""));
   EXPECT_EQ("Zg==", base64Of("f"));
   EXPECT_EQ("Zm8=", base64Of("fo"));
   EXPECT_EQ("Zm9v", base64Of("foo"));
   EXPECT_EQ("Zm9vYg==", base64Of("foob"));
   EXPECT_EQ("Zm9vYmE=", base64Of("fooba"));
   EXPECT_EQ("Zm9vYmFy", base64Of("foobar"));
   EXPECT_EQ("+/8A", base64Of("\xfb\xff\0"s));
}

}  // namespace PrintableTextTest
}  // namespace Rtrie
