#include "routetrie/platform/Tesk/AllocTrack.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <type_traits>

namespace Tesk {

namespace {

// Held while a tracker is made. A bare compare-exchange of the pointer would do as well, but one that fails counts as a
// write to the thread sanitizer, and callers read the pointer plainly once they have counted an allocation.
constinit std::mutex making;
static_assert(std::is_trivially_destructible_v<std::mutex>);

// The trackers of the process, the newest first.
constinit std::atomic<AllocTrackTypeInfo*> newest{nullptr};

std::string demangled(const std::type_info& type) {
   int status = 0;
   char* text = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
   std::string name = status == 0 ? text : type.name();
   std::free(text);
   return name;
}

}  // namespace

AllocTrackTypeInfo::AllocTrackTypeInfo(const std::type_info& type, std::size_t size, std::size_t alignment)
   : typeName_(demangled(type)), objectSize_(size), alignment_(alignment) {}

AllocTrackTypeInfo& AllocTrackTypeInfo::make(AllocTrackTypeInfo** tracker, const std::type_info& type,
                                             std::size_t size, std::size_t alignment) {
   const std::lock_guard guard(making);
   std::atomic_ref pointer(*tracker);
   if (AllocTrackTypeInfo* known = pointer.load(std::memory_order_relaxed)) {
      return *known;  // another thread was first
   }
   auto* made = new AllocTrackTypeInfo(type, size, alignment);
   made->next_ = newest.load(std::memory_order_relaxed);
   newest.store(made, std::memory_order_release);
   pointer.store(made, std::memory_order_release);
   return *made;
}

std::vector<const AllocTrackTypeInfo*> AllocTrackTypeInfo::all() {
   std::vector<const AllocTrackTypeInfo*> result;
   for (const auto* tracker = newest.load(std::memory_order_acquire); tracker != nullptr; tracker = tracker->next_) {
      result.push_back(tracker);
   }
   std::reverse(result.begin(), result.end());
   return result;
}

}  // namespace Tesk
