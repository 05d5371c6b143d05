// RouteMessage: messages that a kernel has sent, beside what `ip` said of them; and the same ones damaged.
#include "tools/tables/kernel/RouteMessage.h"

#include <fmt/format.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <random>

#include "Support.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/formats/IpRouteLines.h"

namespace Rtrie {
namespace RouteMessageTest {

// A message in memory of exactly its size, so that a sanitizer sees what is read beyond.
class Message {
  public:
   explicit Message(const std::string& bytes) : words_(new U32[(bytes.size() + 3) / 4]), bytes_(bytes.size()) {
      std::memcpy(words_.get(), bytes.data(), bytes.size());
   }
   const nlmsghdr& header() const { return *reinterpret_cast<const nlmsghdr*>(words_.get()); }

  private:
   std::unique_ptr<U32[]> words_;
   std::size_t bytes_;
};

struct Recorded {
   std::string placing;
   std::string line;
   std::string bytes;
};

std::vector<Recorded> recordings() {
   std::ifstream file(std::string(ROUTETRIE_SOURCE_DIR) + "/tests/tools/tables/recordings/rtnetlink-routes.txt");
   std::vector<Recorded> all;
   for (std::string line, hex; std::getline(file, line);) {
      if (line.starts_with('#')) {
         continue;
      }
      std::getline(file, hex);
      Recorded each;
      const auto blank = line.find(' ');
      each.placing = line.substr(0, blank);
      each.line = line.substr(blank + 1);
      for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
         each.bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
      }
      all.push_back(each);
   }
   return all;
}

const KernelNames& names() {
   static const KernelNames all = [] {
      KernelNames names = KernelNames::ofThisMachine();
      names.links = {{1, "lo"}, {2, "d0p"}, {3, "d0"}};
      return names;
   }();
   return all;
}

std::string_view nameOf(const KernelRoute& route) {
   if (route.isWithdrawal) {
      return "gone";
   }
   switch (route.placing) {
      case Placing::unsaid: return "unsaid";
      case Placing::replaces: return "replaces";
      case Placing::first: return "first";
      case Placing::last: return "last";
      case Placing::alone: return "alone";
   }
   return "";
}

TEST(RouteMessage, saysWhatIpSays) {
   const auto all = recordings();
   ASSERT_EQ(34U, all.size());
   for (const Recorded& each : all) {
      const auto route = routeOf(Message(each.bytes).header(), names());
      ASSERT_TRUE(route) << each.line;
      EXPECT_EQ(each.line, route->line);
      EXPECT_EQ(each.placing, nameOf(*route)) << each.line;
      EXPECT_EQ(route->routeTable != 254, each.line.find(" table ") != std::string::npos) << each.line;
   }
}

TEST(RouteMessage, whatHasNoNameIsANumber) {
   const auto all = recordings();
   const auto route = routeOf(Message(all[5].bytes).header(), KernelNames());
   EXPECT_EQ("0.0.0.0/0 via 192.0.2.1 dev if3 proto 16 src 192.0.2.254 metric 100", route->line);
}

//--- messages put together by hand ---

std::string number(U32 value, std::size_t bytes = 4) { return {reinterpret_cast<const char*>(&value), bytes}; }
std::string attribute(unsigned kind, const std::string& value) {
   std::string text = number(static_cast<U32>(value.size()) + 4, 2) + number(kind, 2) + value;
   text.resize((text.size() + 3) / 4 * 4);
   return text;
}
std::string message(unsigned type, const std::string& body) {
   return number(static_cast<U32>(body.size()) + 16) + number(type, 2) + number(0, 2) + number(0) + number(0) + body;
}
std::string routeHead(U8 family, U8 length, U8 type = RTN_UNICAST, U32 flags = 0) {
   const char bytes[] = {
      static_cast<char>(family), static_cast<char>(length), 0, 0, static_cast<char>(RT_TABLE_MAIN), RTPROT_BOOT, 0,
      static_cast<char>(type)};
   return std::string(bytes, sizeof bytes) + number(flags);
}
std::optional<KernelRoute> routeIn(const std::string& body, unsigned type = RTM_NEWROUTE) {
   return routeOf(Message(message(type, body)).header(), names());
}
std::string faultOf(const std::string& body) {
   try {
      const auto route = routeIn(body);
      return route ? "no fault: " + route->line : "no route";
   } catch (const BadText& fault) {
      return fault.what();
   }
}
const std::string ten = attribute(RTA_DST, std::string("\x0a\0\0\0", 4));

TEST(RouteMessage, whatIsNoRouteOfATable) {
   EXPECT_TRUE(routeIn(routeHead(AF_INET, 8) + ten));
   EXPECT_FALSE(routeIn(routeHead(AF_INET, 8) + ten, RTM_NEWLINK));
   EXPECT_FALSE(routeIn(routeHead(AF_MPLS, 8) + ten));
   EXPECT_FALSE(routeIn(routeHead(RTNL_FAMILY_IPMR, 8) + ten));
   EXPECT_FALSE(routeIn(routeHead(AF_INET, 8, RTN_UNICAST, RTM_F_CLONED) + ten));
}

TEST(RouteMessage, aTunnelIsNamed) {
   const auto labels = attribute(RTA_ENCAP, attribute(1, std::string("\0\x06\x40\0\0\x0c\x81\0", 8)));
   EXPECT_EQ("10.0.0.0/8 encap mpls 100/200 via 192.0.2.1 dev d0",
             routeIn(routeHead(AF_INET, 8) + ten + labels + attribute(RTA_ENCAP_TYPE, number(1, 2)) +
                     attribute(RTA_GATEWAY, "\xc0" + std::string("\0\2\1", 3)) + attribute(RTA_OIF, number(3)))
                ->line);
   EXPECT_EQ("10.0.0.0/8 encap seg6",
             routeIn(routeHead(AF_INET, 8) + ten + attribute(RTA_ENCAP_TYPE, number(5, 2)))->line);
   EXPECT_EQ("10.0.0.0/8 encap 77",
             routeIn(routeHead(AF_INET, 8) + ten + attribute(RTA_ENCAP_TYPE, number(77, 2)))->line);
}

// As the words say, such a route answers nothing.
TEST(RouteMessage, aRouteWhoseLinkIsDown) {
   const auto route = routeIn(routeHead(AF_INET, 8, RTN_UNICAST, RTNH_F_DEAD | RTNH_F_LINKDOWN) + ten);
   EXPECT_EQ("10.0.0.0/8 dead linkdown", route->line);
   EXPECT_TRUE(routeAttributesOf("dead linkdown").isDead);
}

TEST(RouteMessage, whatContradictsItself) {
   EXPECT_EQ("prefix length 33 exceeds 32", faultOf(routeHead(AF_INET, 33) + ten));
   EXPECT_EQ("prefix length 129 exceeds 128", faultOf(routeHead(AF_INET6, 129)));
   EXPECT_EQ("an address of 4 bytes", faultOf(routeHead(AF_INET6, 8) + ten));
   EXPECT_EQ("an address of 3 bytes", faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_GATEWAY, "abc")));
   EXPECT_EQ("an address of 5 bytes", faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_PREFSRC, "abcde")));
   EXPECT_EQ("a gateway of 3 bytes", faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_VIA, "abc")));
   EXPECT_EQ("attribute 4 has 2 bytes, and not 4", faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_OIF, "ab")));
   EXPECT_EQ("attribute 20 has 0 bytes, and not 1", faultOf(routeHead(AF_INET6, 8) + attribute(RTA_PREF, "")));
   EXPECT_EQ(
      "a next hop of 200 bytes where 8 are left",
      faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_MULTIPATH, number(200, 2) + number(0, 2) + number(3))));
   EXPECT_EQ(
      "a next hop of 0 bytes where 8 are left",
      faultOf(routeHead(AF_INET, 8) + ten + attribute(RTA_MULTIPATH, number(0, 2) + number(0, 2) + number(3))));
   EXPECT_EQ("a message of 20 bytes", faultOf("abcd"));
   // Of a byte that is missing, the attribute goes, and nothing before it.
   EXPECT_EQ("no fault: 10.0.0.0/8",
             faultOf(routeHead(AF_INET, 8) + ten + number(9, 2) + number(RTA_OIF, 2) + "abcd"));
}

