#include "routetrie/platform/Tesk/Module.h"

#include <algorithm>
#include <mutex>

namespace Tesk {

namespace {

// Never destroyed: libraries may announce records before this one's statics are made, and read them as the process ends.
struct Registry {
   std::mutex lock;
   std::vector<const ModuleInspectData*> records;
};

Registry& registry() {
   static auto* const theRegistry = new Registry;
   return *theRegistry;
}

std::string_view nameOf(const ModuleInspectData* record) { return record->typeNames; }

}  // namespace

void ModuleInspectData::loaded() const {
   Registry& known = registry();
   const std::lock_guard guard(known.lock);
   if (std::find(known.records.begin(), known.records.end(), this) != known.records.end()) {
      return;
   }
   const auto place = std::upper_bound(known.records.begin(), known.records.end(), this,
                                       [](auto* a, auto* b) { return nameOf(a) < nameOf(b); });
   known.records.insert(place, this);
}

std::vector<const ModuleInspectData*> modules() {
   Registry& known = registry();
   const std::lock_guard guard(known.lock);
   return known.records;
}

}  // namespace Tesk
