// RouteList: the routes of one family as they are read from tables, then sorted, each once, with the id of the offer that
// the table answers with (Offers.h). It is what engines are filled from and where the payload of an answer is found.
//
//    reading    add in any order; an offer may take the place of its source's earlier one, or withdraw it
//    sealed     sorted by address, then length (a route stands before those that it covers); offerOf() works
//
// Offers that lost stand in a list of their own, so that a prefix with one offer pays nothing for them.
//
// A sorted vector and not a hash table: 12 bytes an IPv4 route, 24 an IPv6 one, nothing per bucket. Reading a
// table that names each prefix many times stays bounded, since the list seals itself whenever it has doubled.
//
// Tested by tests/tools/tables/RouteListTest.cpp, against a std::map.
#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/Offers.h"

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
      U32 offer;  // id in the Offers
      U8 lengthBits;
      bool isSealed = false;  // the best of its prefix when the list was sealed last

      bool samePrefix(const Route& other) const { return address == other.address && lengthBits == other.lengthBits; }
      bool before(const Route& other) const {
         return address != other.address ? address < other.address : lengthBits < other.lengthBits;
      }
   };

   // The offers must outlive the list.
   explicit RouteList(const Offers& offers) : offers_(offers) {}

   void add(Number address, U8 lengthBits, U32 offer) {
      if (routes_.size() >= sealAt_) {
         seal();
      }
      routes_.push_back({StoredNumber<Number>::of(address), offer, lengthBits});
   }

   // From now on what lost is kept, even where nothing can bring it back.
   void othersAreKept() { keepsOthers_ = true; }

   void seal() {
      const auto before = [](const Route& a, const Route& b) { return a.before(b); };
      if (!std::is_sorted(routes_.begin(), routes_.end(), before)) {
         std::stable_sort(routes_.begin(), routes_.end(), before);
      }
      std::vector<Route> others;
      auto earlier = std::as_const(others_).begin();
      std::size_t kept = 0;
      for (std::size_t i = 0; i < routes_.size();) {
         const Route prefix = routes_[i];
         for (; earlier != others_.end() && earlier->before(prefix); ++earlier) {
            others.push_back(*earlier);
         }
         std::size_t end = i + 1;
         while (end < routes_.size() && routes_[end].samePrefix(prefix)) {
            ++end;
         }
         auto earlierEnd = earlier;
         while (earlierEnd != others_.end() && earlierEnd->samePrefix(prefix)) {
            ++earlierEnd;
         }
         if (end == i + 1 && earlier == earlierEnd && offers_.answers(prefix.offer)) {
            routes_[kept] = prefix;
            routes_[kept++].isSealed = true;
         } else {
            auto best = bestFirst(std::span(routes_).subspan(i, end - i), {earlier, earlierEnd});
            const bool answers = !best.empty() && offers_.answers(best.front().offer);
            if (answers) {
               routes_[kept] = best.front();
               routes_[kept++].isSealed = true;
            }
            putOthers(std::span(best).subspan(answers ? 1 : 0), best, others);
         }
         earlier = earlierEnd;
         i = end;
      }
      others.insert(others.end(), earlier, std::as_const(others_).end());
      others_ = std::move(others);
      routes_.resize(kept);
      sealAt_ = std::max(sealAtLeast, kept + std::max(kept, others_.size() / 2));
   }

   // Forgets the offers that lost, but not how many they were.
   void dropOthers() {
      lost_ = lost();
      bound_ = bound();
      others_ = {};
   }

   // Routes that fit without more memory.
   std::size_t capacity() const { return routes_.capacity(); }

   // Requires: sealed.
   LostOffers lost() const {
      LostOffers all = lost_;
      auto best = routes_.begin();
      for (const Route& other : others_) {
         if (offers_.answers(other.offer)) {
            for (; best != routes_.end() && best->before(other); ++best) {
            }
            count(other.offer, best != routes_.end() && best->samePrefix(other) && best->offer == other.offer, all);
         }
      }
      return all;
   }
   // Offers that never could answer.
   std::uint64_t bound() const {
      return bound_ + static_cast<std::uint64_t>(std::count_if(others_.begin(), others_.end(), notAnswering()));
   }

   // Requires: sealed, nothing added since.
   std::span<const Route> routes() const { return routes_; }
   std::optional<U32> offerOf(Number address, U8 lengthBits) const {
      const auto [first, last] = equalRange(routes_, address, lengthBits);
      return first == last ? std::nullopt : std::optional<U32>(first->offer);
   }
   // The offers for the prefix that lost, best first, then those that hold for some packets alone.
   std::vector<U32> othersOf(Number address, U8 lengthBits) const {
      std::vector<U32> ids;
      const auto [first, last] = equalRange(others_, address, lengthBits);
      std::transform(first, last, std::back_inserter(ids), [](const Route& route) { return route.offer; });
      return ids;
   }

  private:
   static constexpr std::size_t sealAtLeast = std::size_t{1} << 20;

   void count(U32 offer, bool isAlike, LostOffers& to) const {
      ++to.byChoice[static_cast<std::size_t>(offers_.of(offer).choice)];
      to.alike += static_cast<std::uint64_t>(isAlike);
   }
   auto notAnswering() const {
      return [this](const Route& route) { return !offers_.answers(route.offer); };
   }

   static auto equalRange(const std::vector<Route>& routes, Number address, U8 lengthBits) {
      const Route wanted{StoredNumber<Number>::of(address), 0, lengthBits};
      return std::equal_range(routes.begin(), routes.end(), wanted,
                              [](const Route& a, const Route& b) { return a.before(b); });
   }

   // All that stands for one prefix, best first. told: in the order of the lines, behind the one that was best when the
   // list was sealed last, if there was one; earlier: what lost to it then, best first.
   std::vector<Route> bestFirst(std::span<const Route> told, std::span<const Route> earlier) {
      const auto isSealed = static_cast<std::size_t>(told.front().isSealed);
      std::vector<Route> all;     // the last line of a list first, as it is the best of them
      std::vector<Route> ranked;  // latest first
      // Sources whose offers before the line in hand are gone: whether others took their place.
      std::unordered_map<U32, bool> gone;
      for (std::size_t i = told.size(); i > isSealed; --i) {
         const Offer offer = offers_.of(told[i - 1].offer);
         if (offer.source != 0 && offers_.isLost(offer.source)) {
            continue;
         }
         const auto later = offer.source == 0 ? gone.end() : gone.find(offer.source);
         if (later == gone.end()) {
            if (!offer.isWithdrawal) {
               (offer.choice == Choice::lastLine ? all : ranked).push_back(told[i - 1]);
            }
         } else if (!offer.isWithdrawal && later->second) {
            ++lost_.replaced;
         }
         if (offer.isWithdrawal || offer.replaces) {
            gone.insert_or_assign(offer.source, !offer.isWithdrawal);
         }
      }
      const auto addEarlier = [&](const Route& route) {
         const U32 source = offers_.of(route.offer).source;
         const auto later = source == 0 ? gone.end() : gone.find(source);
         if (later != gone.end()) {
            lost_.replaced += static_cast<std::uint64_t>(later->second && !offers_.isLost(source));
         } else if (source == 0 || !offers_.isLost(source)) {
            all.push_back(route);
         }
      };
      std::for_each(told.begin(), told.begin() + static_cast<std::ptrdiff_t>(isSealed), addEarlier);
      std::for_each(earlier.begin(), earlier.end(), addEarlier);
      all.insert(all.end(), ranked.rbegin(), ranked.rend());
      std::stable_sort(all.begin(), all.end(), [this](const Route& a, const Route& b) {
         const Offer first = offers_.of(a.offer);
         const Offer second = offers_.of(b.offer);
         return std::tuple(!first.answers, first.choice, first.rank) <
                std::tuple(!second.answers, second.choice, second.rank);
      });
      return all;
   }

   void putOthers(std::span<const Route> lost, const std::vector<Route>& best, std::vector<Route>& others) {
      for (Route route : lost) {
         route.isSealed = false;
         // Nothing withdraws a line of a list, so that it can't come back.
         if (keepsOthers_ || offers_.of(route.offer).choice != Choice::lastLine) {
            others.push_back(route);
         } else {
            count(route.offer, route.offer == best.front().offer, lost_);
         }
      }
   }

   const Offers& offers_;
   std::vector<Route> routes_;
   std::vector<Route> others_;  // sorted as routes_ are once sealed, best first within a prefix
   bool keepsOthers_ = false;
   LostOffers lost_;          // of those that are not kept
   std::uint64_t bound_ = 0;  // likewise
   std::size_t sealAt_ = sealAtLeast;
};

static_assert(sizeof(RouteList<U32>::Route) == 12);
static_assert(sizeof(RouteList<Corenet::U128>::Route) == 24);

}  // namespace Rtrie
