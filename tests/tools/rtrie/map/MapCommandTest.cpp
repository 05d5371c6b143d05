// MapCommand: the program, drawing.
#include "tools/rtrie/commands/MapCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "PngPixels.h"
#include "Support.h"
#include "tests/property/Scale.h"

namespace Rtrie {
namespace MapCommandTest {

using Support::contentOf;
using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;
using testing::StartsWith;

class Map : public testing::Test {
  protected:
   Ran map(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), "map");
      return rtrie(arguments, input);
   }
   // Draws a small picture and returns the colours in the middle of the four quarters: the first, second, third and last of the
   // block.
   std::vector<std::string> quarters(std::vector<std::string> arguments, std::string_view input = "") const {
      const auto out = folder_.path("quarters.png");
      arguments.insert(arguments.end(), {"--size", "64", "--out", out});
      const Ran ran = map(arguments, input);
      EXPECT_EQ("", ran.err);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(0, ran.status);
      const PngPixels page(contentOf(out));
      std::vector<std::string> colours;
      for (const auto& [x, y] : {std::pair(0U, 0U), std::pair(0U, 1U), std::pair(1U, 1U), std::pair(1U, 0U)}) {
         colours.push_back(hexOf(page.at(24 + 32 * x + 20, 76 + 32 * y + 24)));
      }
      return colours;
   }
   static std::string choice(unsigned index, Theme theme = Theme::light) {
      return hexOf(colourOf({Tint::Kind::choice, static_cast<U8>(index), choices}, theme));
   }
   static std::string scale(unsigned index, unsigned count, Theme theme = Theme::light) {
      return hexOf(colourOf({Tint::Kind::scale, static_cast<U8>(index), static_cast<U8>(count)}, theme));
   }
   const std::string none_ = hexOf(colourOf({}, Theme::light));
   const std::string plain_ = hexOf(colourOf({Tint::Kind::plain, 0, 1}, Theme::light));

   Support::Folder folder_;
   std::string table_ =
      folder_.file("t", "0.0.0.0/2 a\n64.0.0.0/3 b\n96.0.0.0/3 b\n128.0.0.0/2 c\n2001:db8::/34 six\n");
};

TEST_F(Map, byLengthUnlessTold) {
   const std::vector<std::string> expected = {scale(0, 2), scale(1, 2), scale(0, 2), none_};
   EXPECT_EQ(expected, quarters({"--table", table_}));
   EXPECT_EQ(expected, quarters({"--table", table_, "--by", "length", "--theme", "light"}));
   EXPECT_EQ(expected, quarters({"--table", "-"}, contentOf(table_)));
}

TEST_F(Map, byPayloadOnDark) {
   const std::vector<std::string> expected = {choice(0, Theme::dark), choice(1, Theme::dark), choice(2, Theme::dark),
                                              hexOf(colourOf({}, Theme::dark))};
   EXPECT_EQ(expected, quarters({"--table", table_, "--by", "payload", "--theme", "dark"}));
}

TEST_F(Map, byAPartOfThePayload) {
   const auto hops = folder_.file("hops",
                                  "0.0.0.0/2 via 192.0.2.1 dev eth0 metric 5\n64.0.0.0/2 dev eth1 via 192.0.2.1\n"
                                  "128.0.0.0/2 blackhole\n192.0.0.0/3 via 192.0.2.2 dev eth0\n");
   EXPECT_EQ((std::vector<std::string>{choice(0), choice(0), choice(1), choice(2)}),
             quarters({"--table", hops, "--part", "via"}));
   EXPECT_EQ((std::vector<std::string>{choice(0), choice(1), choice(2), choice(0)}),
             quarters({"--table", hops, "--by", "payload", "--part", "dev"}));
   const auto paths =
      folder_.file("paths", "0.0.0.0/2 as 1 path 1 2 3\n64.0.0.0/2 as 9 path 9 3\n128.0.0.0/2 as 1\n");
   EXPECT_EQ((std::vector<std::string>{choice(0), choice(0), choice(1), none_}),
             quarters({"--table", paths, "--part", "origin"}));
   EXPECT_EQ((std::vector<std::string>{choice(0), choice(1), choice(0), none_}),
             quarters({"--table", paths, "--part", "as"}));
}

