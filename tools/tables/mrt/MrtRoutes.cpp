#include "tools/tables/mrt/MrtRoutes.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "tools/tables/AddressNumber.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

using Corenet::AddressBits;
using Corenet::IpGenPrefix;

enum Subtype : U16 {
   dumpIpv4 = 1,
   dumpIpv6 = 2,
   dumpIpv4As4 = 3,
   dumpIpv6As4 = 4,

   peerIndexTable = 1,
   ribIpv4Unicast = 2,
   ribIpv4Multicast = 3,
   ribIpv6Unicast = 4,
   ribIpv6Multicast = 5,
   ribGeneric = 6,
   geoPeerTable = 7,
   ribIpv4UnicastAddPath = 8,
   ribIpv4MulticastAddPath = 9,
   ribIpv6UnicastAddPath = 10,
   ribIpv6MulticastAddPath = 11,
   ribGenericAddPath = 12,

   stateChange = 0,
   message = 1,
   messageAs4 = 4,
   stateChangeAs4 = 5,
   messageLocal = 6,
   messageAs4Local = 7,
   messageAddPath = 8,
   messageAs4AddPath = 9,
   messageLocalAddPath = 10,
   messageAs4LocalAddPath = 11,
};

constexpr U8 updateMessage = 2;
constexpr U16 established = 6;

std::string familyText(U16 afi, U8 safi) {
   const auto family = afi == afiIpv4   ? std::string("IPv4")
                       : afi == afiIpv6 ? std::string("IPv6")
                                        : fmt::format("AFI {}", afi);
   return safi == safiMulticast ? family + " multicast" : fmt::format("{} SAFI {}", family, safi);
}

bool isRead(U16 afi, U8 safi) { return (afi == afiIpv4 || afi == afiIpv6) && safi == safiUnicast; }

// A prefix from as many bytes as its length takes.
template <unsigned width>
IpGenPrefix prefixOfBytes(std::span<const U8> bytes, U8 lengthBits, std::uint64_t& masked) {
   U8 whole[width / 8] = {};
   std::memcpy(whole, bytes.data(), bytes.size());
   const auto bits = AddressBits<width>::load(whole);
   const auto cut = bits.cut(lengthBits);
   masked += static_cast<std::uint64_t>(cut != bits);
   return prefixOf(cut.word(), lengthBits);
}

IpGenPrefix prefixOfBytes(std::span<const U8> bytes, U8 lengthBits, bool isIpv6, std::uint64_t& masked) {
   return isIpv6 ? prefixOfBytes<128>(bytes, lengthBits, masked) : prefixOfBytes<32>(bytes, lengthBits, masked);
}

// Some daemons write what came with the numbers of paths as messages of the older subtypes.
bool hasPathIdsAfterAll(std::span<const U8> nlri, bool isIpv6) {
   for (ByteCursor bytes(nlri); !bytes.atEnd();) {
      constexpr std::size_t headBytes = 5;
      if (bytes.left() < headBytes) {
         return false;
      }
      const U8 lengthBits = bytes.take(headBytes, "").back();
      if (lengthBits > (isIpv6 ? 128 : 32) || bytes.left() < (lengthBits + 7U) / 8) {
         return false;
      }
      bytes.take((lengthBits + 7U) / 8, "");
   }
   return true;
}

}  // namespace

OfferText offerOf(const MrtPeer& peer, std::optional<U32> pathId, const BgpAttributes& attributes, bool isIpv6,
                  std::string& payload, std::string& source) {
   payload = "peer ";
   payload += peer.address;
   payload += " as ";
   payload += fmt::format_int(peer.as).c_str();
   const std::string& own = isIpv6 ? attributes.nextHop6() : attributes.nextHop();
   const std::string& nextHop = !own.empty() ? own : isIpv6 ? attributes.nextHop() : attributes.nextHop6();
   if (!nextHop.empty()) {
      payload += " via ";
      payload += nextHop;
   }
   if (!attributes.path().empty()) {
      payload += " path ";
      payload += attributes.path();
   }
   OfferText offer;
   offer.payload = payload;
   offer.source = peer.source;
   if (pathId) {
      source = peer.source;
      source += ' ';
      source += fmt::format_int(*pathId).c_str();
      offer.source = source;
   }
   offer.choice = Choice::asPath;
   offer.rank = attributes.pathLength();
   return offer;
}

MrtRoutes::MrtRoutes(const Selection& selection, MrtSink& sink, Tell tell)
   : selection_(selection), sink_(sink), tell_(std::move(tell)) {}

