// In the place of MapPicture.cpp in a build without cairo.
#include "tools/rtrie/map/MapPicture.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {

bool canDraw() { return false; }

std::string drawnPng(const SpaceMap&, Theme) {
   throw DataError("this rtrie was built without cairo, which draws the pictures");
}
std::string drawnSvg(const SpaceMap& map, Theme theme) { return drawnPng(map, theme); }
std::string curvePng(const SpaceMap& map, Theme theme) { return drawnPng(map, theme); }

}  // namespace Rtrie
