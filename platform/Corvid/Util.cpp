#include "platform/Corvid/Util.h"

#include <unistd.h>

#include "platform/Types.h"

namespace Corvid::Util {

bool isLargeMemorySystem() noexcept {
   constexpr U64 largeBytes = U64{4} << 30;
   static const bool isLarge = [] {
      const long pages = sysconf(_SC_PHYS_PAGES);
      const long pageBytes = sysconf(_SC_PAGE_SIZE);
      return pages > 0 && pageBytes > 0 && static_cast<U64>(pages) >= largeBytes / static_cast<U64>(pageBytes);
   }();
   return isLarge;
}

}  // namespace Corvid::Util
