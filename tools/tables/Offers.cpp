#include "tools/tables/Offers.h"

#include <cstdint>
#include <functional>

namespace Rtrie {

U32 Offers::idOf(const Offer& wanted) {
   if (wanted == plain(wanted.payload)) {
      return wanted.payload;
   }
   if (!isPlain(lastId_) && of(lastId_) == wanted) {
      return lastId_;
   }
   if (const auto found = ids_.find(wanted); found != ids_.end()) {
      return lastId_ = *found;
   }
   lastId_ = static_cast<U32>(offers_.size()) | kept;
   offers_.push_back(wanted);
   ids_.insert(lastId_);
   return lastId_;
}

std::size_t Offers::Hash::operator()(const Offer& offer) const {
   const std::hash<std::uint64_t> hash;
   return hash(offer.rank) ^ (hash((std::uint64_t{offer.payload} << 32) | offer.source) * 31);
}

}  // namespace Rtrie