TEST(RouteMessage, bytesChangedAtRandom) {
   const auto all = recordings();
   const auto seed = std::random_device()();
   SCOPED_TRACE(fmt::format("seed {}", seed));
   std::mt19937 random(seed);
   std::size_t read = 0;
   std::size_t bad = 0;
   for (int i = 0; i < 20'000; ++i) {
      auto bytes = all[random() % all.size()].bytes;
      for (auto changes = random() % 4 + 1; changes > 0; --changes) {
         bytes[16 + random() % (bytes.size() - 16)] = static_cast<char>(random());
      }
      bytes.resize(16 + random() % (bytes.size() - 15));
      bytes.replace(0, 4, number(static_cast<U32>(bytes.size())));
      const Message damaged(bytes);
      try {
         if (const auto route = routeOf(damaged.header(), names())) {
            EXPECT_LT(route->line.size(), 2000U);
            ++read;
         }
         linkOf(damaged.header());
      } catch (const BadText&) {
         ++bad;
      }
   }
   EXPECT_GT(read, 1000U);
   EXPECT_GT(bad, 1000U);
}

//--- devices ---

std::string linkHead(int index, unsigned flags, U8 family = AF_UNSPEC) {
   return std::string(1, static_cast<char>(family)) + '\0' + number(1, 2) + number(static_cast<U32>(index)) +
          number(flags) + number(0);
}
std::string vrf(U32 table) {
   return attribute(IFLA_LINKINFO, attribute(IFLA_INFO_KIND, std::string("vrf\0", 4)) +
                                      attribute(IFLA_INFO_DATA, attribute(IFLA_VRF_TABLE, number(table))));
}

TEST(RouteMessage, aDeviceAndAVrf) {
   const auto name = attribute(IFLA_IFNAME, std::string("vrf-a\0", 6));
   const auto link = linkOf(Message(message(RTM_NEWLINK, linkHead(7, 0x10043) + name + vrf(100))).header());
   ASSERT_TRUE(link);
   EXPECT_EQ(7U, link->index);
   EXPECT_EQ("vrf-a", link->name);
   EXPECT_EQ(100U, link->vrfTable);
   EXPECT_EQ(0x10041U, link->flags);
   EXPECT_EQ(0U, link->master);
   EXPECT_FALSE(link->isGone);
   const auto slave =
      linkOf(Message(message(RTM_DELLINK, linkHead(8, 0) + name + attribute(IFLA_MASTER, number(7)) +
                                             attribute(IFLA_LINKINFO, attribute(IFLA_INFO_KIND, "veth"))))
                .header());
   EXPECT_EQ(7U, slave->master);
   EXPECT_TRUE(slave->isGone);
   EXPECT_FALSE(slave->vrfTable);
   EXPECT_FALSE(linkOf(Message(message(RTM_NEWLINK, linkHead(8, 0, AF_BRIDGE) + name)).header()));
   EXPECT_FALSE(linkOf(Message(message(RTM_NEWROUTE, routeHead(AF_INET, 8))).header()));
   EXPECT_THROW(linkOf(Message(message(RTM_NEWLINK, "abcd")).header()), BadText);
}

}  // namespace RouteMessageTest
}  // namespace Rtrie
