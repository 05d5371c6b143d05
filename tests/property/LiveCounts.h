// LiveCounts: what the process holds at one moment, to be compared with a later one: live objects and bytes of each
// class, slab memory that is handed out, and shared records of long prefixes.
// Tested by tests/property/BatteryTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <map>
#include <string>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corenet/PrefixDedup.h"
#include "routetrie/platform/Tesk/AllocTrack.h"
#include "routetrie/platform/Types.h"

namespace Property {

class LiveCounts {
  public:
   LiveCounts() {
      for (const auto* tracker : Tesk::AllocTrackTypeInfo::all()) {
         const std::string type(tracker->typeName());
         counts_["objects of " + type] = tracker->liveObjects();
         counts_["bytes of " + type] = tracker->liveBytes();
      }
      const auto slab = CoreSlab::stats();
      counts_["slab blocks"] = slab.liveBlocks;
      counts_["slab bytes"] = slab.liveBytes;
      counts_["shared records of long prefixes"] = Corenet::PrefixDedup::liveRecords();
   }

   // The counts of a process in which nothing lives.
   static LiveCounts ofNothing() {
      LiveCounts none;
      none.counts_.clear();
      return none;
   }

   // What differs now, or nothing. A count that was not known then was 0.
   std::string changes() const {
      std::string text;
      for (const auto& [name, now] : LiveCounts().counts_) {
         const auto then = counts_.find(name);
         const std::uint64_t before = then == counts_.end() ? 0 : then->second;
         if (now != before) {
            text += fmt::format("{}: {} before, {} now; ", name, before, now);
         }
      }
      return text;
   }

  private:
   std::map<std::string, std::uint64_t> counts_;
};

}  // namespace Property
