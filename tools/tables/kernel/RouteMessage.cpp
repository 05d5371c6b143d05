#include "tools/tables/kernel/RouteMessage.h"

#include <fmt/format.h>
#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/lwtunnel.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <span>

#include "routetrie/platform/Corenet.h"
#include "tools/tables/Selection.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

// Attributes by their kind; the last of a kind counts.
template <std::size_t kinds>
class KernelAttributes {
  public:
   void add(const nlattr* attribute) {
      if (const auto kind = mnl_attr_get_type(attribute); kind < kinds) {
         byKind_[kind] = attribute;
      }
   }
   const nlattr* at(unsigned kind) const { return byKind_[kind]; }

   std::optional<U32> u32At(unsigned kind) const {
      if (at(kind) == nullptr) {
         return std::nullopt;
      }
      const auto bytes = bytesAt(kind);
      U32 number = 0;
      if (bytes.size() != sizeof number) {
         throw BadText(fmt::format("attribute {} has {} bytes, and not 4", kind, bytes.size()));
      }
      std::memcpy(&number, bytes.data(), sizeof number);
      return number;
   }
   // The number of 1, 2 or 4 bytes that a kind always has.
   template <class Number>
   std::optional<Number> numberAt(unsigned kind) const {
      if (at(kind) == nullptr) {
         return std::nullopt;
      }
      const auto bytes = bytesAt(kind);
      Number number = 0;
      if (bytes.size() < sizeof number) {
         throw BadText(fmt::format("attribute {} has {} bytes, and not {}", kind, bytes.size(), sizeof number));
      }
      std::memcpy(&number, bytes.data(), sizeof number);
      return number;
   }
   std::span<const U8> bytesAt(unsigned kind) const {
      return {static_cast<const U8*>(mnl_attr_get_payload(at(kind))), mnl_attr_get_payload_len(at(kind))};
   }
   // Up to its first byte of 0.
   std::string_view textAt(unsigned kind) const {
      if (at(kind) == nullptr) {
         return {};
      }
      const auto bytes = bytesAt(kind);
      const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      return text.substr(0, text.find('\0'));
   }

  private:
   std::array<const nlattr*, kinds> byKind_{};
};

template <std::size_t kinds>
KernelAttributes<kinds> attributesIn(const void* bytes, std::size_t size) {
   KernelAttributes<kinds> all;
   const auto* at = static_cast<const nlattr*>(bytes);
   const char* const end = static_cast<const char*>(bytes) + size;
   for (; mnl_attr_ok(at, static_cast<int>(end - reinterpret_cast<const char*>(at))); at = mnl_attr_next(at)) {
      all.add(at);
   }
   return all;
}

template <std::size_t kinds>
KernelAttributes<kinds> attributesIn(std::span<const U8> bytes) {
   return attributesIn<kinds>(bytes.data(), bytes.size());
}

// The fixed part of a message, behind its header.
template <class Fixed>
const Fixed& fixedPartOf(const nlmsghdr& message) {
   if (message.nlmsg_len < mnl_nlmsg_size(sizeof(Fixed))) {
      throw BadText(fmt::format("a message of {} bytes", message.nlmsg_len));
   }
   return *static_cast<const Fixed*>(mnl_nlmsg_get_payload(&message));
}

template <std::size_t kinds, class Fixed>
KernelAttributes<kinds> attributesBehind(const nlmsghdr& message) {
   const auto* const begin = static_cast<const char*>(mnl_nlmsg_get_payload_offset(&message, sizeof(Fixed)));
   const auto* const end = reinterpret_cast<const char*>(&message) + message.nlmsg_len;
   return attributesIn<kinds>(begin, begin < end ? static_cast<std::size_t>(end - begin) : 0);
}

using RouteAttributesOfMessage = KernelAttributes<RTA_MAX + 1>;

