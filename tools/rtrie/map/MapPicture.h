// MapPicture: a SpaceMap drawn, as the bytes of a PNG or an SVG file. In an SVG, the curve is an image within, and all else is
// vectors; a shape for each route would be larger than the table.
//
// Drawn with cairo (and libpng, which cairo stands on). It brings two dozen libraries of an X desktop along and is of no use for anything else here. So it is a
// wish of the build and no need: without it MapPicture.cpp gives way to MapPictureAbsent.cpp, and `map` says why it can't.
// Tested by tests/tools/rtrie/map/MapPictureTest.cpp.
#pragma once

#include <string>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/rtrie/map/HilbertCurve.h"
#include "tools/rtrie/map/Palette.h"
#include "tools/rtrie/map/SpaceMap.h"

namespace Rtrie {

// Whether this build draws at all.
bool canDraw();

// A cell is a pixel, the curve 2^order pixels wide. Raise DataError if it cannot be drawn: there is no memory for it, or no
// cairo in this build.
std::string drawnPng(const SpaceMap& map, Theme theme);
std::string drawnSvg(const SpaceMap& map, Theme theme);

// The curve as a PNG of one byte a pixel, without names and without anything around it.
std::string curvePng(const SpaceMap& map, Theme theme);

// A part of the block, and where it lies on the curve, in pixels.
struct NamedBlock {
   Block place;
   Corenet::IpGenPrefix prefix;
};
// The parts so many levels down, four times as many at each. Requires: 2 * levels <= blockBits(), levels <= order.
std::vector<NamedBlock> blocksOf(const SpaceMap& map, unsigned levels);
// Those of them that are worth a name: all, or where most of the map is empty, those that are not.
std::vector<NamedBlock> namedBlocks(const SpaceMap& map, unsigned levels);

// What a cell is, for people: "a pixel is a /20", "an address is 16 pixels".
std::string scaleText(const SpaceMap& map);

// The prefix as short as it can be told apart in its place: "10/8", "10.64/16", "2400::/11".
std::string blockLabel(const Corenet::IpGenPrefix& prefix);

}  // namespace Rtrie
