// Assert: the rules that a caller must keep, checked in every build type.
//
// A broken rule ends in glibc's __assert_fail: the process prints the expression's text and the function's,
// and aborts. The text is part of the interface, so an expression that the formatter would respell, or that
// the code has to spell otherwise, is given its text as a second argument:
//
//    ROUTETRIE_ASSERT(word < 4);
//    ROUTETRIE_ASSERT(nodeDataEnabled() == bool(data), "nodeDataEnabled() == bool( data )");
//
// Tested by tests/platform/Corvid/AssertTest.cpp.
#pragma once

#include "routetrie/platform/Language.h"

// As glibc declares it; repeated here because <assert.h> leaves it out under NDEBUG.
// The attribute is spelled as there, too: clang refuses [[noreturn]] on a function first declared with the other.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): glibc's names are reserved
extern "C" __attribute__((__noreturn__)) void __assert_fail(const char* expression, const char* file,
                                                            unsigned int line, const char* function) noexcept;

namespace Corvid::Impl {

constexpr const char* assertText(const char* condition) { return condition; }
constexpr const char* assertText(const char*, const char* text) { return text; }

}  // namespace Corvid::Impl

// `#condition` stands here and not in a macro below, so that constants in it are not expanded first.
#define ROUTETRIE_ASSERT(condition, ...)                                                                     \
   ((condition) ? void()                                                                                     \
                : __assert_fail(::Corvid::Impl::assertText(#condition __VA_OPT__(, ) __VA_ARGS__), __FILE__, \
                                __LINE__, __PRETTY_FUNCTION__))