std::string nameOr(const std::map<U32, std::string>& names, U32 number) {
   const auto found = names.find(number);
   return found == names.end() ? fmt::format("{}", number) : found->second;
}

std::string linkName(const KernelNames& names, U32 index) {
   const auto found = names.links.find(index);
   return found == names.links.end() ? fmt::format("if{}", index) : found->second;
}

std::size_t addressBytes(U8 family) { return family == AF_INET6 ? 16 : 4; }

std::string addressIn(std::span<const U8> bytes) {
   if (bytes.size() == 4) {
      return std::string(Corenet::IpAddr(Corenet::AddressBits<32>::load(bytes.data())).stringValue());
   }
   if (bytes.size() == 16) {
      return std::string(Corenet::Ip6Addr(Corenet::AddressBits<128>::load(bytes.data())).stringValue());
   }
   throw BadText(fmt::format("an address of {} bytes", bytes.size()));
}

// Without the attribute, all bits of the address are 0.
std::string prefixAt(const RouteAttributesOfMessage& all, unsigned kind, U8 family, U8 lengthBits) {
   if (lengthBits > addressBytes(family) * 8) {
      throw BadText(fmt::format("prefix length {} exceeds {}", lengthBits, addressBytes(family) * 8));
   }
   if (all.at(kind) == nullptr) {
      return fmt::format("{}/{}", family == AF_INET6 ? "::" : "0.0.0.0", lengthBits);
   }
   const auto bytes = all.bytesAt(kind);
   if (bytes.size() != addressBytes(family)) {
      throw BadText(fmt::format("an address of {} bytes", bytes.size()));
   }
   return fmt::format("{}/{}", addressIn(bytes), lengthBits);
}

std::string_view typeWord(U8 type) {
   constexpr std::string_view words[] = {"none",     "",          "local",     "broadcast",
                                         "anycast",  "multicast", "blackhole", "unreachable",
                                         "prohibit", "throw",     "nat",       "xresolve"};
   return type < std::size(words) ? words[type] : std::string_view();
}

// A line of words and values.
class RouteLine {
  public:
   void put(std::string_view word) {
      text_ += text_.empty() ? "" : " ";
      text_ += word;
   }
   void put(std::string_view word, std::string_view value) {
      put(word);
      put(value);
   }
   std::string take() { return std::move(text_); }

  private:
   std::string text_;
};

// Where packets are wrapped, and in what. The words of the wrapping are its own; of most kinds the name is all.
void putTunnel(RouteLine& line, std::optional<U16> kind, const nlattr* value) {
   if (!kind || *kind == LWTUNNEL_ENCAP_NONE) {
      return;
   }
   constexpr std::string_view kinds[] = {"none", "mpls",      "ip",  "ila",   "ip6", "seg6",
                                         "bpf",  "seg6local", "rpl", "ioam6", "xfrm"};
   line.put("encap", *kind < std::size(kinds) ? std::string(kinds[*kind]) : fmt::format("{}", *kind));
   if (*kind != LWTUNNEL_ENCAP_MPLS || value == nullptr) {
      return;
   }
   constexpr unsigned destination = 1;
   const auto parts = attributesIn<4>(mnl_attr_get_payload(value), mnl_attr_get_payload_len(value));
   if (parts.at(destination) == nullptr) {
      return;
   }
   const auto bytes = parts.bytesAt(destination);
   std::string labels;
   for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {  // 20 bits of label first
      labels += fmt::format("{}{}", labels.empty() ? "" : "/",
                            U32{bytes[at]} << 12 | U32{bytes[at + 1]} << 4 | U32{bytes[at + 2]} >> 4);
   }
   line.put(labels);
}

