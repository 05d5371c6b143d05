#include "platform/Tesk/AllocTrack.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>

namespace Tesk {

namespace {

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
   auto* made = new AllocTrackTypeInfo(type, size, alignment);
   AllocTrackTypeInfo* known = nullptr;
   if (!std::atomic_ref(*tracker).compare_exchange_strong(known, made, std::memory_order_acq_rel)) {
      delete made;  // another thread was first
      return *known;
   }
   made->next_ = newest.load(std::memory_order_relaxed);
   while (!newest.compare_exchange_weak(made->next_, made, std::memory_order_release, std::memory_order_relaxed)) {
   }
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
