// Scale: how large the long tests are. The environment's ROUTETRIE_FULL=1 asks for the full size; a sanitizer, which is
// slow, gets a small one; and ROUTETRIE_SEED=number replaces the seed of everything random.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "routetrie/platform/Types.h"

namespace Property {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif
#else
inline constexpr bool isSanitized = false;
#endif

inline bool isFull() {
   const char* value = std::getenv("ROUTETRIE_FULL");
   return value != nullptr && std::string(value) == "1";
}

// `normal`, or the number for the other sizes.
template <class Number>
Number sized(Number small, Number normal, Number full) {
   return isFull() ? full : isSanitized ? small : normal;
}

// The seed of a test, told on standard output so that a failure can be repeated.
inline std::uint64_t seed() {
   const char* value = std::getenv("ROUTETRIE_SEED");
   const std::uint64_t number = value != nullptr ? std::stoull(value) : 20260101;
   std::cout << "ROUTETRIE_SEED=" << number << '\n';
   return number;
}

}  // namespace Property
