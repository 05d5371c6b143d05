// ContainerTable: the container routetrie::table as an engine of rtrie. It keeps the table's payloads.
//
// Tested by tests/tools/rtrie/ContainerTableTest.cpp and tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

class ContainerTable final : public RouteTable {
  public:
   explicit ContainerTable(Corenet::AddressFamily af) : af_(af) {}
   void routeIs(const Prefix& route) override { table_.routeIs(route); }
   void routeWithPayloadIs(const Prefix& route, const Payload& payload) override { table_.routeIs(route, payload); }
   std::uint64_t routes() const override { return all().size(); }
   std::uint64_t untrackedBytes() const override { return all().memory().total(); }
   std::vector<BytesFor> bytesByUse() const override;
   Shape shape() const override;
   std::string audit() const override { return all().audit(); }
   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override { return all().has_longer(query); }
   void covering(const Prefix& query, const Visit& visit) const override;
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
   Prefix next(const Prefix& query) const override;
   std::optional<std::string_view> payload(const Prefix& route) const override;
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override;
   void dumpTree(std::ostream& out) const override;
   std::string_view treeLegend() const override;

  private:
   const routetrie::table<U32>& all() const { return table_.routes(); }

   const Corenet::AddressFamily af_;
   PayloadTable table_;
};

}  // namespace Rtrie
