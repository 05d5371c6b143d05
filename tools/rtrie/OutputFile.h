// OutputFile: a file that a command writes as a whole. It takes the place of an older one only once it is complete, so that
// where the disk is full the older one is still there.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <string>
#include <string_view>

namespace Rtrie {

// Writes the file, or the device, pipe or socket that the path names, straight into those. Raises DataError that names it.
void writeFile(const std::string& path, std::string_view bytes);

}  // namespace Rtrie
