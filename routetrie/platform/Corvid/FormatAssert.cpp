#include "routetrie/platform/Corvid/FormatAssert.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>

namespace Corvid::Impl {

void vfmassert(const char* expression, const char* file, const char* function, unsigned line, fmt::string_view format,
               fmt::format_args args) noexcept {
   fmt::print(stderr, "{}:{}: {}: Assertion `{}' failed: ", file, line, function, expression);
   fmt::vprint(stderr, format, args);
   std::fputc('\n', stderr);
   std::fflush(stderr);
   std::abort();
}

}  // namespace Corvid::Impl
