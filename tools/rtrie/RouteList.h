// RouteList: the routes of one family as they are read from tables, then sorted, each once, with the id of its
// payload. It is what engines are filled from and where the payload of an answer is found.
//
//    reading    add, withdraw in any order; the last word on a prefix counts
//    sealed     sorted by address, then length (a route stands before those that it covers); payloadOf() works
//
// A sorted vector and not a hash table: 12 bytes an IPv4 route, 24 an IPv6 one, nothing per bucket. Reading a
// table that names each prefix many times stays bounded, since the list seals itself whenever it has doubled.
//
// Tested by tests/tools/rtrie/RouteListTest.cpp, against a std::map.
#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/rtrie/AddressNumber.h"

namespace Rtrie {

// An address as stored: U32, or for 128 bits two words, high one first (a Corenet::U128 would be padded to 32 bytes a route).
template <class Number>
struct StoredNumber;
template <>
struct StoredNumber<U32> {
   U32 word;
   static StoredNumber of(U32 number) { return {number}; }
   U32 number() const { return word; }
   auto operator<=>(const StoredNumber&) const = default;
};
template <>
struct StoredNumber<Corenet::U128> {
   std::array<std::uint64_t, 2> words;
   static StoredNumber of(Corenet::U128 number) {
      return {{static_cast<std::uint64_t>(number >> 64), static_cast<std::uint64_t>(number)}};
   }
   Corenet::U128 number() const { return (Corenet::U128{words[0]} << 64) | words[1]; }
   auto operator<=>(const StoredNumber&) const = default;
};

template <class Number>
class RouteList {
  public:
   struct Route {
      StoredNumber<Number> address;
      U32 payload;  // id in a StringPool
      U8 lengthBits;

      bool samePrefix(const Route& other) const { return address == other.address && lengthBits == other.lengthBits; }
      bool before(const Route& other) const {
         return address != other.address ? address < other.address : lengthBits < other.lengthBits;
      }
   };

   void add(Number address, U8 lengthBits, U32 payload) {
      append({StoredNumber<Number>::of(address), payload, lengthBits});
   }
   void withdraw(Number address, U8 lengthBits) { add(address, lengthBits, withdrawn); }

   void seal() {
      const auto before = [](const Route& a, const Route& b) { return a.before(b); };
      if (!std::is_sorted(routes_.begin(), routes_.end(), before)) {
         std::stable_sort(routes_.begin(), routes_.end(), before);
      }
      std::size_t kept = 0;
      for (std::size_t i = 0; i < routes_.size(); ++i) {
         const bool lastWord = i + 1 == routes_.size() || !routes_[i].samePrefix(routes_[i + 1]);
         if (lastWord && routes_[i].payload != withdrawn) {
            routes_[kept++] = routes_[i];
         }
      }
      routes_.resize(kept);
      sealAt_ = std::max(sealAtLeast, 2 * kept);
   }

   // Routes that fit without more memory.
   std::size_t capacity() const { return routes_.capacity(); }

   // Requires: sealed, nothing added since.
   std::span<const Route> routes() const { return routes_; }
   std::optional<U32> payloadOf(Number address, U8 lengthBits) const {
      const Route wanted{StoredNumber<Number>::of(address), 0, lengthBits};
      auto found = std::lower_bound(routes_.begin(), routes_.end(), wanted,
                                    [](const Route& a, const Route& b) { return a.before(b); });
      if (found == routes_.end() || !found->samePrefix(wanted)) {
         return std::nullopt;
      }
      return found->payload;
   }

  private:
   static constexpr U32 withdrawn = 0xffffffff;
   static constexpr std::size_t sealAtLeast = std::size_t{1} << 20;

   void append(const Route& route) {
      if (routes_.size() >= sealAt_) {
         seal();
      }
      routes_.push_back(route);
   }

   std::vector<Route> routes_;
   std::size_t sealAt_ = sealAtLeast;
};

static_assert(sizeof(RouteList<U32>::Route) == 12);
static_assert(sizeof(RouteList<Corenet::U128>::Route) == 24);

}  // namespace Rtrie
