#include "tools/tables/mrt/MrtTable.h"

#include <cstdint>
#include <functional>

namespace Rtrie {

void MrtTable::entry(const Corenet::IpGenPrefix& prefix, const RibEntry& entry) {
   const std::string_view bytes(reinterpret_cast<const char*>(entry.attributes.data()), entry.attributes.size());
   if (bytes.size() > mostBytes) {
      routes_.add(prefix, offerIdOf(entry));
      return;
   }
   const std::uint64_t peerAndPath = (std::uint64_t{entry.pathId.value_or(0)} << 32) | entry.peer.id;
   const std::size_t hash = std::hash<std::string_view>()(bytes) ^ (peerAndPath * 0x9e3779b97f4a7c15U >> 17);
   Known& known = known_[hash % slots];
   const bool isSame = known.asBytes == entry.context.asBytes && known.peer == entry.peer.id &&
                       known.isIpv6 == entry.context.hasIpv6 && known.pathId == entry.pathId &&
                       known.attributes == bytes;
   if (!isSame) {
      known.asBytes = 0;  // should this raise
      known.offer = offerIdOf(entry);
      known.attributes = bytes;
      known.peer = entry.peer.id;
      known.pathId = entry.pathId;
      known.isIpv6 = entry.context.hasIpv6;
      known.asBytes = static_cast<U8>(entry.context.asBytes);
   }
   routes_.add(prefix, known.offer);
}

U32 MrtTable::offerIdOf(const RibEntry& entry) {
   attributes_.read(entry.attributes, entry.context);
   return routes_.offerIdOf(offerOf(entry.peer, entry.pathId, attributes_, entry.context.hasIpv6, payload_, source_));
}

void MrtTable::announced(const Corenet::IpGenPrefix& prefix, const OfferText& offer) { routes_.add(prefix, offer); }

void MrtTable::withdrawn(const Corenet::IpGenPrefix& prefix, std::string_view source) {
   routes_.withdraw(prefix, source);
}

void MrtTable::lost(std::string_view source) {
   routes_.loseSource(source);
   for (Known& known : known_) {
      known.asBytes = 0;
   }
}

}  // namespace Rtrie
