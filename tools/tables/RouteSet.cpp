#include "tools/tables/RouteSet.h"

#include <cstdint>

#include "tools/tables/RangeCut.h"

namespace Rtrie {

void RouteSet::candidatesAreKept() {
   keepsCandidates_ = true;
   list4_.othersAreKept();
   list6_.othersAreKept();
}

void RouteSet::add(const Corenet::IpGenPrefix& prefix, std::string_view payload) {
   add(prefix, payloads_.idOf(payload));
}

void RouteSet::add(const Corenet::IpGenPrefix& prefix, const OfferText& offer) { add(prefix, offerIdOf(offer)); }

U32 RouteSet::offerIdOf(const OfferText& text) {
   Offer offer;
   offer.payload = payloads_.idOf(text.payload);
   offer.source = sourceIdOf(text.source);
   offer.choice = text.choice;
   offer.rank = text.rank;
   offer.answers = text.answers;
   offer.replaces = text.replaces;
   return offers_.idOf(offer);
}

void RouteSet::withdraw(const Corenet::IpGenPrefix& prefix, std::string_view source) {
   Offer offer;
   offer.source = sourceIdOf(source);
   offer.isWithdrawal = true;
   add(prefix, offers_.idOf(offer));
}

void RouteSet::loseSource(std::string_view source) {
   for (auto& [name, id] : sources_) {
      const auto text = payloads_.text(name);
      if (text.starts_with(source) && (text.size() == source.size() || text[source.size()] == ' ')) {
         offers_.loseSource(id);
         id = payloads_.addAgain(name);
      }
   }
}

U32 RouteSet::sourceIdOf(std::string_view source) {
   if (source.empty()) {
      return 0;
   }
   const U32 name = payloads_.idOf(source);
   return sources_.try_emplace(name, name).first->second;
}

void RouteSet::add(const Corenet::IpGenPrefix& prefix, U32 offerId) {
   if (prefix.af() == Corenet::AddressFamily::ipv6) {
      list6_.add(numberOf(prefix.v6Prefix().address()), prefix.len(), offerId);
   } else {
      list4_.add(numberOf(prefix.v4Prefix().address()), prefix.len(), offerId);
   }
}

void RouteSet::addRange(U32 first, U32 last, std::string_view payload) {
   U32 const id = payloads_.idOf(payload);
   cutRange(first, last, [&](U32 address, U8 lengthBits) { list4_.add(address, lengthBits, id); });
}

void RouteSet::addRange(Corenet::U128 first, Corenet::U128 last, std::string_view payload) {
   U32 const id = payloads_.idOf(payload);
   cutRange(first, last, [&](Corenet::U128 address, U8 lengthBits) { list6_.add(address, lengthBits, id); });
}

void RouteSet::seal() {
   list4_.seal();
   list6_.seal();
   if (!keepsCandidates_) {
      list4_.dropOthers();
      list6_.dropOthers();
   }
}

std::uint64_t RouteSet::size(Corenet::AddressFamily af) const {
   std::uint64_t size = 0;
   onList(af, [&](const auto& list) { size = list.routes().size(); });
   return size;
}

std::optional<std::string_view> RouteSet::payload(const Corenet::IpGenPrefix& prefix) const {
   const auto id = prefix.af() == Corenet::AddressFamily::ipv6
                      ? list6_.offerOf(numberOf(prefix.v6Prefix().address()), prefix.len())
                      : list4_.offerOf(numberOf(prefix.v4Prefix().address()), prefix.len());
   if (!id) {
      return std::nullopt;
   }
   return payloads_.text(offers_.payloadOf(*id));
}

std::vector<Candidate> RouteSet::candidates(const Corenet::IpGenPrefix& prefix) const {
   std::vector<Candidate> candidates;
   const auto add = [&](U32 id, bool chosen) {
      const Offer offer = offers_.of(id);
      candidates.push_back({payloads_.text(offer.payload), payloads_.text(offer.source), offer.choice, offer.rank,
                            offer.answers, chosen});
   };
   const auto addAll = [&](const auto& list, auto address) {
      if (const auto best = list.offerOf(address, prefix.len())) {
         add(*best, true);
      }
      for (const U32 id : list.othersOf(address, prefix.len())) {
         add(id, false);
      }
   };
   if (prefix.af() == Corenet::AddressFamily::ipv6) {
      addAll(list6_, numberOf(prefix.v6Prefix().address()));
   } else {
      addAll(list4_, numberOf(prefix.v4Prefix().address()));
   }
   return candidates;
}

std::vector<std::uint64_t> RouteSet::countByLength(Corenet::AddressFamily af) const {
   std::vector<std::uint64_t> counts(af == Corenet::AddressFamily::ipv6 ? 129 : 33);
   onList(af, [&](const auto& list) {
      for (const auto& route : list.routes()) {
         ++counts[route.lengthBits];
      }
   });
   return counts;
}

}  // namespace Rtrie