std::size_t MrtRoutes::read(const MrtRecord& record) {
   number_ = record.number;
   offset_ = record.offset;
   ByteCursor body(record.body);
   try {
      switch (record.type) {
         case mrtTableDump: tableDump(record, body); break;
         case mrtTableDump2: rib(record, body); break;
         case mrtBgp4mpEt: body.u32("the microseconds"); [[fallthrough]];
         case mrtBgp4mp: bgp4mp(record, body); break;
         case mrtOspf2: otherKinds_.add("OSPFv2 records"); return record.isBelieved ? record.length : 0;
         case mrtOspf3:
         case mrtOspf3Et: otherKinds_.add("OSPFv3 records"); return record.isBelieved ? record.length : 0;
         case mrtIsis:
         case mrtIsisEt: otherKinds_.add("IS-IS records"); return record.isBelieved ? record.length : 0;
         default: throw BadText(fmt::format("unknown kind: type {}, subtype {}", record.type, record.subtype));
      }
      if (record.isBelieved && !body.atEnd()) {
         throw BadText(fmt::format("{} byte{} behind its end", body.left(), body.left() == 1 ? "" : "s"));
      }
   } catch (const BadText& what) {
      // Where its length is not believed, and wrong, that is told.
      if (record.isBelieved || body.at() == record.length) {
         fault(what.what());
      }
   }
   return body.at();
}

LeftOut MrtRoutes::otherPeers() const {
   LeftOut all;
   for (const MrtPeer& peer : peers_) {
      if (peer.leftOut > 0) {
         all.add(peer.source, peer.leftOut);
      }
   }
   return all;
}

void MrtRoutes::fault(std::string_view what) {
   tell_(fmt::format("record {} at byte {}: {}", number_, offset_, what));
}

MrtPeer& MrtRoutes::peerOf(std::span<const U8> address, U32 as) {
   std::string name(reinterpret_cast<const char*>(address.data()), address.size());
   const auto [place, isNew] = peerByName_.try_emplace({std::move(name), as}, nullptr);
   if (isNew) {
      const auto text = addressText(address);
      const auto asText = fmt::format("{}", as);
      peers_.push_back({static_cast<U32>(peers_.size()), text, as, fmt::format("{} {}", text, as),
                        !selection_.peer || selection_.peer->isOf(text, asText), 0});
      place->second = &peers_.back();
   }
   return *place->second;
}

IpGenPrefix MrtRoutes::takePrefix(ByteCursor& bytes, bool isIpv6) {
   const U8 lengthBits = bytes.u8("a prefix");
   const unsigned width = isIpv6 ? 128 : 32;
   if (lengthBits > width) {
      throw BadText(fmt::format("prefix length {} exceeds {}", lengthBits, width));
   }
   return prefixOfBytes(bytes.take((lengthBits + 7U) / 8, "a prefix"), lengthBits, isIpv6, masked_);
}

//--- tables ---

void MrtRoutes::tableDump(const MrtRecord& record, ByteCursor& body) {
   if (record.subtype < dumpIpv4 || record.subtype > dumpIpv6As4) {
      throw BadText(fmt::format("unknown kind: type {}, subtype {}", record.type, record.subtype));
   }
   const bool isIpv6 = record.subtype == dumpIpv6 || record.subtype == dumpIpv6As4;
   const unsigned asBytes = record.subtype >= dumpIpv4As4 ? 4 : 2;
   const std::size_t addressBytes = isIpv6 ? 16 : 4;
   body.take(4, "the view and the number");
   const auto address = body.take(addressBytes, "the prefix");
   const U8 lengthBits = body.u8("the prefix");
   body.take(5, "the status and the time");
   const auto peerAddress = body.take(addressBytes, "the peer");
   const U32 as = asBytes == 4 ? body.u32("the peer") : body.u16("the peer");
   const U16 size = body.u16("the attributes");
   const auto attributes = body.take(size, "the attributes");
   if (lengthBits > addressBytes * 8) {
      throw BadText(fmt::format("prefix length {} exceeds {}", lengthBits, addressBytes * 8));
   }
   // OpenBGPD writes the address of a peer of the other family as zeros; it is as good a name as another.
   MrtPeer& peer = peerOf(peerAddress, as);
   if (!peer.isWanted) {
      leaveOut(peer);
      return;
   }
   sink_.entry(prefixOfBytes(address, lengthBits, isIpv6, masked_),
               {peer, std::nullopt, attributes, {asBytes, true, isIpv6}});
}

