#include "tools/tables/StringPool.h"

namespace Rtrie {

StringPool::StringPool() : starts_{0, 0}, ids_(64, Hash{this}, Equal{this}) { ids_.insert(0); }

U32 StringPool::idOf(std::string_view wanted) {
   if (wanted == text(lastId_)) {
      return lastId_;
   }
   if (auto found = ids_.find(wanted); found != ids_.end()) {
      return lastId_ = *found;
   }
   texts_ += wanted;
   starts_.push_back(texts_.size());
   lastId_ = size() - 1;
   ids_.insert(lastId_);
   return lastId_;
}

U32 StringPool::addAgain(U32 id) {
   texts_.append(std::string(text(id)));
   starts_.push_back(texts_.size());
   return size() - 1;
}

}  // namespace Rtrie
