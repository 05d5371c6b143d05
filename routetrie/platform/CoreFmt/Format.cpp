#include "routetrie/platform/CoreFmt/Format.h"

#include <fmt/format.h>

namespace CoreFmt::Detail {

Corvid::String formatCorvidString(fmt::string_view format, fmt::format_args args) {
   return Corvid::String(fmt::vformat(format, args));
}

}  // namespace CoreFmt::Detail
