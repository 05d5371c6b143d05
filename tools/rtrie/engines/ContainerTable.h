// ContainerTable: the container routetrie::table as an engine of rtrie. It keeps the table's payloads: the value of a route is the
// number of its payload, 4 bytes that lie in the nodes' own runs.
//
// Tested by tests/tools/rtrie/ContainerTableTest.cpp and tests/tools/rtrie/EngineTest.cpp.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "routetrie/table.h"
#include "tools/rtrie/RouteTable.h"

namespace Rtrie {

class ContainerTable final : public RouteTable {
  public:
   explicit ContainerTable(Corenet::AddressFamily af) : af_(af) {}
   void routeIs(const Prefix& route) override { table_.try_emplace(route, U32{0}); }
   void routeWithPayloadIs(const Prefix& route, const Payload& payload) override;
   std::uint64_t routes() const override { return table_.size(); }
   std::uint64_t untrackedBytes() const override { return table_.memory().total(); }
   std::vector<BytesFor> bytesByUse() const override;

   Prefix longestMatch(const Prefix& query) const override;
   Prefix parent(const Prefix& query) const override;
   bool longerPresent(const Prefix& query) const override { return table_.has_longer(query); }
   void covering(const Prefix& query, const Visit& visit) const override;
   void subtree(const Prefix& query, const Visit& visit) const override;
   void children(const Prefix& query, const Visit& visit) const override;
   Prefix next(const Prefix& query) const override;
   std::optional<std::string_view> payload(const Prefix& route) const override;
   void dump(const Corvid::Ptr<const Keel::DumpContext>& context) const override;
   void dumpTree(std::ostream& out) const override;
   std::string_view treeLegend() const override;

  private:
   const Corenet::AddressFamily af_;
   routetrie::table<U32> table_;
   std::vector<std::string_view> payloads_{{}};  // by their numbers
};

}  // namespace Rtrie