void MrtRoutes::peerIndex(ByteCursor& body) {
   body.take(4, "the collector");
   body.take(body.u16("the name of the view"), "the name of the view");
   const U16 count = body.u16("the number of peers");
   hasIndex_ = true;
   index_.clear();
   for (U16 i = 0; i < count; ++i) {
      constexpr U8 isIpv6 = 1;
      constexpr U8 hasAs4 = 2;
      const U8 type = body.u8("a peer");
      body.take(4, "a peer");
      const auto address = body.take((type & isIpv6) != 0 ? 16 : 4, "a peer");
      const U32 as = (type & hasAs4) != 0 ? body.u32("a peer") : body.u16("a peer");
      index_.push_back(&peerOf(address, as));
   }
}

void MrtRoutes::rib(const MrtRecord& record, ByteCursor& body) {
   bool isIpv6 = false;
   switch (record.subtype) {
      case peerIndexTable: peerIndex(body); return;
      case ribIpv4Unicast:
      case ribIpv4UnicastAddPath:
      case ribIpv4Multicast:
      case ribIpv4MulticastAddPath: break;
      case ribIpv6Unicast:
      case ribIpv6UnicastAddPath:
      case ribIpv6Multicast:
      case ribIpv6MulticastAddPath: isIpv6 = true; break;
      case ribGeneric:
      case ribGenericAddPath: {
         body.u32("the number");
         const U16 afi = body.u16("the family");
         const U8 safi = body.u8("the family");
         if (!isRead(afi, safi)) {
            otherKinds_.add(familyText(afi, safi));
            body.take(record.isBelieved ? body.left() : 0, "");  // how long its prefix is, nobody knows
            return;
         }
         const auto prefix = takePrefix(body, afi == afiIpv6);
         entries(body, &prefix, record.subtype == ribGenericAddPath);
         return;
      }
      case geoPeerTable:
         otherKinds_.add("places of peers");
         body.take(record.isBelieved ? body.left() : 0, "");
         return;
      default: throw BadText(fmt::format("unknown kind: type {}, subtype {}", record.type, record.subtype));
   }
   const bool isMulticast = record.subtype == ribIpv4Multicast || record.subtype == ribIpv6Multicast ||
                            record.subtype == ribIpv4MulticastAddPath || record.subtype == ribIpv6MulticastAddPath;
   body.u32("the number");
   const auto prefix = takePrefix(body, isIpv6);
   if (isMulticast) {
      otherKinds_.add(familyText(isIpv6 ? afiIpv6 : afiIpv4, safiMulticast));
   }
   entries(body, isMulticast ? nullptr : &prefix, record.subtype >= ribIpv4UnicastAddPath);
}

// Without a prefix, they are passed over.
void MrtRoutes::entries(ByteCursor& body, const IpGenPrefix* prefix, bool hasPathIds) {
   const U16 count = body.u16("the number of entries");
   const bool isIpv6 = prefix != nullptr && prefix->af() == Corenet::AddressFamily::ipv6;
   for (U16 i = 0; i < count; ++i) {
      const U16 index = body.u16("an entry");
      body.take(4, "an entry");
      const std::optional<U32> pathId = hasPathIds ? std::optional(body.u32("an entry")) : std::nullopt;
      const auto attributes = body.take(body.u16("an entry"), "an entry");
      if (prefix == nullptr) {
         continue;
      }
      if (index >= index_.size()) {
         fault(hasIndex_
                  ? fmt::format("entry {} of {}: no peer {} in the index of {}", i + 1, count, index, index_.size())
                  : fmt::format("entry {} of {}: no index of peers before it", i + 1, count));
         continue;
      }
      MrtPeer& peer = *index_[index];
      if (!peer.isWanted) {
         leaveOut(peer);
         continue;
      }
      try {
         sink_.entry(*prefix, {peer, pathId, attributes, {4, true, isIpv6}});
      } catch (const BadText& what) {
         fault(fmt::format("entry {} of {}: {}", i + 1, count, what.what()));
      }
   }
}

//--- messages ---

