#include "tools/tables/LiveBytes.h"

#include <malloc.h>

#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Rtrie {

using TrieImpl::TrieNode;

std::uint64_t trackedBytes() {
   std::uint64_t bytes = 0;
   for (const auto& tracker : Tesk::AllocTrackTypeInfo::all()) {
      bytes += tracker->liveBytes();
   }
   return bytes;
}

std::uint64_t childArrayBytes(const TrieNode& node) {
   std::uint64_t bytes = node.isIndirect() ? malloc_usable_size(node.u_.indirect_) + sizeof(std::size_t) : 0;
   forEachChild(node, [&](const TrieNode& child) { bytes += childArrayBytes(child); });
   return bytes;
}

}  // namespace Rtrie
