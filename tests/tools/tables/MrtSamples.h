// MrtSamples: MRT files with every kind of record, and the routes that are in them.
#pragma once

#include <string>
#include <vector>

#include "tests/tools/tables/MrtBytes.h"

namespace Rtrie::Mrt {

struct Sample {
   std::string_view name;
   std::string bytes;
   std::vector<std::string> routes;      // "10.0.0.0/8 peer ..." of those that answer
   std::vector<std::string> candidates;  // and of those that lost
   std::string_view told;                // of the file, on standard error, without its name
   bool isBgpdumps = true;               // bgpdump reads all of it, and right
};

inline std::vector<Sample> samples() {
   const Peer four = {"192.0.2.1", 65000};
   const Peer six = {"2001:db8::2", 4200000000};
   const auto index = peerIndex({four, six});
   const auto reach4 = [](std::string_view hop) { return attribute(14, u8(16) + address(hop), 0x80); };
   const auto reach = [](std::string_view hop, const std::string& routes) {
      return attribute(14, u16(2) + u8(1) + u8(16) + address(hop) + u8(0) + routes, 0x80);
   };
   const std::string origin = attribute(1, u8(0));
   const auto dump = [](unsigned subtype, std::string_view prefix, unsigned length, const std::string& peer,
                        const std::string& attributes) {
      return record(12, subtype,
                    u16(0) + u16(1) + address(prefix) + u8(length) + u8(1) + u32(1) + peer +
                       u16(static_cast<unsigned>(attributes.size())) + attributes);
   };
   const auto state = [](const Peer& peer, unsigned before, unsigned after, unsigned subtype) {
      return message(peer, u16(before) + u16(after), subtype);
   };
   const auto keepalive = std::string(16, '\xff') + u16(19) + u8(4);
   return {
      {"table-dump",
       dump(1, "10.0.0.0", 8, address("192.0.2.1") + u16(65000),
            origin + path({65000, 1}, 2) + nextHop("192.0.2.9")) +
          dump(1, "0.0.0.0", 0, address("192.0.2.1") + u16(65000), origin + path({65000}, 2) + nextHop("192.0.2.9")) +
          dump(2, "2001:db8::", 32, address("2001:db8::2") + u16(7),
               origin + path({7, 8}, 2) +
                  attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::9") + u8(0), 0x80)),
       {"0.0.0.0/0 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000",
        "10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1",
        "2001:db8::/32 peer 2001:db8::2 as 7 via 2001:db8::9 path 7 8"},
       {},
       ""},
      {"table-dump-of-large-numbers",
       dump(3, "10.0.0.0", 8, address("192.0.2.1") + u32(400000), origin + path({400000, 1}) + nextHop("192.0.2.9")) +
          dump(
             4, "2001:db8::", 32, address("2001:db8::2") + u32(400001),
             origin + path({400001}) + attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::9") + u8(0), 0x80)),
       {"10.0.0.0/8 peer 192.0.2.1 as 400000 via 192.0.2.9 path 400000 1",
        "2001:db8::/32 peer 2001:db8::2 as 400001 via 2001:db8::9 path 400001"},
       {},
       "",
       false},  // it prints the IPv6 addresses as IPv4 ones
      {"table-dump-2",
       index +
          rib(2, "10.0.0.0/8",
              {entry(0, origin + path({65000, 1, 2}) + nextHop("192.0.2.9")),
               entry(1, origin + path({4200000000, 2}) + nextHop("198.51.100.1"))}) +
          rib(2, "10.1.2.3/32",
              {entry(0, origin + attribute(2, segment(2, {65000}) + segment(1, {5, 4})) + nextHop("192.0.2.9"))}) +
          rib(4, "2001:db8:5::/48", {entry(1, origin + path({4200000000}) + reach4("2001:db8::9"))}) +
          rib(4, "::/0", {entry(1, origin + path({4200000000}) + reach4("2001:db8::9"))}),
       {"10.0.0.0/8 peer 2001:db8::2 as 4200000000 via 198.51.100.1 path 4200000000 2",
        "10.1.2.3/32 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 {5,4}",
        "::/0 peer 2001:db8::2 as 4200000000 via 2001:db8::9 path 4200000000",
        "2001:db8:5::/48 peer 2001:db8::2 as 4200000000 via 2001:db8::9 path 4200000000"},
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1 2"},
       ""},
      {"table-dump-2-of-several-paths",
       index +
          rib(8, "10.0.0.0/8",
              {entryOfPath(0, 7, origin + path({65000, 1}) + nextHop("192.0.2.9")),
               entryOfPath(0, 8, origin + path({65000}) + nextHop("192.0.2.8"))}) +
          rib(10, "2001:db8::/32", {entryOfPath(1, 1, origin + path({4200000000}) + reach4("2001:db8::9"))}),
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.8 path 65000",
        "2001:db8::/32 peer 2001:db8::2 as 4200000000 via 2001:db8::9 path 4200000000"},
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1"},
       ""},
      {"table-dump-2-of-other-kinds",
       index + rib(3, "224.0.0.0/4", {entry(0, origin + path({65000}))}) +
          rib(5, "ff00::/8", {entry(0, origin + path({65000}))}) +
          rib(9, "224.0.0.0/4", {entryOfPath(0, 1, origin + path({65000}))}) +
          rib(11, "ff00::/8", {entryOfPath(0, 1, origin + path({65000}))}) +
          record(13, 6, u32(0) + u16(1) + u8(1) + nlri("10.0.0.0/8") + u16(1) + entry(0, origin + path({65000}))) +
          record(13, 12,
                 u32(0) + u16(2) + u8(1) + nlri("2001:db8::/32") + u16(1) +
                    entryOfPath(1, 3, origin + path({4200000000}))) +
          record(13, 6, u32(0) + u16(25) + u8(65) + "what not") + record(13, 7, "somewhere"),
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 path 65000",
        "2001:db8::/32 peer 2001:db8::2 as 4200000000 path 4200000000"},
       {},
       "left out what is no unicast route of a peer: AFI 25 SAFI 65 (1), IPv4 multicast (2), IPv6 multicast (2), "
       "places of "
       "peers (1)",
       false},
      {"updates",
       message(
          four,
          update("", origin + path({65000, 1}, 2) + nextHop("192.0.2.9"), nlri("10.0.0.0/8") + nlri("11.0.0.0/8")),
          1) +
          message(four, update("", origin + path({65000, 2}) + nextHop("192.0.2.9"),
                               nlri("12.0.0.0/8") + nlri("0.0.0.0/0"))) +
          message(four, update(nlri("11.0.0.0/8"), "", "")) +
          message(
             six,
             update("",
                    origin + path({4200000000}) + reach("2001:db8::9", nlri("2001:db8::/32") + nlri("2001:db9::/32")),
                    ""),
             4, 17) +
          message(six, update("", attribute(15, u16(2) + u8(1) + nlri("2001:db9::/32"), 0x80), "")) +
          message(four, keepalive),
       {"0.0.0.0/0 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 2",
        "10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1",
        "12.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 2",
        "2001:db8::/32 peer 2001:db8::2 as 4200000000 via 2001:db8::9 path 4200000000"},
       {},
       ""},
      {"updates-of-several-paths",
       message(four, update("", origin + path({65000, 1}, 2) + nextHop("192.0.2.9"), u32(1) + nlri("10.0.0.0/8")),
               8) +
          message(four,
                  update("", origin + path({65000}) + nextHop("192.0.2.8"),
                         u32(2) + nlri("10.0.0.0/8") + u32(1) + nlri("11.0.0.0/8")),
                  9) +
          message(four, update(u32(1) + nlri("11.0.0.0/8"), "", ""), 9),
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.8 path 65000"},
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000 1"},
       ""},
      {"sessions",
       message(four, update("", origin + path({65000}) + nextHop("192.0.2.9"), nlri("10.0.0.0/8"))) +
          message({"192.0.2.2", 7}, update("", origin + path({7, 8}, 2) + nextHop("192.0.2.9"), nlri("10.0.0.0/8")),
                  1) +
          message({"192.0.2.3", 9}, update("", origin + path({9}, 2) + nextHop("192.0.2.9"), nlri("11.0.0.0/8")), 1) +
          state(four, 6, 1, 5) + state({"192.0.2.3", 9}, 6, 1, 0) + state({"192.0.2.2", 7}, 5, 6, 0),
       {"10.0.0.0/8 peer 192.0.2.2 as 7 via 192.0.2.9 path 7 8"},
       {},
       ""},
      {"messages-of-the-collector",
       message(four, update("", origin + path({65000}) + nextHop("192.0.2.9"), nlri("10.0.0.0/8"))) +
          message(four, update("", origin + path({65000}, 2), nlri("11.0.0.0/8")), 6) +
          message(four, update("", origin + path({65000}), nlri("11.0.0.0/8")), 7) +
          message(four, update("", origin + path({65000}, 2), u32(1) + nlri("11.0.0.0/8")), 10) +
          message(four, update("", origin + path({65000}), u32(1) + nlri("11.0.0.0/8")), 11) +
          record(11, 0, "sixteen bytes ..") + record(48, 0, "sixteen bytes ..") + record(49, 0, "sixteen bytes ..") +
          record(32, 0, "sixteen bytes ..") + record(33, 0, "sixteen bytes .."),
       {"10.0.0.0/8 peer 192.0.2.1 as 65000 via 192.0.2.9 path 65000"},
       {},
       "left out what is no unicast route of a peer: IS-IS records (2), OSPFv2 records (1), OSPFv3 records (2), "
       "messages "
       "that the collector sent (4)",
       false},
   };
}

}  // namespace Rtrie::Mrt