void MrtRoutes::bgp4mp(const MrtRecord& record, ByteCursor& body) {
   const U16 kind = record.subtype;
   const bool isState = kind == stateChange || kind == stateChangeAs4;
   const bool isLocal = kind == messageLocal || kind == messageAs4Local || kind == messageLocalAddPath ||
                        kind == messageAs4LocalAddPath;
   const bool isMessage =
      isLocal || kind == message || kind == messageAs4 || kind == messageAddPath || kind == messageAs4AddPath;
   if (!isState && !isMessage) {
      throw BadText(fmt::format("unknown kind: type {}, subtype {}", record.type, record.subtype));
   }
   const bool isAs4 = kind == messageAs4 || kind == stateChangeAs4 || kind == messageAs4Local ||
                      kind == messageAs4AddPath || kind == messageAs4LocalAddPath;
   const U32 as = isAs4 ? body.u32("the peer") : body.u16("the peer");
   body.take(isAs4 ? 6 : 4, "the local AS and the interface");
   const U16 afi = body.u16("the peer");
   if (afi != afiIpv4 && afi != afiIpv6) {
      throw BadText(fmt::format("a peer of the unknown address family {}", afi));
   }
   const auto address = body.take(afi == afiIpv6 ? 16 : 4, "the peer");
   body.take(address.size(), "the local address");
   MrtPeer& peer = peerOf(address, as);
   if (isState) {
      const U16 before = body.u16("the state");
      const U16 after = body.u16("the state");
      if (before == established && after != established && peer.isWanted) {
         sink_.lost(peer.source);
      }
      return;
   }
   constexpr std::size_t headBytes = 19;
   body.take(16, "the marker of a message");
   const U16 size = body.u16("the length of a message");
   if (size < headBytes) {
      throw BadText(fmt::format("a message of {} bytes", size));
   }
   const U8 type = body.u8("the type of a message");
   const auto content = body.take(size - headBytes, "a message");
   if (type != updateMessage) {
      return;
   }
   if (isLocal) {
      otherKinds_.add("messages that the collector sent");
      return;
   }
   if (!peer.isWanted) {
      leaveOut(peer);
      return;
   }
   ByteCursor update(content);
   this->update(update, peer, isAs4 ? 4 : 2, kind >= messageAddPath);
}

template <class Each>
void MrtRoutes::forEachNlri(std::span<const U8> nlri, bool isIpv6, bool hasPathIds, Each&& each) {
   ByteCursor bytes(nlri);
   try {
      while (!bytes.atEnd()) {
         const std::optional<U32> pathId =
            hasPathIds ? std::optional(bytes.u32("the number of a path")) : std::nullopt;
         each(takePrefix(bytes, isIpv6), pathId);
      }
   } catch (const BadText& what) {
      throw BadText(
         fmt::format("{}{}", what.what(),
                     !hasPathIds && hasPathIdsAfterAll(nlri, isIpv6)
                        ? " (there are numbers of paths before its prefixes, which its subtype doesn't tell)"
                        : ""));
   }
}

void MrtRoutes::update(ByteCursor& message, MrtPeer& peer, unsigned asBytes, bool hasPathIds) {
   const auto sourceOf = [&](std::optional<U32> pathId) {
      return pathId ? fmt::format("{} {}", peer.source, *pathId) : peer.source;
   };
   const auto withdraw = [&](std::span<const U8> nlri, bool isIpv6) {
      forEachNlri(nlri, isIpv6, hasPathIds, [&](const IpGenPrefix& prefix, std::optional<U32> pathId) {
         sink_.withdrawn(prefix, sourceOf(pathId));
      });
   };
   withdraw(message.take(message.u16("the withdrawn routes"), "the withdrawn routes"), false);
   const auto attributeBytes = message.take(message.u16("the attributes"), "the attributes");
   const auto nlri = message.take(message.left(), "");
   try {
      attributes_.read(attributeBytes, {asBytes, false, false});
   } catch (const BadText& what) {
      withdraw(nlri, false);
      throw BadText(fmt::format("{}: its routes are withdrawn", what.what()));
   }
   if (const auto& gone = attributes_.unreached()) {
      if (isRead(gone->afi, gone->safi)) {
         withdraw(gone->nlri, gone->afi == afiIpv6);
      } else {
         otherKinds_.add(familyText(gone->afi, gone->safi));
      }
   }
   const auto announce = [&](std::span<const U8> routes, bool isIpv6) {
      forEachNlri(routes, isIpv6, hasPathIds, [&](const IpGenPrefix& prefix, std::optional<U32> pathId) {
         OfferText offer = offerOf(peer, pathId, attributes_, isIpv6, payload_, source_);
         offer.replaces = true;
         sink_.announced(prefix, offer);
      });
   };
   announce(nlri, false);
   if (const auto& come = attributes_.reached()) {
      if (isRead(come->afi, come->safi)) {
         announce(come->nlri, come->afi == afiIpv6);
      } else {
         otherKinds_.add(familyText(come->afi, come->safi));
      }
   }
}

}  // namespace Rtrie
