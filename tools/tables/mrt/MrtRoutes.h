// MrtRoutes: what the records of an MRT file (RFC 6396, RFC 8050) say of routes: those of table dumps, and the changes that
// BGP messages bring.
//
//    TABLE_DUMP           a route of one peer
//    TABLE_DUMP_V2        PEER_INDEX_TABLE: the peers; then a prefix a record, with an entry for each peer (and path) that has it
//    BGP4MP, BGP4MP_ET    a message from a peer: routes withdrawn and announced; or its state: when it leaves Established,
//                         all its routes are gone
//
// Only unicast routes of IPv4 and IPv6 are read. Other families, messages that the collector itself has sent and records of
// other protocols are left out and counted. An announcement whose attributes cannot be read withdraws (RFC 7606).
// Tested by tests/tools/tables/MrtRoutesTest.cpp.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"
#include "tools/tables/ByteCursor.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"
#include "tools/tables/mrt/BgpAttributes.h"
#include "tools/tables/mrt/MrtRecords.h"

namespace Rtrie {

struct MrtPeer {
   U32 id = 0;  // from 0, in the order in which they are met
   std::string address;
   U32 as = 0;
   std::string source;  // "ADDRESS AS"
   bool isWanted = true;
   std::uint64_t leftOut = 0;  // routes and messages, if it is not
};

// An entry of a table dump.
struct RibEntry {
   const MrtPeer& peer;
   std::optional<U32> pathId;
   std::span<const U8> attributes;
   AttributeContext context;
};

// What is done with what is read. The views hold for the time of the call.
class MrtSink {
  public:
   virtual ~MrtSink() = default;
   // May raise BadText where the entry's attributes cannot be read.
   virtual void entry(const Corenet::IpGenPrefix& prefix, const RibEntry& entry) = 0;
   virtual void announced(const Corenet::IpGenPrefix& prefix, const OfferText& offer) = 0;
   virtual void withdrawn(const Corenet::IpGenPrefix& prefix, std::string_view source) = 0;
   // All routes whose source is this one, or this one and a path's number.
   virtual void lost(std::string_view source) = 0;
};

class MrtRoutes {
  public:
   // Called for each part of a record that cannot be read: "record 3 at byte 120: entry 2: ..."
   using Tell = std::function<void(const std::string& what)>;

   MrtRoutes(const Selection& selection, MrtSink& sink, Tell tell);

   // Reads the record and returns how many bytes of its body that took, up to a fault if it has one.
   std::size_t read(const MrtRecord& record);

   // Prefixes with bits past their length, which were cleared: RFC 4271 has them mean nothing.
   std::uint64_t masked() const { return masked_; }
   // Routes and messages of unwanted peers.
   LeftOut otherPeers() const;
   // "IPv4 multicast", "messages sent by the collector", "OSPFv2"
   const LeftOut& otherKinds() const { return otherKinds_; }

  private:
   void peerIndex(ByteCursor& body);
   void tableDump(const MrtRecord& record, ByteCursor& body);
   void rib(const MrtRecord& record, ByteCursor& body);
   void entries(ByteCursor& body, const Corenet::IpGenPrefix* prefix, bool hasPathIds);
   void bgp4mp(const MrtRecord& record, ByteCursor& body);
   void update(ByteCursor& message, MrtPeer& peer, unsigned asBytes, bool hasPathIds);
   void fault(std::string_view what);
   void leaveOut(MrtPeer& peer) { ++peer.leftOut; }

   MrtPeer& peerOf(std::span<const U8> address, U32 as);
   Corenet::IpGenPrefix takePrefix(ByteCursor& bytes, bool isIpv6);
   template <class Each>
   void forEachNlri(std::span<const U8> nlri, bool isIpv6, bool hasPathIds, Each&& each);

   const Selection selection_;
   MrtSink& sink_;
   const Tell tell_;
   std::uint64_t number_ = 0;  // of the record at hand
   std::uint64_t offset_ = 0;
   std::deque<MrtPeer> peers_;
   std::map<std::pair<std::string, U32>, MrtPeer*> peerByName_;  // the bytes of the address, and the AS
   std::vector<MrtPeer*> index_;
   bool hasIndex_ = false;
   BgpAttributes attributes_;
   std::string payload_;
   std::string source_;
   std::uint64_t masked_ = 0;
   LeftOut otherKinds_;
};

// What an entry offers: "peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 65001", ranked by the length of the path. The views
// are of the two texts given.
OfferText offerOf(const MrtPeer& peer, std::optional<U32> pathId, const BgpAttributes& attributes, bool isIpv6,
                  std::string& payload, std::string& source);

}  // namespace Rtrie
