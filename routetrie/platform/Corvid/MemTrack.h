// MemTrack: the tracker of objects that are not classes of the object model, such as nodes of varying size. It counts
// through Tesk::AllocTrackTypeInfo, whose list of trackers shows it with the others.
// Tested by tests/platform/Corvid/MemTrackTest.cpp.
#pragma once

#include <cstddef>
#include <typeinfo>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Corvid {

struct MemTrack {
   struct ROUTETRIE_EXPORT Impl {
      // Counts `count` allocations of `size` bytes each, and makes the tracker if there is none.
      static void alloc(Tesk::AllocTrackTypeInfo** tracker, const std::type_info& type, std::size_t size,
                        std::size_t count);
      // Counts `count` releases, each of the tracker's object size.
      static void dealloc(Tesk::AllocTrackTypeInfo* tracker, std::size_t count) noexcept;
   };
};

}  // namespace Corvid
