// AllocTrack: how many objects of each class live, and how many bytes they take.
//
// A class keeps one static pointer to its tracker, null until its first allocation makes the tracker. Trackers are never
// destroyed. The counters are atomics without order: an add while the process has several threads (Corvid::ThreadControl),
// a plain load and store otherwise. They are exact whenever no thread is in the middle of an allocation.
// Tested by tests/platform/Tesk/AllocTrackTest.cpp.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "routetrie/platform/Corvid/ThreadControl.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Tesk {

class ROUTETRIE_EXPORT AllocTrackTypeInfo {
  public:
   // Counts an allocation of `size` bytes for `type`, and makes the tracker if there is none. Both raise std::bad_alloc
   // if the tracker can't be made; the second form also notes the alignment, in bytes.
   static void _trackAllocationNoOverhead(AllocTrackTypeInfo** tracker, const std::type_info& type,
                                          std::size_t size) {
      trackerOf(tracker, type, size, 0).allocated(size);
   }
   static void _trackAllocation(AllocTrackTypeInfo** tracker, const std::type_info& type, std::size_t size,
                                std::size_t alignment) {
      trackerOf(tracker, type, size, alignment).allocated(size);
   }

   // Counts a release, of the tracker's object size or of `size` bytes.
   static void trackDeallocation(AllocTrackTypeInfo* tracker) noexcept { tracker->released(tracker->objectSize_); }
   static void trackDeallocation(AllocTrackTypeInfo* tracker, std::size_t size) noexcept { tracker->released(size); }

   // The trackers of the process, in the order in which they were made.
   static std::vector<const AllocTrackTypeInfo*> all();

   std::string_view typeName() const noexcept { return typeName_; }  // as in source: "Routing::PatriciaTrie"
   std::size_t objectSize() const noexcept { return objectSize_; }   // bytes, of the first allocation
   std::size_t alignment() const noexcept { return alignment_; }     // bytes; 0 if never told
   std::uint64_t liveObjects() const noexcept { return liveObjects_.load(std::memory_order_relaxed); }
   std::uint64_t liveBytes() const noexcept { return liveBytes_.load(std::memory_order_relaxed); }
   std::uint64_t totalAllocations() const noexcept { return totalAllocations_.load(std::memory_order_relaxed); }

   AllocTrackTypeInfo(const AllocTrackTypeInfo&) = delete;
   AllocTrackTypeInfo& operator=(const AllocTrackTypeInfo&) = delete;

  private:
   AllocTrackTypeInfo(const std::type_info& type, std::size_t size, std::size_t alignment);
   ~AllocTrackTypeInfo() = default;

   static AllocTrackTypeInfo& trackerOf(AllocTrackTypeInfo** tracker, const std::type_info& type, std::size_t size,
                                        std::size_t alignment) {
      AllocTrackTypeInfo* known = std::atomic_ref(*tracker).load(std::memory_order_acquire);
      return known != nullptr ? *known : make(tracker, type, size, alignment);
   }
   static AllocTrackTypeInfo& make(AllocTrackTypeInfo** tracker, const std::type_info& type, std::size_t size,
                                   std::size_t alignment);

   void allocated(std::size_t size) noexcept {
      add(liveObjects_, 1);
      add(liveBytes_, size);
      add(totalAllocations_, 1);
   }
   void released(std::size_t size) noexcept {
      add(liveObjects_, ~std::uint64_t{0});
      add(liveBytes_, std::uint64_t{0} - size);
   }
   static void add(std::atomic<std::uint64_t>& counter, std::uint64_t by) noexcept {
      if (Corvid::ThreadControl::multiThreaded()) {
         counter.fetch_add(by, std::memory_order_relaxed);
      } else {
         counter.store(counter.load(std::memory_order_relaxed) + by, std::memory_order_relaxed);
      }
   }

   const std::string typeName_;
   const std::size_t objectSize_;
   const std::size_t alignment_;
   std::atomic<std::uint64_t> liveObjects_{0};
   std::atomic<std::uint64_t> liveBytes_{0};
   std::atomic<std::uint64_t> totalAllocations_{0};
   AllocTrackTypeInfo* next_ = nullptr;  // the tracker made before this one
};

}  // namespace Tesk
