// Format: text by the rules of fmt, as a Corvid::String.
//
//    Corvid::String text = CoreFmt::format("{} routes", count);
//
// Tested by tests/platform/CoreFmt/FormatTest.cpp.
#pragma once

#include <fmt/core.h>

#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"

namespace CoreFmt {

namespace Detail {

// Raises fmt::format_error if the format does not fit the arguments.
ROUTETRIE_EXPORT Corvid::String formatCorvidString(fmt::string_view format, fmt::format_args args);

}  // namespace Detail

// As above, with the format checked against the arguments when compiled.
template <class... Args>
Corvid::String format(fmt::format_string<Args...> text, Args&&... args) {
   return Detail::formatCorvidString(text, fmt::make_format_args(args...));
}

}  // namespace CoreFmt