// A gateway, perhaps of the other family.
void putGateway(RouteLine& line, const RouteAttributesOfMessage& all, U8 family) {
   if (all.at(RTA_GATEWAY) != nullptr) {
      const auto bytes = all.bytesAt(RTA_GATEWAY);
      if (bytes.size() != addressBytes(family)) {
         throw BadText(fmt::format("an address of {} bytes", bytes.size()));
      }
      line.put("via", addressIn(bytes));
   }
   if (all.at(RTA_VIA) != nullptr) {
      const auto bytes = all.bytesAt(RTA_VIA);
      if (bytes.size() != 2 + 4 && bytes.size() != 2 + 16) {
         throw BadText(fmt::format("a gateway of {} bytes", bytes.size()));
      }
      line.put("via", bytes.size() == 2 + 4 ? "inet" : "inet6");
      line.put(addressIn(bytes.subspan(2)));
   }
}

void putFlags(RouteLine& line, U32 flags) {
   struct Flag {
      U32 bit;
      std::string_view word;
   };
   constexpr Flag known[] = {{RTNH_F_DEAD, "dead"},
                             {RTNH_F_ONLINK, "onlink"},
                             {RTNH_F_PERVASIVE, "pervasive"},
                             {RTNH_F_OFFLOAD, "offload"},
                             {RTNH_F_TRAP, "trap"},
                             {RTM_F_NOTIFY, "notify"},
                             {RTNH_F_LINKDOWN, "linkdown"},
                             {RTNH_F_UNRESOLVED, "unresolved"},
                             {RTM_F_OFFLOAD, "rt_offload"},
                             {RTM_F_TRAP, "rt_trap"},
                             {RTM_F_OFFLOAD_FAILED, "rt_offload_failed"}};
   for (const Flag& each : known) {
      if ((flags & each.bit) != 0) {
         line.put(each.word);
      }
   }
}

void putRealms(RouteLine& line, std::optional<U32> realms) {
   if (!realms) {
      return;
   }
   const U32 from = *realms >> 16;
   const U32 to = *realms & 0xffff;
   if (from == 0) {
      line.put("realm", fmt::format("{}", to));
   } else {
      line.put("realms", fmt::format("{}/{}", from, to));
   }
}

void putMetrics(RouteLine& line, const nlattr* nested) {
   if (nested == nullptr) {
      return;
   }
   constexpr std::string_view words[] = {
      "",         "",        "mtu",      "window",     "rtt",      "rttvar",
      "ssthresh", "cwnd",    "advmss",   "reordering", "hoplimit", "initcwnd",
      "features", "rto_min", "initrwnd", "quickack",   "congctl",  "fastopen_no_cookie"};
   const auto all = attributesIn<std::size(words)>(mnl_attr_get_payload(nested), mnl_attr_get_payload_len(nested));
   const U32 locked = all.u32At(RTAX_LOCK).value_or(0);
   for (unsigned kind = RTAX_MTU; kind < std::size(words); ++kind) {
      if (all.at(kind) == nullptr) {
         continue;
      }
      line.put(words[kind]);
      if ((locked & (U32{1} << kind)) != 0) {
         line.put("lock");
      }
      if (kind == RTAX_CC_ALGO) {
         line.put(all.textAt(kind));
         continue;
      }
      const U32 value = *all.u32At(kind);
      // The kernel keeps round trips in eighths of a millisecond, and how they vary in quarters.
      const bool isTime = kind == RTAX_RTT || kind == RTAX_RTTVAR || kind == RTAX_RTO_MIN;
      const U32 shown = kind == RTAX_RTT ? value / 8 : kind == RTAX_RTTVAR ? value / 4 : value;
      line.put(!isTime         ? fmt::format("{}", shown)
               : shown >= 1000 ? fmt::format("{:g}s", shown / 1000.0)
                               : fmt::format("{}ms", shown));
   }
}

