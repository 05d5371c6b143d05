#include "tools/tables/mrt/BgpAttributes.h"

#include <fmt/format.h>

#include <algorithm>
#include <bitset>
#include <cstdint>

#include "tools/tables/ByteCursor.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

enum AttributeType : U8 {
   asPathType = 2,
   nextHopType = 3,
   aggregatorType = 7,
   reachType = 14,
   unreachType = 15,
   as4PathType = 17,
   as4AggregatorType = 18,
};

enum SegmentKind : U8 { asSet = 1, asSequence = 2, confederationSequence = 3, confederationSet = 4 };

constexpr U32 asTrans = 23456;  // stands for an AS whose number does not fit 2 bytes

bool isConfederation(U8 kind) { return kind == confederationSequence || kind == confederationSet; }

U32 lengthOf(U8 kind, std::size_t count) {
   return kind == asSequence ? static_cast<U32>(count) : kind == asSet && count > 0 ? 1 : 0;
}

}  // namespace

std::string addressText(std::span<const U8> bytes) {
   if (bytes.size() == 4) {
      return std::string(Corenet::IpAddr(Corenet::AddressBits<32>::load(bytes.data())).stringValue());
   }
   return std::string(Corenet::Ip6Addr(Corenet::AddressBits<128>::load(bytes.data())).stringValue());
}

void BgpAttributes::Path::read(std::span<const U8> bytes, unsigned asBytes, std::string_view name) {
   ByteCursor cursor(bytes);
   while (!cursor.atEnd()) {
      const U8 kind = cursor.u8(name);
      if (kind < asSet || kind > confederationSet) {
         throw BadText(fmt::format("{} has a segment of the unknown kind {}", name, kind));
      }
      const std::size_t count = cursor.u8(name);
      const auto numbers = cursor.take(count * asBytes, name);
      segments.push_back({kind, ases.size(), count});
      for (std::size_t i = 0; i < numbers.size(); i += asBytes) {
         ases.push_back(asBytes == 2 ? U32{numbers[i]} << 8 | numbers[i + 1]
                                     : U32{numbers[i]} << 24 | U32{numbers[i + 1]} << 16 | U32{numbers[i + 2]} << 8 |
                                          numbers[i + 3]);
      }
   }
}

U32 BgpAttributes::Path::length() const {
   U32 all = 0;
   for (const Segment& segment : segments) {
      all += lengthOf(segment.kind, segment.count);
   }
   return all;
}

void BgpAttributes::read(std::span<const U8> bytes, const AttributeContext& context) {
   asPath_.clear();
   as4Path_.clear();
   nextHop_.clear();
   nextHop6_.clear();
   reached_.reset();
   unreached_.reset();
   std::optional<U32> aggregator;
   bool hasAs4Aggregator = false;
   std::bitset<256> seen;
   ByteCursor cursor(bytes);
   while (!cursor.atEnd()) {
      constexpr U8 extendedLength = 0x10;
      const U8 flags = cursor.u8("a path attribute");
      const U8 type = cursor.u8("a path attribute");
      const std::size_t size =
         (flags & extendedLength) != 0 ? cursor.u16("a path attribute") : cursor.u8("a path attribute");
      const auto value = cursor.take(size, "a path attribute");
      // The first of several of a type counts (RFC 7606).
      if (seen[type]) {
         continue;
      }
      seen[type] = true;
      switch (type) {
         case asPathType: asPath_.read(value, context.asBytes, "the AS path"); break;
         case as4PathType:
            if (context.asBytes == 2) {
               as4Path_.read(value, 4, "the AS4 path");
            }
            break;
         case nextHopType: nextHopsAre(value); break;
         case aggregatorType:
            if (context.asBytes == 2 && value.size() == 6) {
               aggregator = U32{value[0]} << 8 | value[1];
            }
            break;
         case as4AggregatorType: hasAs4Aggregator = true; break;
         case reachType: readReached(value, context); break;
         case unreachType: {
            ByteCursor unreach(value);
            const U16 afi = unreach.u16("MP_UNREACH_NLRI");
            const U8 safi = unreach.u8("MP_UNREACH_NLRI");
            unreached_ = {afi, safi, value.subspan(3)};
            break;
         }
         default: break;
      }
   }
   // An aggregator of a number of 2 bytes has not known of longer ones, nor kept AS4_PATH true.
   if (!as4Path_.segments.empty() && !(aggregator && hasAs4Aggregator && *aggregator != asTrans)) {
      join();
   }
   spell();
}

