// AnswerWalk: which route answers where: a block of addresses as spans without a gap, each with the longest route that covers
// all of it, or with none.
//
//    routes 10.0.0.0/8, 10.1.0.0/16    spans  0.0.0.0 none, 10.0.0.0 /8, 10.1.0.0 /16, 10.2.0.0 /8, 11.0.0.0 none
//
// One pass over the routes, with a stack of those that cover where it stands.
// Tested by tests/tools/rtrie/map/AnswerWalkTest.cpp, against a search for each address.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/RouteSet.h"

namespace Rtrie {

// The addresses of a prefix, both ends included, in host order. Number is U32 or U128.
template <class Number>
struct AddressRange {
   Number first = 0;
   Number last = 0;
   bool operator==(const AddressRange&) const = default;
};
template <class Number>
AddressRange<Number> rangeOf(Number first, unsigned lengthBits) {
   const Number hostBits =
      lengthBits == 0 ? ~Number{0} : static_cast<Number>((Number{1} << (widthBits<Number> - lengthBits)) - 1);
   return {first, static_cast<Number>(first | hostBits)};
}
// Requires: a prefix of that family.
template <class Number>
AddressRange<Number> rangeOf(const Corenet::IpGenPrefix& prefix) {
   return rangeOf<Number>(prefix.bits<widthBits<Number>>().word(), prefix.len());
}

// A route as a walk takes it. The value is the caller's.
template <class Number>
struct PlacedRoute {
   Number first = 0;
   U8 lengthBits = 0;
   U32 value = 0;
};

// The routes of the set that answer anything of that block, in order, those that cover it included. valueOf(prefix, Payload).
template <class Number, class ValueOf>
std::vector<PlacedRoute<Number>> routesOver(const RouteSet& routes, const Corenet::IpGenPrefix& block,
                                            ValueOf&& valueOf) {
   std::vector<PlacedRoute<Number>> placed;
   routes.forEachWithPayload(block.af(), [&](const Corenet::IpGenPrefix& route, const Payload& payload) {
      if (covers(block, route) || covers(route, block)) {
         placed.push_back({route.bits<widthBits<Number>>().word(), route.len(), valueOf(route, payload)});
      }
   });
   return placed;
}

template <class Number>
class AnswerWalk {
  public:
   struct Span {
      AddressRange<Number> range;
      const PlacedRoute<Number>* route = nullptr;  // of those given; null: none covers the span
      unsigned depth = 0;                          // routes that cover it
   };

   // Requires: the routes in order, by address and of one address by length, each overlapping the block. They have to live as
   // long. Two spans behind one another may have the same route.
   AnswerWalk(std::span<const PlacedRoute<Number>> routes, const AddressRange<Number>& block)
      : routes_(routes), block_(block), at_(block.first) {}

   // The next span; none at the end of the block.
   std::optional<Span> next() {
      while (!isDone_) {
         while (!covering_.empty() && lastOf(*covering_.back()) < at_) {
            covering_.pop_back();
         }
         if (next_ < routes_.size() && firstOf(routes_[next_]) == at_) {
            covering_.push_back(&routes_[next_++]);
            continue;
         }
         const auto* const route = covering_.empty() ? nullptr : covering_.back();
         Number last = route == nullptr ? block_.last : lastOf(*route);
         if (next_ < routes_.size() && firstOf(routes_[next_]) <= last) {
            last = static_cast<Number>(firstOf(routes_[next_]) - 1);
         }
         const Span span{{at_, last}, route, static_cast<unsigned>(covering_.size())};
         isDone_ = last == block_.last;
         at_ = static_cast<Number>(last + 1);
         return span;
      }
      return std::nullopt;
   }

  private:
   // Of what the route has of the block.
   Number firstOf(const PlacedRoute<Number>& route) const { return std::max(route.first, block_.first); }
   Number lastOf(const PlacedRoute<Number>& route) const {
      return std::min(rangeOf(route.first, route.lengthBits).last, block_.last);
   }

   std::span<const PlacedRoute<Number>> routes_;
   AddressRange<Number> block_;
   Number at_;
   std::size_t next_ = 0;
   std::vector<const PlacedRoute<Number>*> covering_;  // where the walk stands, the longest last
   bool isDone_ = false;
};

}  // namespace Rtrie
