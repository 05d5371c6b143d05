// BgpAttributes: the path attributes of a BGP route (RFC 4271), as far as they tell where a route leads: AS_PATH and AS4_PATH
// (RFC 6793), NEXT_HOP, and MP_REACH_NLRI and MP_UNREACH_NLRI (RFC 4760).
//
// An AS path is spelled as bgpdump does: {1,2} is a set, (1 2) and [1,2] are a confederation's sequence and set.
// Tested by tests/tools/tables/BgpAttributesTest.cpp.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"

namespace Rtrie {

// The numbers of address families and of what they are for.
inline constexpr U16 afiIpv4 = 1;
inline constexpr U16 afiIpv6 = 2;
inline constexpr U8 safiUnicast = 1;
inline constexpr U8 safiMulticast = 2;

// Where the attributes stand, which decides on how they are spelled.
struct AttributeContext {
   unsigned asBytes = 4;  // of the numbers in AS_PATH, 2 or 4
   bool isTable = false;  // of a table dump, where MP_REACH_NLRI has the next hop alone
   bool hasIpv6 = false;  // of a route of a table dump: which family its next hop may have
};

// Routes of one family that an update brings or takes.
struct MultiprotocolRoutes {
   U16 afi = 0;
   U8 safi = 0;
   std::span<const U8> nlri;
};

class BgpAttributes {
  public:
   // Reads all attributes. Raises BadText at the first that cannot be read, and what was read before it is lost. The views
   // hold as long as the bytes.
   void read(std::span<const U8> bytes, const AttributeContext& context);

   // Empty for a route of the AS itself.
   const std::string& path() const { return path_; }
   // ASs that count for its length: a set counts as one, a confederation's as none.
   U32 pathLength() const { return pathLength_; }
   // Empty if it is not told.
   const std::string& nextHop() const { return nextHop_; }
   const std::string& nextHop6() const { return nextHop6_; }

   const std::optional<MultiprotocolRoutes>& reached() const { return reached_; }
   const std::optional<MultiprotocolRoutes>& unreached() const { return unreached_; }

  private:
   struct Segment {
      U8 kind;
      std::size_t first;  // in ases_
      std::size_t count;
   };
   struct Path {
      std::vector<Segment> segments;
      std::vector<U32> ases;
      void clear() {
         segments.clear();
         ases.clear();
      }
      void read(std::span<const U8> bytes, unsigned asBytes, std::string_view name);
      U32 length() const;
   };

   void readReached(std::span<const U8> bytes, const AttributeContext& context);
   void nextHopsAre(std::span<const U8> bytes);
   void join();
   void spell();

   Path asPath_;
   Path as4Path_;
   std::string path_;
   U32 pathLength_ = 0;
   std::string nextHop_;
   std::string nextHop6_;
   std::optional<MultiprotocolRoutes> reached_;
   std::optional<MultiprotocolRoutes> unreached_;
};

// The text of an address of 4 or 16 bytes.
std::string addressText(std::span<const U8> bytes);

}  // namespace Rtrie