void putNextHops(RouteLine& line, const nlattr* nested, U8 family, const KernelNames& names) {
   if (nested == nullptr) {
      return;
   }
   const auto* at = static_cast<const U8*>(mnl_attr_get_payload(nested));
   std::size_t left = mnl_attr_get_payload_len(nested);
   while (left >= sizeof(rtnexthop)) {
      rtnexthop hop;
      std::memcpy(&hop, at, sizeof hop);
      if (hop.rtnh_len < sizeof hop || hop.rtnh_len > left) {
         throw BadText(fmt::format("a next hop of {} bytes where {} are left", hop.rtnh_len, left));
      }
      const auto all = attributesIn<RTA_MAX + 1>(at + sizeof hop, hop.rtnh_len - sizeof hop);
      line.put("nexthop");
      putTunnel(line, all.numberAt<U16>(RTA_ENCAP_TYPE), all.at(RTA_ENCAP));
      putGateway(line, all, family);
      if (hop.rtnh_ifindex != 0) {
         line.put("dev", linkName(names, static_cast<U32>(hop.rtnh_ifindex)));
      }
      line.put("weight", fmt::format("{}", unsigned{hop.rtnh_hops} + 1));
      putRealms(line, all.u32At(RTA_FLOW));
      putFlags(line, hop.rtnh_flags);
      const std::size_t padded = std::min<std::size_t>(MNL_ALIGN(hop.rtnh_len), left);
      at += padded;
      left -= padded;
   }
}

std::string_view preferenceWord(U8 preference) {
   switch (preference) {
      case 1: return "high";
      case 3: return "low";
      case 2: return "reserved";
      default: return "medium";
   }
}

Placing placingOf(U16 flags) {
   return (flags & NLM_F_REPLACE) != 0  ? Placing::replaces
          : (flags & NLM_F_APPEND) != 0 ? Placing::last
          : (flags & NLM_F_EXCL) != 0   ? Placing::alone
          : (flags & NLM_F_CREATE) != 0 ? Placing::first
                                        : Placing::unsaid;
}

}  // namespace

KernelNames KernelNames::ofThisMachine() {
   KernelNames names;
   names.protocols = {{0, "unspec"},    {1, "redirect"}, {2, "kernel"}, {3, "boot"},   {4, "static"},
                      {8, "gated"},     {9, "ra"},       {10, "mrt"},   {11, "zebra"}, {12, "bird"},
                      {13, "dnrouted"}, {14, "xorp"},    {15, "ntk"},   {16, "dhcp"},  {18, "keepalived"},
                      {42, "babel"},    {186, "bgp"},    {187, "isis"}, {188, "ospf"}, {189, "rip"},
                      {192, "eigrp"}};
   names.scopes = {{0, "global"}, {200, "site"}, {253, "link"}, {254, "host"}, {255, "nowhere"}};
   names.routeTables = {{253, "default"}, {254, "main"}, {255, "local"}};
   const auto add = [](std::string_view file, std::map<U32, std::string>& to) {
      forEachNumberedName(file,
                          [&](U32 number, std::string_view name) { to.insert_or_assign(number, std::string(name)); });
   };
   add("rt_protos", names.protocols);
   add("rt_scopes", names.scopes);
   add("rt_tables", names.routeTables);
   return names;
}

