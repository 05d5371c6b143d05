#include "routetrie/platform/Corvid/MemTrack.h"

namespace Corvid {

void MemTrack::Impl::alloc(Tesk::AllocTrackTypeInfo** tracker, const std::type_info& type, std::size_t size,
                           std::size_t count) {
   for (std::size_t i = 0; i < count; ++i) {
      Tesk::AllocTrackTypeInfo::_trackAllocationNoOverhead(tracker, type, size);
   }
}

void MemTrack::Impl::dealloc(Tesk::AllocTrackTypeInfo* tracker, std::size_t count) noexcept {
   for (std::size_t i = 0; i < count; ++i) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(tracker);
   }
}

}  // namespace Corvid