TEST_F(Map, withinABlock) {
   EXPECT_EQ((std::vector<std::string>{scale(0, 1), none_, none_, none_}),
             quarters({"--table", table_, "--within", "2001:db8::/32"}));
   EXPECT_EQ((std::vector<std::string>{scale(0, 1), scale(0, 1), scale(0, 1), scale(0, 1)}),
             quarters({"--table", table_, "--within", "10.1.2.3"}));
   const auto six = folder_.file("six", "2001:db8::/34\n2001:db8:c000::/34\n");
   EXPECT_EQ((std::vector<std::string>{scale(0, 1), none_, none_, scale(0, 1)}), quarters({"--table", six}));
}

TEST_F(Map, byDifference) {
   const auto now = folder_.file("now", "0.0.0.0/2 a\n64.0.0.0/3 b\n96.0.0.0/3 b\n192.0.0.0/2 new\n");
   const std::vector<std::string> expected = {plain_, plain_, choice(1), choice(0)};
   EXPECT_EQ(expected, quarters({"--table", now, "--against", table_}));
   EXPECT_EQ(expected, quarters({"--table", now, "--against", table_, "--by", "difference"}));
   EXPECT_EQ(expected, quarters({"--table", now, "--against", "-"}, contentOf(table_)));
}

TEST_F(Map, byAge) {
   const auto stream = folder_.file("stream", "100 a 0.0.0.0/2 x\n5000 w 128.0.0.0/2\n");
   const std::vector<std::string> expected = {scale(0, 2), plain_, scale(1, 2), none_};
   EXPECT_EQ(expected, quarters({"--by", "age", "--table", stream, "--table", table_}));
   EXPECT_EQ(expected, quarters({"--by", "age", "--table", table_, "--table", "-"}, contentOf(stream)));
   const Ran bad = map({"--by", "age", "--table", stream, "--table", "-", "--out", folder_.path("x.png")},
                       "7 a 10.0.0.0/8\n8 a 10.0.0.0/99\n");
   EXPECT_EQ("rtrie: <stdin>: line 2: prefix length 99 exceeds 32: \"10.0.0.0/99\"\n", bad.err);
   EXPECT_EQ(1, bad.status);
   const Ran strict = map({"--by", "age", "--strict", "--table", "-", "--out", folder_.path("strict.png")},
                          "7 a 10.0.0.0/8\n8 a 10.0.0.0/99\n");
   EXPECT_EQ(3, strict.status);
   EXPECT_FALSE(std::filesystem::exists(folder_.path("strict.png")));
   const Ran plain = map({"--by", "age", "--table", table_, "--out", folder_.path("x.png")});
   EXPECT_THAT(plain.err, StartsWith("rtrie: nothing has changed at a known time: "));
   EXPECT_EQ(3, plain.status);
   const Ran noStream = map({"--by", "age", "--table", "-", "--out", folder_.path("x.png")}, "10.0.0.0/8\n");
   EXPECT_THAT(noStream.err, StartsWith("rtrie: <stdin>: no update with a time"));
   EXPECT_EQ(3, noStream.status);
}

TEST_F(Map, aStreamOfNothingButFaultsEnds) {
   std::string updates = "7 a nonsense\n";
   while (updates.size() < 1'400'000) {
      updates += updates;
   }
   const Ran ran = map({"--by", "age", "--table", folder_.file("bad", updates), "--out", folder_.path("x.png")});
   EXPECT_THAT(ran.err, testing::EndsWith("bad: 100,001 bad updates and no other: given up\n"));
   EXPECT_EQ(3, ran.status);
   EXPECT_LT(ran.peakBytes, (Property::isSanitized ? 400U : 100U) << 20);
}

