// PatriciaDataTable: the Patricia trie with a payload for each route as an engine of rtrie. It alone keeps the table's
// payloads itself, and it has a walk over the routes that cover a query.
//
// Tested by tests/tools/rtrie/PatriciaDataTableTest.cpp.
#pragma once

#include <map>
#include <string>

#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "tools/rtrie/engines/PatriciaTable.h"

namespace Rtrie {

class PatriciaDataTable final : public CompactPatriciaTable {
  public:
   explicit PatriciaDataTable(Corenet::AddressFamily af);
   void routeIs(const Prefix& route) override;
   void routeWithPayloadIs(const Prefix& route, const Payload& payload) override;
   void covering(const Prefix& query, const Visit& visit) const override;
   std::optional<std::string_view> payload(const Prefix& route) const override;

  private:
   // Routes share it, and setting a route again replaces the one it had.
   struct Data final : Routing::PrefixData {
      explicit Data(std::string_view itsText) : text(itsText) {}
      const std::string text;
   };

   Routing::PatriciaTrieWithCompactNodeData& trie() const {
      return static_cast<Routing::PatriciaTrieWithCompactNodeData&>(*trie_);
   }

   // Each different payload once: a table of a million routes has some hundred countries. The keys are the payloads' own.
   std::map<std::string_view, Corvid::Ptr<Data>> payloads_;
};

}  // namespace Rtrie