// RIB entries have only the length of the next hop and the next hop; some writers put the whole attribute there.
void BgpAttributes::readReached(std::span<const U8> bytes, const AttributeContext& context) {
   constexpr std::string_view name = "MP_REACH_NLRI";
   ByteCursor cursor(bytes);
   if (context.isTable && !bytes.empty() && bytes[0] != 0) {
      const U8 size = cursor.u8(name);
      nextHopsAre(cursor.take(size, name));
      return;
   }
   const U16 afi = cursor.u16(name);
   const U8 safi = cursor.u8(name);
   const U8 size = cursor.u8(name);
   const auto nextHops = cursor.take(size, name);
   if (safi == safiUnicast || safi == safiMulticast) {
      nextHopsAre(nextHops);
   }
   if (!context.isTable) {
      cursor.u8(name);  // reserved
      reached_ = {afi, safi, bytes.subspan(cursor.at())};
   }
}

// 4 bytes, 16, or a global address and the one of the link.
void BgpAttributes::nextHopsAre(std::span<const U8> bytes) {
   constexpr std::size_t size4 = 4;
   constexpr std::size_t size6 = 16;
   if (bytes.size() == size4) {
      nextHop_ = addressText(bytes);
   } else if (bytes.size() == size6 || bytes.size() == 2 * size6) {
      const auto global = bytes.first(size6);
      const bool isNone = std::all_of(global.begin(), global.end(), [](U8 byte) { return byte == 0; });
      nextHop6_ = addressText(isNone ? bytes.last(size6) : global);
   } else {
      throw BadText(fmt::format("a next hop of {} bytes", bytes.size()));
   }
}

// As much of the start of AS_PATH as it is longer, then AS4_PATH (RFC 6793, 4.2.3).
void BgpAttributes::join() {
   std::erase_if(as4Path_.segments, [](const Segment& segment) { return isConfederation(segment.kind); });
   const U32 length = asPath_.length();
   const U32 length4 = as4Path_.length();
   if (length < length4) {
      return;
   }
   U32 lead = length - length4;
   Path joined;
   const auto put = [&](const Path& from, const Segment& segment, std::size_t count) {
      const auto first = from.ases.begin() + static_cast<std::ptrdiff_t>(segment.first);
      const bool isSame =
         !joined.segments.empty() && segment.kind == asSequence && joined.segments.back().kind == asSequence;
      if (isSame) {
         joined.segments.back().count += count;
      } else {
         joined.segments.push_back({segment.kind, joined.ases.size(), count});
      }
      joined.ases.insert(joined.ases.end(), first, first + static_cast<std::ptrdiff_t>(count));
   };
   for (const Segment& segment : asPath_.segments) {
      const U32 its = lengthOf(segment.kind, segment.count);
      if (lead == 0 && !isConfederation(segment.kind)) {
         break;
      }
      const std::size_t count =
         segment.kind == asSequence ? std::min<std::size_t>(segment.count, lead) : segment.count;
      put(asPath_, segment, count);
      lead -= std::min(lead, its);
   }
   for (const Segment& segment : as4Path_.segments) {
      put(as4Path_, segment, segment.count);
   }
   asPath_ = std::move(joined);
}

void BgpAttributes::spell() {
   path_.clear();
   pathLength_ = asPath_.length();
   for (const Segment& segment : asPath_.segments) {
      if (segment.kind == asSequence && segment.count == 0) {
         continue;
      }
      if (!path_.empty()) {
         path_ += ' ';
      }
      constexpr std::string_view marks[] = {"", "{,}", "", "( )", "[,]"};
      const std::string_view mark = marks[segment.kind];
      if (!mark.empty()) {
         path_ += mark[0];
      }
      for (std::size_t i = 0; i < segment.count; ++i) {
         if (i > 0) {
            path_ += mark.empty() ? ' ' : mark[1];
         }
         const fmt::format_int number(asPath_.ases[segment.first + i]);
         path_.append(number.data(), number.size());
      }
      if (!mark.empty()) {
         path_ += mark[2];
      }
   }
}

}  // namespace Rtrie
