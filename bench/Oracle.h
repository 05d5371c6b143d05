// Oracle: the right answers, by searching a sorted list of the routes once for each length, which a reader can check
// by eye. It is itself compared with a scan of all routes (selfCheck) before anything is compared with it.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bench/Family.h"
#include "bench/Random.h"

namespace Bench {

template <class F>
class Oracle {
  public:
   using Answer = std::optional<Route<F>>;

   explicit Oracle(std::span<const Route<F>> routes) : routes_(routes.begin(), routes.end()) {
      std::sort(routes_.begin(), routes_.end());
      for (const Route<F>& route : routes_) {
         present_[route.length] = true;
      }
   }

   bool has(const Route<F>& route) const { return std::binary_search(routes_.begin(), routes_.end(), route); }
   Answer longestMatch(const Route<F>& query) const { return longestUpTo(query, query.length + 1); }
   Answer parent(const Route<F>& query) const { return longestUpTo(query, query.length); }
   Answer next(const Route<F>& route) const {
      const auto next = std::upper_bound(routes_.begin(), routes_.end(), route);
      return next == routes_.end() ? Answer() : *next;
   }
   Answer previous(const Route<F>& route) const {
      const auto at = std::lower_bound(routes_.begin(), routes_.end(), route);
      return at == routes_.begin() ? Answer() : *std::prev(at);
   }
   // How many routes are longer than it and have no other between: from one to what lies behind all that it covers.
   std::uint64_t children(const Route<F>& route) const {
      std::uint64_t count = 0;
      for (auto at = std::upper_bound(routes_.begin(), routes_.end(), route);
           at != routes_.end() && route.covers(*at); ++count) {
         const typename F::Bits last(
            static_cast<typename F::Bits::Word>(at->bits.word() | ~F::Bits::mask(at->length)));
         at = std::upper_bound(at, routes_.end(), hostRoute<F>(last));
      }
      return count;
   }
   // The longest match whose length is even.
   Answer evenMatch(const Route<F>& query) const {
      Answer match = longestMatch(query);
      while (match && match->length % 2 != 0) {
         match = parent(*match);
      }
      return match;
   }
   bool longerPresent(const Route<F>& query) const {
      const auto next = std::upper_bound(routes_.begin(), routes_.end(), query);
      return next != routes_.end() && query.covers(*next);
   }

   // Compares `samples` answers with a scan of all routes: empty, or what differs.
   std::string selfCheck(std::size_t samples, Random& random) const {
      for (std::size_t i = 0; i < samples; ++i) {
         const Route<F>& route = routes_[random.below(routes_.size())];
         const Route<F> query = hostRoute<F>(i % 2 == 0 ? random.addressInside(route) : random.address<F>());
         if (longestMatch(query) != scanned(query, F::width)) {
            return "the oracle is wrong on the longest match of " + textOf(query);
         }
         if (parent(route) != scanned(route, route.length - 1)) {
            return "the oracle is wrong on the parent of " + textOf(route);
         }
         if (next(route) != scannedNext(route)) {
            return "the oracle is wrong on the route after " + textOf(route);
         }
         Route<F> shorter = route;
         shorter.length -= static_cast<U32>(random.below(route.length));
         shorter.bits = route.bits.cut(shorter.length);
         const bool longer = std::any_of(routes_.begin(), routes_.end(), [&](const Route<F>& other) {
            return other.length > shorter.length && shorter.covers(other);
         });
         if (longerPresent(shorter) != longer) {
            return "the oracle is wrong on longer routes than " + textOf(shorter);
         }
      }
      return {};
   }

  private:
   Answer longestUpTo(const Route<F>& query, U32 endLength) const {
      for (U32 length = endLength; length-- > 0;) {
         if (const Route<F> candidate{query.bits.cut(length), length}; present_[length] && has(candidate)) {
            return candidate;
         }
      }
      return {};
   }
   Answer scanned(const Route<F>& query, U32 longest) const {
      Answer best;
      for (const Route<F>& route : routes_) {
         if (route.length <= longest && route.covers(query) && (!best || route.length > best->length)) {
            best = route;
         }
      }
      return best;
   }

   Answer scannedNext(const Route<F>& before) const {
      Answer least;
      for (const Route<F>& route : routes_) {
         if (before < route && (!least || route < *least)) {
            least = route;
         }
      }
      return least;
   }

   std::vector<Route<F>> routes_;
   std::array<bool, F::width + 1> present_{};
};

}  // namespace Bench
