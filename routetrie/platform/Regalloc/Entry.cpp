#include "routetrie/platform/Regalloc/Entry.h"

#include <cerrno>
#include <cstdlib>

#include "routetrie/platform/Corvid/FormatAssert.h"
#include "routetrie/platform/Corvid/Util.h"

namespace Regalloc {

U32 Entry::runtimeBufferAlignment() {
   // Read while the library is loaded, before there is a second thread.
   if (const char* const text = std::getenv("REGALLOC_BUFFER_ALIGNMENT_OVERRIDE")) {  // NOLINT(concurrency-mt-unsafe)
      const long value = std::strtol(text, nullptr, 10);
      if (value != 0 && value != 8 && value != 16) {
         Corvid::Impl::vfmassert("value == 8 || value == 16", __FILE__, __PRETTY_FUNCTION__, __LINE__,
                                 "Unsupported buffer alignment override value: {}", fmt::make_format_args(value));
      }
      if (value != 0) {
         return static_cast<U32>(value);
      }
   }
   return Corvid::Util::isLargeMemorySystem() ? 16 : 8;
}

const U32 Entry::BUFFER_ALIGNMENT = runtimeBufferAlignment();
const U32 Entry::bufferAlignmentLog2 = Corvid::Util::isLargeMemorySystem() ? 4 : 3;

}  // namespace Regalloc
