#include "routetrie/platform/Corvid/ThreadControl.h"

#include <type_traits>

namespace Corvid {

namespace {

// Has no destructor and is zero before any initialiser runs.
constinit std::atomic<U8> multiThreadedByte{0};
static_assert(std::is_trivially_destructible_v<std::atomic<U8>>);

}  // namespace

constinit std::atomic<U8>* const ThreadControl::tsp_ = &multiThreadedByte;

void ThreadControl::multiThreadedIs(bool value) noexcept {
   multiThreadedByte.store(value ? 1 : 0, std::memory_order_relaxed);
}

}  // namespace Corvid
