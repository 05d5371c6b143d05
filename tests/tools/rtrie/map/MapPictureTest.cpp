// MapPicture: pictures read back, pixel by pixel.
#include "tools/rtrie/map/MapPicture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "PngPixels.h"
#include "Support.h"
#include "tools/rtrie/map/Base64.h"
#include "tools/rtrie/map/HilbertCurve.h"

namespace Rtrie {
namespace MapPictureTest {

using Support::prefix;
using testing::HasSubstr;

SpaceMap mapOf(std::string_view block, unsigned order) {
   RouteSet routes;
   routes.add(prefix("0.0.0.0/2"), "one");
   routes.add(prefix("128.0.0.0/1"), "two & <three>");
   routes.add(prefix("2001:db8::/32"), "six");
   routes.seal();
   return mapByPayload(routes, prefix(block), order);
}

TEST(MapPicture, aPixelHasTheColourOfItsCell) {
   for (const Theme theme : {Theme::light, Theme::dark}) {
      const auto map = mapOf("0.0.0.0/0", 5);
      const PngPixels picture(curvePng(map, theme));
      ASSERT_EQ(32U, picture.width);
      ASSERT_EQ(32U, picture.height);
      HilbertCurve(5).forEachCell([&](U32 index, const Cell& cell) {
         const Tint tint = index < 256   ? Tint{Tint::Kind::choice, 1, choices}
                           : index < 512 ? Tint{}
                                         : Tint{Tint::Kind::choice, 0, choices};
         ASSERT_EQ(hexOf(colourOf(tint, theme)), hexOf(picture.at(cell.x, cell.y)));
      });
   }
}

// Around the curve are the title and the legend; on it, the names of blocks.
TEST(MapPicture, aPageHasTheCurveAndALegend) {
   const auto map = mapOf("0.0.0.0/0", 7);
   const PngPixels curve(curvePng(map, Theme::dark));
   const PngPixels page(drawnPng(map, Theme::dark));
   constexpr unsigned x = 24;
   constexpr unsigned y = 76;
   ASSERT_GT(page.width, 128 + 300U);
   ASSERT_GT(page.height, 128 + y);
   EXPECT_EQ(paperOf(Theme::dark).page, page.at(0, 0));
   unsigned differing = 0;
   for (unsigned row = 0; row < curve.height; ++row) {
      for (unsigned column = 0; column < curve.width; ++column) {
         differing += curve.at(column, row) == page.at(x + column, y + row) ? 0U : 1U;
      }
   }
   EXPECT_GT(differing, 300U) << "four blocks have no names";
   EXPECT_LT(differing, curve.width * curve.height / 3);
   // A swatch a class, in order, the one without routes last.
   const unsigned swatchX = x + 128 + 24 + 7;
   EXPECT_EQ(colourOf(map.classes[1].tint, Theme::dark), page.at(swatchX, y + 7));
   EXPECT_EQ(colourOf(map.classes[2].tint, Theme::dark), page.at(swatchX, y + 24 + 7));
   EXPECT_EQ(colourOf({}, Theme::dark), page.at(swatchX, y + 48 + 7));
}

TEST(MapPicture, anSvgHasTheSameCurveAndATitle) {
   const auto map = mapOf("0.0.0.0/0", 7);
   const std::string svg = drawnSvg(map, Theme::light);
   EXPECT_THAT(svg, HasSubstr("<title>0.0.0.0/0 by payload of the route that answers</title>"));
   EXPECT_THAT(svg, HasSubstr(" role=\"img\""));
   EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
   constexpr std::string_view begin = "data:image/png;base64,";
   const auto at = svg.find(begin) + begin.size();
   std::string encoded = svg.substr(at, svg.find('"', at) - at);
   std::erase_if(encoded, [](char c) { return c == '\n' || c == '\r' || c == ' '; });
   EXPECT_EQ(base64Of(curvePng(map, Theme::light)), encoded);
}

TEST(MapPicture, aLongLegendHasRoom) {
   RouteSet routes;
   for (unsigned i = 0; i < 20; ++i) {
      routes.add(prefixOf(U32{i} << 24, 8), fmt::format("{}{}", i, std::string(300, 'w')));
   }
   routes.seal();
   const PngPixels page(drawnPng(mapByPayload(routes, prefix("0.0.0.0/0"), 6), Theme::light));
   EXPECT_GE(page.height, 76U + 9 * 24);
   for (unsigned row = 0; row < page.height; ++row) {
      ASSERT_EQ(paperOf(Theme::light).page, page.at(page.width - 20, row)) << "a label runs over the margin";
   }
}

TEST(MapPicture, blocksOfAMap) {
   const auto map = mapOf("0.0.0.0/0", 6);
   const auto blocks = blocksOf(map, 1);
   ASSERT_EQ(4U, blocks.size());
   EXPECT_EQ("64.0.0.0/2", blocks[1].prefix.stringValue());
   EXPECT_EQ((Block{0, 32, 32, 32}), blocks[1].place);
   EXPECT_EQ("128.0.0.0/2", blocks[2].prefix.stringValue());
   EXPECT_EQ((Block{32, 32, 32, 32}), blocks[2].place);
   EXPECT_EQ("0.0.0.0/0", blocksOf(map, 0).at(0).prefix.stringValue());
   EXPECT_EQ("2001:db8:c000::/34", blocksOf(mapOf("2001:db8::/32", 6), 1).at(3).prefix.stringValue());
   EXPECT_EQ("::/0", blocksOf(mapOf("::/0", 6), 0).at(0).prefix.stringValue());
   EXPECT_EQ("192.0.2.7/32", blocksOf(mapOf("192.0.2.4/30", 6), 1).at(3).prefix.stringValue());
}

TEST(MapPicture, words) {
   EXPECT_EQ("0/0", blockLabel(prefix("0.0.0.0/0")));
   EXPECT_EQ("10/8", blockLabel(prefix("10.0.0.0/8")));
   EXPECT_EQ("16/4", blockLabel(prefix("16.0.0.0/4")));
   EXPECT_EQ("10.64/10", blockLabel(prefix("10.64.0.0/10")));
   EXPECT_EQ("10.0.4/24", blockLabel(prefix("10.0.4.0/24")));
   EXPECT_EQ("10.0.4.0/25", blockLabel(prefix("10.0.4.0/25")));
   EXPECT_EQ("2400::/11", blockLabel(prefix("2400::/11")));
   EXPECT_EQ("a pixel is a /20", scaleText(mapOf("0.0.0.0/0", 10)));
   EXPECT_EQ("a pixel is a /32", scaleText(mapOf("192.0.0.0/20", 6)));
   EXPECT_EQ("an address is 2 pixels", scaleText(mapOf("192.0.0.0/21", 6)));
   EXPECT_EQ("an address is 4,096 pixels", scaleText(mapOf("192.0.2.1/32", 6)));
}

}  // namespace MapPictureTest
}  // namespace Rtrie
