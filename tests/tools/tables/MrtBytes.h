// MrtBytes: the bytes of MRT records and of BGP messages, for tests, put together from their parts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/mrt/BgpAttributes.h"

namespace Rtrie::Mrt {

inline std::string u8(unsigned value) { return {static_cast<char>(value)}; }
inline std::string u16(unsigned value) { return u8(value >> 8) + u8(value & 0xff); }
inline std::string u32(std::uint32_t value) { return u16(value >> 16) + u16(value & 0xffff); }

inline std::string record(unsigned type, unsigned subtype, const std::string& body,
                          std::uint32_t seconds = 1'700'000'000) {
   return u32(seconds) + u16(type) + u16(subtype) + u32(static_cast<std::uint32_t>(body.size())) + body;
}

// "192.0.2.1" as 4 bytes, "2001:db8::1" as 16.
inline std::string address(std::string_view text) {
   std::uint8_t bytes[16];
   if (text.find(':') == std::string_view::npos) {
      Corenet::IpAddr::fromString(text).bits().store(bytes);
      return {reinterpret_cast<const char*>(bytes), 4};
   }
   Corenet::Ip6Addr::fromString(text).bits().store(bytes);
   return {reinterpret_cast<const char*>(bytes), 16};
}

// The length, and as many bytes as it takes; the address may have more bits than that.
inline std::string nlri(std::string_view prefix) {
   const auto slash = prefix.find('/');
   const auto length = static_cast<unsigned>(std::stoul(std::string(prefix.substr(slash + 1))));
   return u8(length) + address(prefix.substr(0, slash)).substr(0, (length + 7) / 8);
}

inline std::string attribute(unsigned type, const std::string& value, unsigned flags = 0x40) {
   return value.size() > 255 ? u8(flags | 0x10) + u8(type) + u16(static_cast<unsigned>(value.size())) + value
                             : u8(flags) + u8(type) + u8(static_cast<unsigned>(value.size())) + value;
}

inline std::string segment(unsigned kind, const std::vector<std::uint32_t>& ases, unsigned asBytes = 4) {
   std::string bytes = u8(kind) + u8(static_cast<unsigned>(ases.size()));
   for (const auto as : ases) {
      bytes += asBytes == 4 ? u32(as) : u16(as);
   }
   return bytes;
}
inline std::string path(const std::vector<std::uint32_t>& ases, unsigned asBytes = 4) {
   return attribute(2, segment(2, ases, asBytes));
}
inline std::string nextHop(std::string_view text) { return attribute(3, address(text)); }

struct Peer {
   std::string_view address;
   std::uint32_t as;
};
inline std::string peerIndex(const std::vector<Peer>& peers) {
   std::string body = u32(1) + u16(4) + "view" + u16(static_cast<unsigned>(peers.size()));
   for (const auto& peer : peers) {
      const auto bytes = address(peer.address);
      body += u8(bytes.size() == 16 ? 3 : 2) + u32(7) + bytes + u32(peer.as);
   }
   return record(13, 1, body);
}

inline std::string entry(unsigned peer, const std::string& attributes) {
   return u16(peer) + u32(1) + u16(static_cast<unsigned>(attributes.size())) + attributes;
}
inline std::string entryOfPath(unsigned peer, std::uint32_t pathId, const std::string& attributes) {
   return u16(peer) + u32(1) + u32(pathId) + u16(static_cast<unsigned>(attributes.size())) + attributes;
}
inline std::string rib(unsigned subtype, std::string_view prefix, const std::vector<std::string>& entries) {
   std::string body = u32(0) + nlri(prefix) + u16(static_cast<unsigned>(entries.size()));
   for (const auto& each : entries) {
      body += each;
   }
   return record(13, subtype, body);
}

inline std::string update(const std::string& withdrawn, const std::string& attributes, const std::string& routes) {
   const auto content = u16(static_cast<unsigned>(withdrawn.size())) + withdrawn +
                        u16(static_cast<unsigned>(attributes.size())) + attributes + routes;
   return std::string(16, '\xff') + u16(static_cast<unsigned>(19 + content.size())) + u8(2) + content;
}
// Of a peer of IPv4, subtype 4 or 9, or 1 or 8 where numbers of ASs take 2 bytes.
inline std::string message(const Peer& peer, const std::string& bgp, unsigned subtype = 4, unsigned type = 16) {
   const bool isAs4 = subtype == 4 || subtype == 5 || subtype == 7 || subtype == 9 || subtype == 11;
   const auto bytes = address(peer.address);
   return record(type, subtype,
                 (type == 17 ? u32(5) : "") + (isAs4 ? u32(peer.as) + u32(1) : u16(peer.as) + u16(1)) + u16(0) +
                    u16(bytes.size() == 16 ? 2 : 1) + bytes + bytes + bgp);
}

inline std::span<const U8> bytesOf(const std::string& text) {
   return {reinterpret_cast<const U8*>(text.data()), text.size()};
}

}  // namespace Rtrie::Mrt
