// StringPool: each different payload once. A table of a million routes has some hundred countries or some ten
// thousand AS paths, so a route keeps a 4-byte id and the text stands here. Id 0 is the empty text.
//
// Views from text() hold until the next idOf(). Tested by tests/tools/tables/StringPoolTest.cpp.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

class StringPool {
  public:
   StringPool();
   StringPool(const StringPool&) = delete;
   StringPool& operator=(const StringPool&) = delete;

   // The id of the text, which is added if it is new.
   U32 idOf(std::string_view wanted);

   // Another id of the text that has the id; idOf() goes on giving the first.
   U32 addAgain(U32 id);

   // Requires: an id that idOf() or addAgain() gave.
   std::string_view text(U32 id) const {
      return std::string_view(texts_).substr(starts_[id], starts_[id + 1] - starts_[id]);
   }

   // Different texts, the empty one included.
   U32 size() const { return static_cast<U32>(starts_.size() - 1); }

  private:
   // Both look an id's text up in the pool, so that the set holds ids alone.
   struct Hash {
      using is_transparent = void;
      const StringPool* pool;
      std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
      std::size_t operator()(U32 id) const { return (*this)(pool->text(id)); }
   };
   struct Equal {
      using is_transparent = void;
      const StringPool* pool;
      std::string_view view(std::string_view text) const { return text; }
      std::string_view view(U32 id) const { return pool->text(id); }
      template <class A, class B>
      bool operator()(A a, B b) const {
         return view(a) == view(b);
      }
   };

   std::string texts_;                // all texts, one after the other
   std::vector<std::size_t> starts_;  // of text i in texts_; one more at the end
   std::unordered_set<U32, Hash, Equal> ids_;
   U32 lastId_ = 0;  // neighbours in a table often have the same payload
};

}  // namespace Rtrie
