// Palette: colours as readers see them who lack one kind of cone.
#include "tools/rtrie/map/Palette.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Rtrie {
namespace PaletteTest {

using Linear = std::array<double, 3>;

double linearOf(U8 value) {
   const double part = value / 255.0;
   return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}
Linear linearOf(const Colour& colour) {
   return {linearOf(colour.red), linearOf(colour.green), linearOf(colour.blue)};
}

using Matrix = std::array<Linear, 3>;
Linear times(const Matrix& m, const Linear& v) {
   Linear result = {};
   for (std::size_t i = 0; i < 3; ++i) {
      result[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
   }
   return result;
}

// Machado, Oliveira and Fernandes, "A Physiologically-based Model for Simulation of Color Vision Deficiency" (2009), at full
// severity.
const std::vector<std::pair<std::string, Matrix>> readers = {
   {"all cones", {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}},
   {"protanopia",
    {{{0.152286, 1.052583, -0.204868}, {0.114503, 0.786281, 0.099216}, {-0.003882, -0.048116, 1.051998}}}},
   {"deuteranopia",
    {{{0.367322, 0.860646, -0.227968}, {0.280085, 0.672501, 0.047413}, {-0.011820, 0.042940, 0.968881}}}},
   {"tritanopia",
    {{{1.255528, -0.076749, -0.178779}, {-0.078411, 0.930809, 0.147602}, {0.004733, 0.691367, 0.303900}}}},
};

// CIE L*a*b* for the white of sRGB.
Linear labOf(const Linear& rgb) {
   constexpr Matrix toXyz = {{{0.4124564 / 0.95047, 0.3575761 / 0.95047, 0.1804375 / 0.95047},
                              {0.2126729, 0.7151522, 0.0721750},
                              {0.0193339 / 1.08883, 0.1191920 / 1.08883, 0.9503041 / 1.08883}}};
   Linear xyz = times(toXyz, rgb);
   for (double& each : xyz) {
      each = each > 216.0 / 24389 ? std::cbrt(each) : (24389.0 / 27 * each + 16) / 116;
   }
   return {116 * xyz[1] - 16, 500 * (xyz[0] - xyz[1]), 200 * (xyz[1] - xyz[2])};
}

double distance(const Colour& a, const Colour& b, const Matrix& reader) {
   const Linear x = labOf(times(reader, linearOf(a)));
   const Linear y = labOf(times(reader, linearOf(b)));
   return std::hypot(x[0] - y[0], x[1] - y[1], x[2] - y[2]);
}

// WCAG 2: 1 to 21.
double contrast(const Colour& a, const Colour& b) {
   const auto luminance = [](const Colour& colour) {
      const Linear rgb = linearOf(colour);
      return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2] + 0.05;
   };
   const double first = luminance(a);
   const double second = luminance(b);
   return first > second ? first / second : second / first;
}

Tint choice(std::size_t index) { return {Tint::Kind::choice, static_cast<U8>(index), choices}; }
Tint scale(std::size_t index, std::size_t count) {
   return {Tint::Kind::scale, static_cast<U8>(index), static_cast<U8>(count)};
}

class PaletteOf : public testing::TestWithParam<Theme> {};
INSTANTIATE_TEST_SUITE_P(Themes, PaletteOf, testing::Values(Theme::light, Theme::dark));

TEST_P(PaletteOf, choicesAreToldApartByEverybody) {
   std::vector<Tint> tints = {{Tint::Kind::none, 0, 1}, {Tint::Kind::plain, 0, 1}};
   for (std::size_t i = 0; i < choices; ++i) {
      tints.push_back(choice(i));
   }
   for (const auto& [name, reader] : readers) {
      for (std::size_t i = 0; i < tints.size(); ++i) {
         for (std::size_t j = 0; j < i; ++j) {
            // A distance of 2.3 is just seen, side by side; ten is another colour.
            EXPECT_GT(distance(colourOf(tints[i], GetParam()), colourOf(tints[j], GetParam()), reader), 10)
               << name << ' ' << hexOf(colourOf(tints[i], GetParam())) << ' '
               << hexOf(colourOf(tints[j], GetParam()));
         }
      }
   }
}

TEST_P(PaletteOf, scalesRiseInContrastForEverybody) {
   const Colour none = colourOf({}, GetParam());
   for (std::size_t count = 2; count <= 10; ++count) {
      for (std::size_t i = 0; i < count; ++i) {
         const Colour colour = colourOf(scale(i, count), GetParam());
         for (const auto& [name, reader] : readers) {
            EXPECT_GT(distance(colour, none, reader), 10) << name << ' ' << i << " of " << count;
            if (i > 0) {
               const Colour before = colourOf(scale(i - 1, count), GetParam());
               EXPECT_GT(distance(colour, before, reader), 3.5) << name << ' ' << i << " of " << count;
            }
         }
         if (i > 0) {
            EXPECT_GT(contrast(colour, none), contrast(colourOf(scale(i - 1, count), GetParam()), none));
         }
      }
   }
   EXPECT_EQ(colourOf(scale(4, 5), GetParam()), colourOf(scale(0, 1), GetParam()));
}

TEST_P(PaletteOf, textIsReadOnItsPaper) {
   const Paper& paper = paperOf(GetParam());
   EXPECT_GE(contrast(paper.page, paper.text), 7);
   EXPECT_GE(contrast(paper.page, paper.faint), 4.5);
   EXPECT_GE(contrast(colourOf({}, GetParam()), paper.text), 7);
}

TEST(Palette, hex) { EXPECT_EQ("#0072b2", hexOf({0, 114, 178})); }

}  // namespace PaletteTest
}  // namespace Rtrie
