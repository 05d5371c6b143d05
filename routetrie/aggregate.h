// aggregate: the smallest table that gives every address the same answer.
//
//    10.0.0.0/9    a                         10.0.0.0/8   a
//    10.128.0.0/9  a            becomes      10.3.0.0/16  b
//    10.3.0.0/16   b
//    10.3.7.0/24   b
//
// The same answer is an equal value; the prefix that it comes from may be another one. An address that no route covers stays
// uncovered. Of a set, what comes out is the fewest prefixes that hold the same addresses.
//
// It takes time and memory in proportion to the routes, with values that have std::hash (or the hash that is given); without one,
// each value is compared with each different one before it, which is for tables of few different values.
// Source: Draves, King, Venkatachary, Zill, "Constructing optimal IP routing tables", IEEE INFOCOM 1999.
// Tested by tests/property/TableAggregateTest.cpp, tests/table/AggregateTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

#include "routetrie/table/Aggregation.h"
#include "routetrie/table/Kinds.h"

namespace routetrie {

// Stands for the hash of values that have none.
struct no_hash {};

namespace Impl {

template <class T>
concept HasHash = requires(const T& value) {
   { std::hash<T>()(value) } -> std::convertible_to<std::size_t>;
};
template <class T, class Equal>
using HashOf =
   std::conditional_t<HasHash<T> && (std::same_as<Equal, std::equal_to<>> || std::same_as<Equal, std::equal_to<T>>),
                      std::hash<T>, no_hash>;

// The different values of a table, numbered from 1 on as they come.
template <class T, class Equal, class Hash>
class DifferentValues {
  public:
   DifferentValues(const Equal& equal, const Hash& hash) : equal_(equal), hash_(hash) {}

   std::uint32_t numberOf(const T& value) {
      if (last_ == 0 || !isEqual(last_, value)) {
         last_ = find(value);
      }
      return last_;
   }
   const T& operator[](std::uint32_t number) const { return *values_[number - 1]; }

  private:
   // A number and some bits of its value's hash, by the other bits; at most half of the places are taken.
   struct Place {
      std::uint32_t hash;
      std::uint32_t number = 0;  // 0: free
   };

   bool isEqual(std::uint32_t number, const T& value) const {
      return static_cast<bool>(std::invoke(equal_, (*this)[number], value));
   }
   std::uint32_t add(const T& value) {
      values_.push_back(&value);
      return static_cast<std::uint32_t>(values_.size());
   }
   std::uint32_t find(const T& value) {
      if constexpr (std::same_as<Hash, no_hash>) {
         for (std::uint32_t number = 1; number <= values_.size(); ++number) {
            if (isEqual(number, value)) {
               return number;
            }
         }
         return add(value);
      } else {
         if (places_.size() <= 2 * values_.size()) {
            grow();
         }
         // Multiplied by the golden ratio, since a hash may be the value itself.
         const std::uint64_t spread = static_cast<std::uint64_t>(std::invoke(hash_, value)) * 0x9e3779b97f4a7c15u;
         const auto hash = static_cast<std::uint32_t>(spread >> 32);
         Place& place = placeFor(hash, [&](std::uint32_t number) { return isEqual(number, value); });
         if (place.number == 0) {
            place = {hash, add(value)};
         }
         return place.number;
      }
   }
   template <class IsIt>
   Place& placeFor(std::uint32_t hash, IsIt&& isIt) {
      const std::size_t mask = places_.size() - 1;
      for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
         Place& place = places_[at];
         if (place.number == 0 || (place.hash == hash && isIt(place.number))) {
            return place;
         }
      }
   }
   void grow() {
      std::vector<Place> before(places_.empty() ? 64 : 2 * places_.size());
      before.swap(places_);
      for (const Place& place : before) {
         if (place.number != 0) {
            placeFor(place.hash, [](std::uint32_t) { return false; }) = place;
         }
      }
   }

   const Equal& equal_;
   const Hash& hash_;
   std::vector<const T*> values_;
   std::vector<Place> places_;
   std::uint32_t last_ = 0;  // neighbours often have the same
};

}  // namespace Impl

// Equal values are those that `equal` says are; a `hash` has to be the same for these. Where several sets of routes are smallest,
// those are kept, as far as may be, that were there; the answer depends on the routes alone.
template <Impl::TableOfOneFamily Table, class Equal = std::equal_to<>,
          class Hash = Impl::HashOf<typename Table::mapped_type, Equal>>
Impl::TableOfPrefix<typename Table::prefix_type, typename Table::mapped_type> aggregate(const Table& t,
                                                                                        const Equal& equal = {},
                                                                                        const Hash& hash = {}) {
   using P = typename Table::prefix_type;
   using T = typename Table::mapped_type;
   Impl::TableOfPrefix<P, T> result;
   Impl::Aggregation<P::width> work;
   work.reserve(t.size());
   const auto at = [](const auto& r) { return P::ofValid(typename P::AddressType(r.bits), r.length); };
   if constexpr (Table::has_values) {
      Impl::DifferentValues<T, Equal, Hash> values(equal, hash);
      for (const auto& [where, value] : t) {
         work.add(where.bits(), where.len(), values.numberOf(value));
      }
      for (const auto& r : work.result()) {
         result.try_emplace(at(r), values[r.value]);
      }
   } else {
      for (const P& p : t) {
         work.add(p.bits(), p.len(), 1);
      }
      for (const auto& r : work.result()) {
         result.insert(at(r));
      }
   }
   return result;
}
template <Impl::TableOfBoth Table, class Equal = std::equal_to<>,
          class Hash = Impl::HashOf<typename Table::mapped_type, Equal>>
table<typename Table::mapped_type> aggregate(const Table& t, const Equal& equal = {}, const Hash& hash = {}) {
   return table<typename Table::mapped_type>(aggregate(t.v4(), equal, hash), aggregate(t.v6(), equal, hash));
}

}  // namespace routetrie
