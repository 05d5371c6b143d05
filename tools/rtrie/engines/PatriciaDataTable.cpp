#include "tools/rtrie/engines/PatriciaDataTable.h"

#include "routetrie/platform/Corvid/Create.h"

namespace Rtrie {

using Corenet::CompactIpPrefix;

namespace {

class CoveringVisitor final : public Routing::PatriciaTrieCompactWalkCb {
  public:
   explicit CoveringVisitor(const RouteTable::Visit& visit) : visit_(visit) {}
   bool handlePrefixData(const CompactIpPrefix& p, const Routing::PrefixData*) override {
      visit_(p.genPrefix());
      return true;
   }

  private:
   const RouteTable::Visit& visit_;
};

}  // namespace

PatriciaDataTable::PatriciaDataTable(Corenet::AddressFamily af)
   : CompactPatriciaTable(Routing::patriciaTrieWithCompactNodeDataFactory(af)) {}

void PatriciaDataTable::routeIs(const Prefix& route) { routeWithPayloadIs(route, {}); }

void PatriciaDataTable::routeWithPayloadIs(const Prefix& route, const Payload& payload) {
   auto place = payloads_.find(payload.text);
   if (place == payloads_.end()) {
      const auto added = Corvid::ptrIsImpl<Data>(payload.text);
      place = payloads_.emplace(added->text, added).first;
   }
   trie().routeCompactIs(CompactIpPrefix(route), place->second);
}

void PatriciaDataTable::covering(const Prefix& query, const Visit& visit) const {
   trie().ancestorWalkCompact(CompactIpPrefix(query), Corvid::ptrIsImpl<CoveringVisitor>(visit).get());
}

std::optional<std::string_view> PatriciaDataTable::payload(const Prefix& route) const {
   const auto found = trie().routeCompact(CompactIpPrefix(route));
   if (!found) {
      return std::nullopt;
   }
   return static_cast<const Data&>(*found).text;
}

}  // namespace Rtrie
