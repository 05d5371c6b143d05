// MrtRoutes and MrtTable: what records say, as the table that it makes.
#include "tools/tables/mrt/MrtRoutes.h"

#include <fmt/format.h>

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"
#include "tools/tables/mrt/MrtTable.h"

namespace Rtrie {
namespace MrtRoutesTest {

using namespace Mrt;
using testing::ElementsAre;

class TextSource final : public ByteSource {
  public:
   explicit TextSource(std::string text) : text_(std::move(text)) {}
   std::size_t read(char* to, std::size_t room) override {
      const std::size_t got = text_.copy(to, room, at_);
      at_ += got;
      return got;
   }

  private:
   std::string text_;
   std::size_t at_ = 0;
};

struct Read {
   std::vector<std::string> routes;      // "10.0.0.0/8 peer 192.0.2.1 as 1 ..."
   std::vector<std::string> candidates;  // the others of those prefixes, with who offers them
   std::vector<std::string> faults;
   std::string otherPeers;
   std::string otherKinds;
   std::uint64_t masked = 0;
};

Read read(const std::string& bytes, std::string_view peer = "") {
   RouteSet set;
   set.candidatesAreKept();
   Read result;
   TextSource source(bytes);
   const auto tell = [&](const std::string& what) { result.faults.push_back(what); };
   Selection selection;
   if (!peer.empty()) {
      selection.peer.emplace(peer);
   }
   MrtRecords records(source, tell);
   MrtTable table(set);
   MrtRoutes parser(selection, table, tell);
   while (const auto record = records.next()) {
      records.readUpTo(parser.read(*record));
   }
   result.routes = Support::textOf(set);
   for (const auto af : {Corenet::AddressFamily::ipv4, Corenet::AddressFamily::ipv6}) {
      set.forEach(af, [&](const Corenet::IpGenPrefix& route) {
         for (const Candidate& each : set.candidates(route)) {
            if (!each.chosen) {
               result.candidates.push_back(fmt::format("{} {} [{}]", route.stringValue(), each.payload, each.source));
            }
         }
      });
   }
   result.otherPeers = parser.otherPeers().names();
   result.otherKinds = parser.otherKinds().names();
   result.masked = parser.masked();
   return result;
}

const Peer one = {"192.0.2.1", 65000};
const Peer two = {"2001:db8::2", 4200000000};
const std::string index2 = peerIndex({one, two});
const std::string byOne = path({65000, 1, 2}) + nextHop("192.0.2.254");
const std::string byTwo = path({4200000000, 2}) + nextHop("198.51.100.1");
std::string reach(std::string_view hop, const std::string& routes) {
   return attribute(14, u16(2) + u8(1) + u8(16) + address(hop) + u8(0) + routes);
}
std::string unreach(const std::string& routes, unsigned safi = 1) {
   return attribute(15, u16(2) + u8(safi) + routes);
}

TEST(MrtRoutes, aTableOfPeers) {
   const auto bytes =
      index2 + rib(2, "10.0.0.0/8", {entry(0, byOne), entry(1, byTwo)}) + rib(2, "0.0.0.0/0", {entry(0, byOne)}) +
      rib(4, "2001:db8:5::/48", {entry(1, path({4200000000}) + attribute(14, u8(16) + address("2001:db8::9")))});
   const auto result = read(bytes);
   EXPECT_THAT(result.faults, ElementsAre());
   EXPECT_THAT(result.routes,
               ElementsAre("0.0.0.0/0 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2",
                           "10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2",
                           "2001:db8:5::/48 peer 2001:db8::2 as 4200000000 via 2001:db8::9 path 4200000000"));
   EXPECT_THAT(result.candidates,
               ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2 [192.0.2.1 65000]"));
   EXPECT_EQ("", result.otherPeers + result.otherKinds);
}

TEST(MrtRoutes, onePeerOrAll) {
   const auto bytes = index2 + rib(2, "10.0.0.0/8", {entry(0, byOne), entry(1, byTwo)}) +
                      message(one, update("", byOne, nlri("11.0.0.0/8")));
   for (const auto peer : {"2001:db8::2", "4200000000", "AS4200000000"}) {
      const auto result = read(bytes, peer);
      EXPECT_THAT(result.routes,
                  ElementsAre("10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2"));
      EXPECT_EQ("192.0.2.1 65000 (2)", result.otherPeers);
   }
   EXPECT_EQ(read(bytes).routes, read(bytes, "all").routes);
   EXPECT_EQ(read(bytes).candidates, read(bytes, "all").candidates);
}

TEST(MrtRoutes, severalPathsOfOnePeer) {
   const auto bytes = index2 + rib(8, "10.0.0.0/8", {entryOfPath(0, 7, byOne), entryOfPath(0, 8, path({65000}))});
   const auto result = read(bytes);
   EXPECT_THAT(result.routes, ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 path 65000"));
   EXPECT_THAT(result.candidates,
               ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2 [192.0.2.1 65000 7]"));
   const auto changes = message(one, update("", path({65000, 5}), u32(7) + nlri("10.0.0.0/8")), 9) +
                        message(one, update(u32(8) + nlri("10.0.0.0/8"), "", ""), 9);
   const auto after = read(bytes + changes);
   EXPECT_THAT(after.routes, ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 path 65000 5"));
   EXPECT_THAT(after.candidates, ElementsAre());
}

TEST(MrtRoutes, theOlderTableDump) {
   const auto dump = [](unsigned subtype, std::string_view prefix, unsigned length, const std::string& peer,
                        const std::string& attributes) {
      return record(12, subtype,
                    u16(0) + u16(1) + address(prefix) + u8(length) + u8(1) + u32(1) + peer +
                       u16(static_cast<unsigned>(attributes.size())) + attributes);
   };
   const auto result = read(dump(1, "10.0.0.0", 8, address("192.0.2.1") + u16(65000), path({65000, 1}, 2)) +
                            dump(3, "11.0.0.0", 8, address("192.0.2.1") + u32(400000), path({400000})) +
                            dump(2, "2001:db8::", 32, address("2001:db8::2") + u16(7), path({7}, 2)) +
                            dump(1, "12.0.0.0", 33, address("192.0.2.1") + u16(65000), "") +
                            dump(9, "12.0.0.0", 8, address("192.0.2.1") + u16(65000), ""));
   EXPECT_THAT(result.routes, ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 path 65000 1",
                                          "11.0.0.0/8 peer 192.0.2.1 as 400000 path 400000",
                                          "2001:db8::/32 peer 2001:db8::2 as 7 path 7"));
   ASSERT_EQ(2U, result.faults.size());
   EXPECT_THAT(result.faults[0], testing::EndsWith("prefix length 33 exceeds 32"));
}

TEST(MrtRoutes, updatesInTheirOrder) {
   const auto result = read(
      message(one, update("", byOne, nlri("10.0.0.0/8") + nlri("11.0.0.0/8") + nlri("0.0.0.0/0"))) +
      message({"192.0.2.2", 7}, update("", path({7}), nlri("10.0.0.0/8"))) +
      message({"192.0.2.2", 7}, update(nlri("10.0.0.0/8"), "", "")) +
      message(one, update(nlri("11.0.0.0/8"), path({65000, 9}), nlri("11.0.0.0/8"))) +
      message(one,
              update("", path({65000}) + reach("2001:db8::9", nlri("2001:db8:1::/48") + nlri("2001:db8:2::/48")), ""),
              4, 17) +
      message(one, update("", unreach(nlri("2001:db8:1::/48")), "")) +
      message(one,
              update("", path({65000, 23456}, 2) + attribute(17, segment(2, {65000, 400000})), nlri("12.0.0.0/8")),
              1));
   EXPECT_THAT(result.faults, ElementsAre());
   EXPECT_THAT(result.routes, ElementsAre("0.0.0.0/0 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2",
                                          "10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2",
                                          "11.0.0.0/8 peer 192.0.2.1 as 65000 path 65000 9",
                                          "12.0.0.0/8 peer 192.0.2.1 as 65000 path 65000 400000",
                                          "2001:db8:2::/48 peer 192.0.2.1 as 65000 via 2001:db8::9 path 65000"));
   EXPECT_THAT(result.candidates, ElementsAre());
}

// A session that ends takes all that came over it, with the paths by number, and nothing that comes later.
TEST(MrtRoutes, aPeerThatIsLost) {
   const auto state = [](unsigned before, unsigned after) { return message(one, u16(before) + u16(after), 5); };
   const auto up = index2 + rib(2, "10.0.0.0/8", {entry(0, byOne), entry(1, byTwo)}) +
                   rib(2, "11.0.0.0/8", {entry(0, byOne)}) + rib(8, "12.0.0.0/8", {entryOfPath(0, 1, byOne)});
   EXPECT_EQ(3U, read(up + state(5, 6) + state(3, 4)).routes.size());
   EXPECT_THAT(read(up + state(6, 1)).routes,
               ElementsAre("10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2"));
   EXPECT_THAT(read(up + state(6, 1)).candidates, ElementsAre());
   EXPECT_THAT(read(up + state(6, 1) + rib(2, "11.0.0.0/8", {entry(0, byOne)}) +
                    message(one, update("", byOne, nlri("13.0.0.0/8"))))
                  .routes,
               ElementsAre("10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2",
                           "11.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2",
                           "13.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2"));
}

TEST(MrtRoutes, otherKindsAreCounted) {
   const auto vpn = attribute(14, u16(1) + u8(128) + u8(12) + std::string(12, '\0') + u8(0) + "anything");
   const auto result =
      read(index2 + rib(3, "224.0.0.0/4", {entry(0, byOne)}) + rib(5, "ff00::/8", {entry(0, byOne)}) +
           record(13, 6, u32(0) + u16(25) + u8(65) + "what not") +
           record(13, 6, u32(0) + u16(2) + u8(1) + nlri("2001:db8::/32") + u16(1) + entry(1, byTwo)) +
           record(11, 0, "12345678") + message(one, update("", byOne + vpn, nlri("10.0.0.0/8"))) +
           message(one, update("", byOne, nlri("11.0.0.0/8")), 7));
   EXPECT_THAT(result.faults, ElementsAre());
   EXPECT_THAT(result.routes,
               ElementsAre("10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2",
                           "2001:db8::/32 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2"));
   EXPECT_EQ(
      "AFI 25 SAFI 65 (1), IPv4 SAFI 128 (1), IPv4 multicast (1), IPv6 multicast (1), OSPFv2 records (1), "
      "messages that the collector sent (1)",
      result.otherKinds);
}

TEST(MrtRoutes, bitsPastTheLengthMeanNothing) {
   const auto result = read(message(one, update("", byOne, nlri("11.13.0.0/13"))));
   EXPECT_THAT(result.routes, ElementsAre("11.8.0.0/13 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2"));
   EXPECT_EQ(1U, result.masked);
}

TEST(MrtRoutes, oneBadEntryCostsItself) {
   const auto result =
      read(index2 + rib(2, "10.0.0.0/8", {entry(0, attribute(2, u8(2))), entry(7, byOne), entry(1, byTwo)}));
   EXPECT_THAT(result.routes,
               ElementsAre("10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2"));
   const auto at = fmt::format("record 2 at byte {}: ", index2.size());
   EXPECT_THAT(result.faults, ElementsAre(at + "entry 1 of 3: the AS path takes 1 byte where 0 are left",
                                          at + "entry 2 of 3: no peer 7 in the index of 2"));
   EXPECT_THAT(read(rib(2, "10.0.0.0/8", {entry(0, byOne)})).faults,
               ElementsAre("record 1 at byte 0: entry 1 of 1: no index of peers before it"));
}

TEST(MrtRoutes, anUpdateThatCannotBeReadWithdraws) {
   const auto result = read(message(one, update("", byOne, nlri("10.0.0.0/8") + nlri("11.0.0.0/8"))) +
                            message(one, update("", attribute(2, u8(2)), nlri("10.0.0.0/8"))));
   EXPECT_THAT(result.routes, ElementsAre("11.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.254 path 65000 1 2"));
   ASSERT_EQ(1U, result.faults.size());
   EXPECT_THAT(result.faults[0],
               testing::EndsWith("the AS path takes 1 byte where 0 are left: its routes are withdrawn"));
}

TEST(MrtRoutes, numbersOfPathsThatTheSubtypeDoesNotTell) {
   const auto result = read(message(one, update("", byOne, u32(1) + nlri("172.17.0.0/24"))));
   ASSERT_EQ(1U, result.faults.size());
   EXPECT_THAT(
      result.faults[0],
      testing::EndsWith("prefix length 172 exceeds 32 (there are numbers of paths before its prefixes, which its "
                        "subtype doesn't tell)"));
}

TEST(MrtRoutes, faultsOfMessages) {
   const auto faultOf = [](const std::string& bytes) {
      const auto faults = read(bytes).faults;
      return faults.size() == 1 ? faults[0] : testing::PrintToString(faults);
   };
   EXPECT_EQ("record 1 at byte 0: a message of 18 bytes",
             faultOf(message(one, std::string(16, '\xff') + u16(18) + u8(2))));
   EXPECT_EQ("record 1 at byte 0: a message takes 81 bytes where 0 are left",
             faultOf(message(one, std::string(16, '\xff') + u16(100) + u8(2))));
   EXPECT_EQ("record 1 at byte 0: 3 bytes behind its end", faultOf(message(one, update("", "", "") + "abc")));
   EXPECT_EQ("record 1 at byte 0: a peer of the unknown address family 9",
             faultOf(record(16, 4, u32(1) + u32(1) + u16(0) + u16(9) + std::string(40, 'x'))));
   EXPECT_EQ("record 1 at byte 0: unknown kind: type 16, subtype 3", faultOf(record(16, 3, std::string(40, 'x'))));
}

// The table of what is known must not mix up peers, paths, families, or what was offered before a peer was lost.
TEST(MrtTable, manyDifferentOffers) {
   std::string bytes = index2;
   std::vector<std::string> expected;
   for (unsigned i = 0; i < 2000; ++i) {
      const auto prefix = fmt::format("10.{}.{}.0/24", i / 256, i % 256);
      bytes += rib(2, prefix, {entry(i % 2, path({i % 97 + 1}))});
      expected.push_back(fmt::format("{} peer {} as {} path {}", prefix, i % 2 == 0 ? "192.0.2.1" : "2001:db8::2",
                                     i % 2 == 0 ? 65000U : 4200000000U, i % 97 + 1));
   }
   EXPECT_EQ(expected, read(bytes).routes);
}

}  // namespace MrtRoutesTest
}  // namespace Rtrie
