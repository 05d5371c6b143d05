// RouteSet: all that was read from the tables: a RouteList for each family, the payloads, and who offers them.
//
// Tested by tests/tools/tables/RouteSetTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/tables/Offers.h"
#include "tools/tables/RouteList.h"
#include "tools/tables/StringPool.h"

namespace Rtrie {

// A payload and its number: within a set, equal texts have equal numbers, and the empty one has 0. The view holds as the one of
// RouteSet::payload() does.
struct Payload {
   U32 id = 0;
   std::string_view text;
};

// One of the offers for a prefix. The views hold as the one of RouteSet::payload() does.
struct Candidate {
   std::string_view payload;
   std::string_view source;  // who offers it; empty if that is not told
   Choice choice = Choice::lastLine;
   std::uint64_t rank = 0;
   bool answers = true;  // false: it holds for some packets alone
   bool chosen = false;  // the table answers with it
};

// What is told of a route beside its prefix, to be added.
struct OfferText {
   std::string_view payload;
   std::string_view source;  // empty: not told
   Choice choice = Choice::lastLine;
   std::uint64_t rank = 0;  // of those of one choice, the lowest is taken, and of equal ones the first
   bool answers = true;     // false: it holds for some packets alone
   bool replaces = false;   // it takes the place of what the source offered before. Requires: a source
};

class RouteSet {
  public:
   // From now on candidates() tells all offers, and not just the best.
   void candidatesAreKept();

   // Reading. The same prefix again with a payload alone: the last one counts. Withdrawing what the source does not offer
   // does nothing.
   void add(const Corenet::IpGenPrefix& prefix, std::string_view payload);
   void add(const Corenet::IpGenPrefix& prefix, const OfferText& offer);
   void withdraw(const Corenet::IpGenPrefix& prefix, std::string_view source);
   // Withdraws all that the source has offered so far, and what was offered by those that are named by it, a blank and more.
   void loseSource(std::string_view source);
   // The two steps of add(), for an offer that is made for many prefixes. The id holds until a source is lost.
   U32 offerIdOf(const OfferText& text);
   void add(const Corenet::IpGenPrefix& prefix, U32 offerId);
   void addRange(U32 first, U32 last, std::string_view payload);
   void addRange(Corenet::U128 first, Corenet::U128 last, std::string_view payload);
   void seal();

   // Once sealed.
   std::uint64_t size(Corenet::AddressFamily af) const;
   std::uint64_t size() const { return list4_.routes().size() + list6_.routes().size(); }
   LostOffers lost() const {
      LostOffers all = list4_.lost();
      return all += list6_.lost();
   }
   // Offers that answer nothing because they hold for some packets alone.
   std::uint64_t bound() const { return list4_.bound() + list6_.bound(); }

   // The payload of a route, nullopt if there is no such route. The view holds until the next add().
   std::optional<std::string_view> payload(const Corenet::IpGenPrefix& prefix) const;
   // The offers for that very prefix, best first, then those that hold for some packets alone.
   std::vector<Candidate> candidates(const Corenet::IpGenPrefix& prefix) const;

   // Number of routes of each length, index 0 to 32 or 128.
   std::vector<std::uint64_t> countByLength(Corenet::AddressFamily af) const;

   // Calls each(IpGenPrefix, Payload) for the routes of a family in ascending order.
   template <class Each>
   void forEachWithPayload(Corenet::AddressFamily af, Each&& each) const {
      onList(af, [&](const auto& list) {
         for (const auto& route : list.routes()) {
            const U32 id = offers_.payloadOf(route.offer);
            each(prefixOf(route.address.number(), route.lengthBits), Payload{id, payloads_.text(id)});
         }
      });
   }
   // The same with each(IpGenPrefix).
   template <class Each>
   void forEach(Corenet::AddressFamily af, Each&& each) const {
      forEachWithPayload(af, [&](const Corenet::IpGenPrefix& route, const Payload&) { each(route); });
   }

  private:
   template <class Fn>
   void onList(Corenet::AddressFamily af, Fn&& fn) const {
      if (af == Corenet::AddressFamily::ipv6) {
         fn(list6_);
      } else {
         fn(list4_);
      }
   }

   U32 sourceIdOf(std::string_view source);

   StringPool payloads_;  // and sources
   Offers offers_;
   RouteList<U32> list4_{offers_};
   RouteList<Corenet::U128> list6_{offers_};
   bool keepsCandidates_ = false;
   // Of the sources by the ids of their names, what they go by now; a source that was lost goes on by another id of its name.
   std::unordered_map<U32, U32> sources_;
};

}  // namespace Rtrie
