// MrtTable: puts what MRT files say of routes into a RouteSet.
//
// In a table dump most entries are offered just as another prefix is by that peer, a little before. So what such an entry
// offers is kept by the bytes that say it, in a table of fixed size where a newer one takes the place of an older.
// Tested by tests/tools/tables/MrtRoutesTest.cpp.
#pragma once

#include <string>
#include <vector>

#include "tools/tables/RouteSet.h"
#include "tools/tables/mrt/MrtRoutes.h"

namespace Rtrie {

class MrtTable final : public MrtSink {
  public:
   // The routes must outlive the table.
   explicit MrtTable(RouteSet& routes) : routes_(routes), known_(slots) {}

   void entry(const Corenet::IpGenPrefix& prefix, const RibEntry& entry) override;
   void announced(const Corenet::IpGenPrefix& prefix, const OfferText& offer) override;
   void withdrawn(const Corenet::IpGenPrefix& prefix, std::string_view source) override;
   void lost(std::string_view source) override;

  private:
   static constexpr std::size_t slots = std::size_t{1} << 16;
   static constexpr std::size_t mostBytes = 512;  // of attributes that are kept

   struct Known {
      std::string attributes;
      U32 peer = 0;
      std::optional<U32> pathId;
      U8 asBytes = 0;  // 0: an empty slot
      bool isIpv6 = false;
      U32 offer = 0;  // id in the routes
   };

   U32 offerIdOf(const RibEntry& entry);

   RouteSet& routes_;
   std::vector<Known> known_;
   BgpAttributes attributes_;
   std::string payload_;
   std::string source_;
};

}  // namespace Rtrie