TEST_F(Map, sizesAndFormats) {
   for (const unsigned side : {64U, 256U}) {
      const auto out = folder_.path("sized.png");
      ASSERT_EQ(0, map({"--table", table_, "--size", std::to_string(side), "--out", out}).status);
      EXPECT_EQ(side + 372, PngPixels(contentOf(out)).width);
   }
   const auto svg = folder_.path("a.svg");
   ASSERT_EQ(0, map({"--table", table_, "--size", "64", "--out", svg}).status);
   EXPECT_THAT(contentOf(svg), StartsWith("<?xml"));
}

TEST_F(Map, badCommandLines) {
   const auto out = folder_.path("x.png");
   const auto fault = [&](std::vector<std::string> arguments, std::string_view text) {
      const Ran ran = map(std::move(arguments));
      EXPECT_EQ(fmt::format("rtrie: {}\n", text), ran.err);
      EXPECT_EQ(2, ran.status);
      EXPECT_FALSE(std::filesystem::exists(out));
   };
   fault({"--table", table_}, "--out is required");
   fault({"--out", out}, "--table is required");
   fault({"--table", table_, "--out", "x.gif"}, "--out is a file whose name ends in .png or .svg: \"x.gif\"");
   fault({"--table", table_, "--out", ".png"}, "--out is a file whose name ends in .png or .svg: \".png\"");
   for (const char* size : {"0", "63", "100", "8192"}) {
      fault({"--table", table_, "--out", out, "--size", size},
            fmt::format("--size is a power of two from 64 to 4096, in pixels: {}", size));
   }
   fault({"--table", table_, "--out", out, "--by", "colour"},
         "unknown subject \"colour\": known are length, payload, age, difference");
   fault({"--table", table_, "--out", out, "--theme", "blue"}, "unknown theme \"blue\": known are light, dark");
   fault({"--table", table_, "--out", out, "--by", "difference"},
         "--by difference needs a table to compare with: --against");
   fault({"--table", table_, "--out", out, "--by", "age", "--against", table_},
         "--against is for --by difference, and not for --by age");
   fault({"--table", table_, "--out", out, "--by", "length", "--part", "via"},
         "--part is for --by payload, and not for --by length");
   fault({"--table", table_, "--out", out, "--within", "10.0.0.0/33"},
         "prefix length 33 exceeds 32: \"10.0.0.0/33\"");
   fault({"--table", "-", "--out", out, "--against", "-"}, "standard input can be a table only once");
}

TEST_F(Map, whatCannotBeWrittenLosesNothing) {
   const auto nowhere = folder_.path("no/such/folder.png");
   const Ran ran = map({"--table", table_, "--size", "64", "--out", nowhere});
   EXPECT_EQ(fmt::format("rtrie: {}: cannot write: No such file or directory\n", nowhere), ran.err);
   EXPECT_EQ(3, ran.status);
   const auto out = folder_.file("kept.png", "an older picture");
   EXPECT_EQ(3, map({"--table", "no such table", "--out", out}).status);
   EXPECT_EQ("an older picture", contentOf(out));
   const auto bad = folder_.file("bad", "10.0.0.0/8\nnonsense\n");
   const Ran partly = map({"--table", bad, "--size", "64", "--out", out});
   EXPECT_THAT(partly.err, HasSubstr("nonsense"));
   EXPECT_EQ(1, partly.status);
   EXPECT_EQ(64U + 372, PngPixels(contentOf(out)).width);
   EXPECT_EQ(
      1, std::distance(std::filesystem::directory_iterator(folder_.path("")), {}) - 2)  // the table and the bad one
      << "something else than the picture was left";
}

// A whole Internet table; not at full speed, since tests are not optimised.
TEST_F(Map, ofTheInternet) {
   if (!std::filesystem::exists(ROUTETRIE_INTERNET_TABLE)) {
      return;
   }
   const auto out = folder_.path("internet.svg");
   const Ran ran = map({"--table", ROUTETRIE_INTERNET_TABLE, "--out", out});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
   EXPECT_LT(std::filesystem::file_size(out), 500'000U);
}

}  // namespace MapCommandTest
}  // namespace Rtrie
