// CountedNew: a program with CountedNew.cpp among its sources counts the calls of the global operator new, and can let one fail.
#pragma once

#include <cstddef>

namespace Property {

extern std::size_t newCalls;
extern std::size_t newFailsAt;  // the n-th call from now; 0: none

}  // namespace Property
