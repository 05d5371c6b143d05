#include "tools/rtrie/map/Palette.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace Rtrie {
namespace {

// Viridis at every sixteenth, from dark to light.
constexpr std::array<Colour, 17> viridis = {{{68, 1, 84},
                                             {72, 24, 106},
                                             {71, 45, 123},
                                             {66, 64, 134},
                                             {59, 82, 139},
                                             {51, 99, 141},
                                             {44, 114, 142},
                                             {38, 130, 142},
                                             {33, 145, 140},
                                             {31, 160, 136},
                                             {40, 174, 128},
                                             {63, 188, 115},
                                             {94, 201, 98},
                                             {132, 212, 75},
                                             {173, 220, 48},
                                             {216, 226, 25},
                                             {253, 231, 37}}};

Colour viridisAt(double place) {
   const double at = place * (viridis.size() - 1);
   const auto below = std::min(static_cast<std::size_t>(at), viridis.size() - 2);
   const double part = at - static_cast<double>(below);
   const auto mix = [part](U8 a, U8 b) { return static_cast<U8>(std::lround(a + part * (b - a))); };
   const Colour& a = viridis[below];
   const Colour& b = viridis[below + 1];
   return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

// The ends of the scale that the paper would swallow are left out.
struct PaletteOfTheme {
   Paper paper;
   Colour none;
   Colour plain;
   double recedes;
   double standsOut;
   std::array<Colour, choices> choice;
};

constexpr PaletteOfTheme lightPalette = {
   {{255, 255, 255}, {28, 30, 33}, {88, 93, 99}, {160, 165, 170}},
   {240, 241, 242},
   {190, 194, 199},
   0.94,
   0,
   {{{0, 114, 178}, {213, 94, 0}, {86, 180, 233}, {0, 0, 0}, {240, 228, 66}, {0, 158, 115}, {204, 121, 167}}},
};
constexpr PaletteOfTheme darkPalette = {
   {{16, 18, 22}, {232, 234, 237}, {165, 171, 179}, {92, 98, 106}},
   {32, 35, 41},
   {84, 89, 97},
   0.16,
   1,
   {{{86, 180, 233}, {213, 94, 0}, {0, 114, 178}, {255, 255, 255}, {240, 228, 66}, {0, 158, 115}, {204, 121, 167}}},
};

const PaletteOfTheme& paletteOf(Theme theme) { return theme == Theme::dark ? darkPalette : lightPalette; }

}  // namespace

std::string hexOf(const Colour& colour) {
   return fmt::format("#{:02x}{:02x}{:02x}", colour.red, colour.green, colour.blue);
}

const Paper& paperOf(Theme theme) { return paletteOf(theme).paper; }

Colour colourOf(const Tint& tint, Theme theme) {
   const PaletteOfTheme& palette = paletteOf(theme);
   switch (tint.kind) {
      case Tint::Kind::none: break;
      case Tint::Kind::plain: return palette.plain;
      case Tint::Kind::scale: {
         const double part = tint.count < 2 ? 1 : static_cast<double>(tint.index) / (tint.count - 1);
         return viridisAt(palette.recedes + part * (palette.standsOut - palette.recedes));
      }
      case Tint::Kind::choice: return palette.choice[tint.index % choices];
   }
   return palette.none;
}

}  // namespace Rtrie
