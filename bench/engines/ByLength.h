// ByLength: what the two tables made of standard containers share: the longest match by trying one length after the
// other, longest first. Self finds a route in its container, `U32 idOf(const Route<F>&) const` (0 if absent), and says
// which lengths to try: `longestFirst()`.
#pragma once

#include <cstdint>
#include <optional>

#include "bench/CountedHeap.h"
#include "bench/Engine.h"

namespace Bench {

template <class Self, class F>
class ByLength {
  public:
   using Key = Route<F>;
   using Query = typename F::Bits;
   using Answer = U32;  // the id of a route, 0 for none
   static constexpr std::size_t mostRoutesForUpdates = ~std::size_t{0};

   static Key key(const Route<F>& route) { return route; }
   static Query query(typename F::Bits address) { return address; }

   Answer match(const Query& query) const { return longestUpTo(query, F::width); }
   bool exact(const Key& key) const { return self().idOf(key) != 0; }
   Answer parent(const Key& key) const { return longestUpTo(key.bits, key.length - 1); }

   static std::uint64_t token(Answer answer) { return answer; }
   static std::optional<Route<F>> route(Answer answer, const Workload<F>& work) {
      return answer == 0 ? std::optional<Route<F>>() : work.routeOf(answer);
   }

   std::uint64_t bytes() const { return CountedHeap::liveBytes() - bytesBefore_; }

  private:
   const Self& self() const { return static_cast<const Self&>(*this); }

   Answer longestUpTo(typename F::Bits address, U32 longest) const {
      for (const U32 length : self().longestFirst()) {
         if (length <= longest) {
            if (const U32 id = self().idOf({address.cut(length), length}); id != 0) {
               return id;
            }
         }
      }
      return 0;
   }

   const std::uint64_t bytesBefore_ = CountedHeap::liveBytes();
};

}  // namespace Bench
