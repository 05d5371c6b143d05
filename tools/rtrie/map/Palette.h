// Palette: the colours of maps, on light paper and on dark. A reader who sees no difference between red and green, or between
// blue and yellow, tells them apart all the same: scales rise in lightness from end to end, and the others differ in lightness as
// well as in hue.
//
// Sources: the scale is viridis (Smith and van der Walt, 2015); the others are Okabe and Ito, "Color Universal Design" (2008).
// Tested by tests/tools/rtrie/map/PaletteTest.cpp, which sees them as such readers do.
#pragma once

#include <cstddef>
#include <string>

#include "routetrie/platform/Types.h"

namespace Rtrie {

struct Colour {
   U8 red = 0;
   U8 green = 0;
   U8 blue = 0;
   bool operator==(const Colour&) const = default;
};

// "#0072b2"
std::string hexOf(const Colour& colour);

enum class Theme : U8 { light, dark };

// What a picture is drawn on, and with.
struct Paper {
   Colour page;
   Colour text;
   Colour faint;  // text beside other text
   Colour line;   // between blocks
};
const Paper& paperOf(Theme theme);

// What a part of a map stands for. A tint is a colour in either theme.
struct Tint {
   enum class Kind : U8 {
      none,    // nothing is here
      plain,   // something of no interest
      scale,   // number `index` of `count` that have an order, from what recedes to what stands out
      choice,  // one of several without an order; index below choices
   };
   Kind kind = Kind::none;
   U8 index = 0;
   U8 count = 1;
   bool operator==(const Tint&) const = default;
};
inline constexpr std::size_t choices = 7;
Colour colourOf(const Tint& tint, Theme theme);

}  // namespace Rtrie
