// Offers: what tables say of a route beside its prefix: the payload, who offers it, and how good the offer is where
// several are made for one prefix. Which of them the table answers with:
//
//    lastLine   lists of prefixes and ranges: the last line
//    metric     what `ip route` prints: the lowest rank, which is made of the metric, then the first line
//    asPath     lines of bgpdump: the lowest rank, which is the length of the AS path, then the first line
//
// Between kinds the one that stands first here is taken, whatever the order of the tables: a list is written by hand to
// correct what routers say. An offer that holds for some packets alone never answers.
//
// An offer is known by a 4-byte id. One that is a payload and nothing else has the payload's id and takes no memory, so
// a list of a million prefixes pays nothing for what it does not say.
// Tested by tests/tools/tables/OffersTest.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

enum class Choice : U8 { lastLine, metric, asPath };

inline constexpr std::size_t choiceKinds = 3;

// Offers that answer nothing, as another of their prefix does, and what became of those that come again.
struct LostOffers {
   std::array<std::uint64_t, choiceKinds> byChoice{};
   std::uint64_t alike = 0;     // of all these, those that say just what the one says that answers
   std::uint64_t replaced = 0;  // none of these: later ones of their source took their place

   std::uint64_t count() const { return byChoice[0] + byChoice[1] + byChoice[2]; }
   std::uint64_t of(Choice choice) const { return byChoice[static_cast<std::size_t>(choice)]; }
   bool operator==(const LostOffers&) const = default;
   LostOffers& operator+=(const LostOffers& other) {
      for (std::size_t i = 0; i < choiceKinds; ++i) {
         byChoice[i] += other.byChoice[i];
      }
      alike += other.alike;
      replaced += other.replaced;
      return *this;
   }
};

struct Offer {
   std::uint64_t rank = 0;  // the lowest is taken
   U32 payload = 0;         // id in a StringPool
   U32 source = 0;          // of who offers it, id in the same pool; 0 if that is not told
   Choice choice = Choice::lastLine;
   bool answers = true;        // false: it holds for some packets alone, or for none
   bool replaces = false;      // what the source offered before is gone
   bool isWithdrawal = false;  // the same, and nothing takes its place

   bool operator==(const Offer&) const = default;
};

// The rank of Choice::metric: by the kernel's routing table, then the metric, then the preference, of which the highest is
// taken.
constexpr std::uint64_t metricRank(U32 metric, U8 preference = 0, U8 table = 0) {
   return (std::uint64_t{table} << 40) | (std::uint64_t{metric} << 8) | (0xffU - preference);
}
constexpr U32 metricOfRank(std::uint64_t rank) { return static_cast<U32>(rank >> 8); }

class Offers {
  public:
   Offers() : ids_(64, Hash{this}, Equal{this}) {}
   Offers(const Offers&) = delete;
   Offers& operator=(const Offers&) = delete;

   // The id of the offer, which is added if it is new.
   U32 idOf(const Offer& wanted);

   // Requires: an id that idOf() gave.
   Offer of(U32 id) const { return isPlain(id) ? plain(id) : offers_[id & ~kept]; }
   U32 payloadOf(U32 id) const { return isPlain(id) ? id : offers_[id & ~kept].payload; }
   bool answers(U32 id) const {
      if (isPlain(id)) {
         return true;
      }
      const Offer& offer = offers_[id & ~kept];
      return offer.answers && !offer.isWithdrawal && !isLost(offer.source);
   }

   // From now on no offer of that source stands for anything.
   void loseSource(U32 source) { lost_.insert(source); }
   bool isLost(U32 source) const { return !lost_.empty() && lost_.contains(source); }

  private:
   static constexpr U32 kept = 0x80000000;  // the bit of the ids of offers that stand in offers_

   static bool isPlain(U32 id) { return (id & kept) == 0; }
   static Offer plain(U32 payload) {
      Offer offer;
      offer.payload = payload;
      return offer;
   }

   struct Hash {
      using is_transparent = void;
      const Offers* offers;
      std::size_t operator()(const Offer& offer) const;
      std::size_t operator()(U32 id) const { return (*this)(offers->of(id)); }
   };
   struct Equal {
      using is_transparent = void;
      const Offers* offers;
      Offer view(const Offer& offer) const { return offer; }
      Offer view(U32 id) const { return offers->of(id); }
      template <class A, class B>
      bool operator()(const A& a, const B& b) const {
         return view(a) == view(b);
      }
   };

   std::vector<Offer> offers_;
   std::unordered_set<U32, Hash, Equal> ids_;
   std::unordered_set<U32> lost_;  // sources
   U32 lastId_ = 0;                // neighbours in a table are often offered alike
};

}  // namespace Rtrie
