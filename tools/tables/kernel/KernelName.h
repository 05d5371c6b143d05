// KernelName: how a table is named that is the kernel's, and not a file's: "kernel:", "kernel:main", "kernel:100".
//
// Tested by tests/tools/tables/TableLoaderTest.cpp.
#pragma once

#include <string_view>

namespace Rtrie {

inline constexpr std::string_view kernelTableStart = "kernel:";

inline bool isKernelTable(std::string_view path) { return path.starts_with(kernelTableStart); }

// What stands behind the colon. Requires: isKernelTable(path).
inline std::string_view kernelTableText(std::string_view path) { return path.substr(kernelTableStart.size()); }

}  // namespace Rtrie
