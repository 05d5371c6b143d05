// A table of routes of both families, asked for the longest match of addresses of either.
#include <fmt/core.h>

#include <string_view>

#include <routetrie/trie/front/TrieGen.h>

namespace {

using Corenet::IpGenPrefix;

// The trie of a prefix's family.
class Table {
  public:
   Routing::TrieGen& of(const IpGenPrefix& p) const { return p.af() == Corenet::ipv4() ? *ipv4_ : *ipv6_; }

  private:
   Corvid::Ptr<Routing::TrieGen> ipv4_ = Routing::trieGenFactory("IPv4", Corenet::ipv4());
   Corvid::Ptr<Routing::TrieGen> ipv6_ = Routing::trieGenFactory("IPv6", Corenet::ipv6());
};

}  // namespace

int main() {
   const Table table;
   for (const std::string_view text :
        {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "2001:db8::/32", "2001:db8:7::/48"}) {
      const auto route = IpGenPrefix::fromString(text);
      table.of(route).routeIs(route, true);
   }
   for (const std::string_view text :
        {"10.1.2.3/32", "10.2.0.1/32", "192.0.2.1/32", "2001:db8:7::1/128", "::1/128"}) {
      const auto query = IpGenPrefix::fromString(text);
      const auto match = table.of(query).longestMatch(query);
      fmt::print("{:<18} {}\n", query, match == IpGenPrefix() ? "no route" : match.stringValue().view());
   }
}