std::optional<KernelRoute> routeOf(const nlmsghdr& message, const KernelNames& names) {
   if (message.nlmsg_type != RTM_NEWROUTE && message.nlmsg_type != RTM_DELROUTE) {
      return std::nullopt;
   }
   const auto& fixed = fixedPartOf<rtmsg>(message);
   const U8 family = fixed.rtm_family;
   if ((family != AF_INET && family != AF_INET6) || (fixed.rtm_flags & RTM_F_CLONED) != 0) {
      return std::nullopt;
   }
   const auto all = attributesBehind<RTA_MAX + 1, rtmsg>(message);
   KernelRoute route;
   route.isWithdrawal = message.nlmsg_type == RTM_DELROUTE;
   route.placing = placingOf(message.nlmsg_flags);
   route.routeTable = all.u32At(RTA_TABLE).value_or(fixed.rtm_table);

   RouteLine line;
   const auto type = typeWord(fixed.rtm_type);
   if (fixed.rtm_type != RTN_UNICAST) {
      line.put(type.empty() ? fmt::format("{}", fixed.rtm_type) : std::string(type));
   }
   line.put(prefixAt(all, RTA_DST, family, fixed.rtm_dst_len));
   if (fixed.rtm_src_len != 0) {
      line.put("from", prefixAt(all, RTA_SRC, family, fixed.rtm_src_len));
   }
   if (const auto id = all.u32At(RTA_NH_ID)) {
      line.put("nhid", fmt::format("{}", *id));
   }
   putTunnel(line, all.numberAt<U16>(RTA_ENCAP_TYPE), all.at(RTA_ENCAP));
   if (fixed.rtm_tos != 0) {
      line.put("tos", fmt::format("0x{:02x}", fixed.rtm_tos));
   }
   putGateway(line, all, family);
   if (const auto link = all.u32At(RTA_OIF)) {
      line.put("dev", linkName(names, *link));
   }
   if (route.routeTable != RT_TABLE_MAIN) {
      line.put("table", nameOr(names.routeTables, route.routeTable));
   }
   if (fixed.rtm_protocol != RTPROT_BOOT) {
      line.put("proto", nameOr(names.protocols, fixed.rtm_protocol));
   }
   if (fixed.rtm_scope != RT_SCOPE_UNIVERSE) {
      line.put("scope", nameOr(names.scopes, fixed.rtm_scope));
   }
   if (all.at(RTA_PREFSRC) != nullptr) {
      line.put("src", addressIn(all.bytesAt(RTA_PREFSRC)));
   }
   if (const auto metric = all.u32At(RTA_PRIORITY)) {
      line.put("metric", fmt::format("{}", *metric));
   }
   putFlags(line, fixed.rtm_flags);
   if (const auto mark = all.u32At(RTA_MARK); mark && *mark != 0) {
      line.put("mark", *mark >= 16 ? fmt::format("0x{:x}", *mark) : fmt::format("{}", *mark));
   }
   putRealms(line, all.u32At(RTA_FLOW));
   putMetrics(line, all.at(RTA_METRICS));
   if (const auto preference = all.numberAt<U8>(RTA_PREF)) {
      line.put("pref", preferenceWord(*preference));
   }
   putNextHops(line, all.at(RTA_MULTIPATH), family, names);
   route.line = line.take();
   return route;
}

std::optional<KernelLink> linkOf(const nlmsghdr& message) {
   if (message.nlmsg_type != RTM_NEWLINK && message.nlmsg_type != RTM_DELLINK) {
      return std::nullopt;
   }
   const auto& fixed = fixedPartOf<ifinfomsg>(message);
   if (fixed.ifi_family != AF_UNSPEC) {  // what a bridge says of its ports
      return std::nullopt;
   }
   const auto all = attributesBehind<IFLA_MAX + 1, ifinfomsg>(message);
   KernelLink link;
   link.index = static_cast<U32>(fixed.ifi_index);
   link.isGone = message.nlmsg_type == RTM_DELLINK;
   link.flags = fixed.ifi_flags & (IFF_UP | IFF_RUNNING | IFF_LOWER_UP);
   link.master = all.u32At(IFLA_MASTER).value_or(0);
   link.name = all.textAt(IFLA_IFNAME);
   if (all.at(IFLA_LINKINFO) != nullptr) {
      const auto info = attributesIn<IFLA_INFO_MAX + 1>(all.bytesAt(IFLA_LINKINFO));
      if (info.textAt(IFLA_INFO_KIND) == "vrf" && info.at(IFLA_INFO_DATA) != nullptr) {
         link.vrfTable = attributesIn<IFLA_VRF_MAX + 1>(info.bytesAt(IFLA_INFO_DATA)).u32At(IFLA_VRF_TABLE);
      }
   }
   return link;
}

}  // namespace Rtrie
