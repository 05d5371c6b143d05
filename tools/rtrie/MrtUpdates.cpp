#include "tools/rtrie/MrtUpdates.h"

#include "tools/tables/mrt/MrtRecords.h"

namespace Rtrie {

void MrtUpdates::read(ByteSource& source, bool isLive) {
   MrtRecords records(source, told_.fault, isLive);
   while (const auto record = records.next()) {
      records.readUpTo(parser_.read(*record));
   }
}

void MrtUpdates::entry(const Corenet::IpGenPrefix& prefix, const RibEntry& entry) {
   attributes_.read(entry.attributes, entry.context);
   announced(prefix, offerOf(entry.peer, entry.pathId, attributes_, entry.context.hasIpv6, payload_, source_));
}

void MrtUpdates::announced(const Corenet::IpGenPrefix& prefix, const OfferText& offer) {
   told_.apply({.prefix = prefix,
                .payload = std::string(offer.payload),
                .choice = Choice::asPath,
                .source = std::string(offer.source),
                .rank = offer.rank});
}

void MrtUpdates::withdrawn(const Corenet::IpGenPrefix& prefix, std::string_view source) {
   told_.apply({.prefix = prefix,
                .payload = {},
                .isWithdrawal = true,
                .choice = Choice::asPath,
                .source = std::string(source)});
}

}  // namespace Rtrie
