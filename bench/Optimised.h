// Optimised: whether the program was compiled so that its figures mean something.
#pragma once

namespace Bench {

bool isOptimised() noexcept;

}  // namespace Bench
