// MapCommand: `rtrie map`: a block of addresses as a picture: a Hilbert curve, coloured by what a table says of it.
//
// Tested by tests/tools/rtrie/map/MapCommandTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addMap(CLI::App& app);

}  // namespace Rtrie
