// MrtUpdates: the changes that MRT records tell (RFC 6396), as a collector writes them: what each peer announces and withdraws,
// and the loss of all its routes with its session. Each is a change of what that peer offers, so that a table that was read of
// the peers' routes goes on from there. A record of a table dump is an announcement.
//
// Tested by tests/tools/rtrie/WatchTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tools/rtrie/RouteUpdate.h"
#include "tools/tables/ByteSource.h"
#include "tools/tables/Selection.h"
#include "tools/tables/mrt/BgpAttributes.h"
#include "tools/tables/mrt/MrtRoutes.h"

namespace Rtrie {

class MrtUpdates final : public MrtSink {
  public:
   struct Told {
      std::function<void(const RouteUpdate& update)> apply;
      std::function<void(std::string_view source)> lose;  // as WatchedTable::lose()
      std::function<void(const std::string& what)> fault;
   };
   MrtUpdates(const Selection& selection, Told told)
      : told_(std::move(told)), parser_(selection, *this, told_.fault) {}

   // Reads to the end. isLive: what follows a record may come much later. Raises what the source raises, and DataError where it
   // is no MRT.
   void read(ByteSource& source, bool isLive);

   // What was passed over.
   const MrtRoutes& parser() const { return parser_; }

   void entry(const Corenet::IpGenPrefix& prefix, const RibEntry& entry) override;
   void announced(const Corenet::IpGenPrefix& prefix, const OfferText& offer) override;
   void withdrawn(const Corenet::IpGenPrefix& prefix, std::string_view source) override;
   void lost(std::string_view source) override { told_.lose(source); }

  private:
   const Told told_;
   MrtRoutes parser_;
   BgpAttributes attributes_;
   std::string payload_;
   std::string source_;
};

// Whether bytes that start so are MRT and not text: the high byte of its type is 0 in each record. Requires: 5 bytes, or all.
inline bool startsAsMrt(std::string_view firstBytes) { return firstBytes.size() >= 5 && firstBytes[4] == '\0'; }

}  // namespace Rtrie
