#include "routetrie/platform/Corvid/Util.h"

#include <cstdint>

#include <unistd.h>

#include "routetrie/platform/Types.h"

namespace Corvid::Util {

bool isLargeMemorySystem() noexcept {
   constexpr std::uint64_t largeBytes = std::uint64_t{4} << 30;
   static const bool isLarge = [] {
      const long pages = sysconf(_SC_PHYS_PAGES);
      const long pageBytes = sysconf(_SC_PAGE_SIZE);
      return pages > 0 && pageBytes > 0 &&
             static_cast<std::uint64_t>(pages) >= largeBytes / static_cast<std::uint64_t>(pageBytes);
   }();
   return isLarge;
}

}  // namespace Corvid::Util
