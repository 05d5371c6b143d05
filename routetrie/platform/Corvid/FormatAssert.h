// FormatAssert: the assertion whose text holds values. Where the text is fixed, routetrie/platform/Corvid/Assert.h is it.
// Tested by tests/platform/Corvid/FormatAssertTest.cpp.
#pragma once

#include <fmt/core.h>

#include "routetrie/platform/Export.h"

namespace Corvid::Impl {

// Prints "FILE:LINE: FUNCTION: Assertion `EXPRESSION' failed: TEXT" to standard error, where TEXT is what fmt makes of
// format and args, and aborts.
[[noreturn]] ROUTETRIE_EXPORT void vfmassert(const char* expression, const char* file, const char* function,
                                             unsigned line, fmt::string_view format, fmt::format_args args) noexcept;

}  // namespace Corvid::Impl
