// A RIB: for each VRF the routes that each source knows, of which the best one forwards; a route whose next hop cannot be
// reached does not count, and a shorter one answers in its place.
#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <routetrie/table.h>

using namespace routetrie;

struct path {
   std::string source;
   unsigned preference;  // the lowest is best
   address next_hop;
};

class rib {
  public:
   void announce(const std::string& vrf, const prefix& p, path add) {
      vrfs_[vrf].update(p, [&](std::vector<path>& paths) {
         std::erase_if(paths, [&](const path& one) { return one.source == add.source; });
         paths.insert(std::ranges::upper_bound(paths, add.preference, {}, &path::preference), add);
      });
   }
   void withdraw(const std::string& vrf, const prefix& p, std::string_view source) {
      auto& routes = vrfs_[vrf];
      if (!routes.contains(p)) {
         return;
      }
      routes.update(p, [&](std::vector<path>& paths) {
         std::erase_if(paths, [&](const path& one) { return one.source == source; });
      });
      if (routes.find(p)->value.empty()) {
         routes.erase(p);
      }
   }
   std::string answer(const std::string& vrf, const address& to, const address& unreachable = {}) {
      const auto reachable = [&](const path& one) { return one.next_hop != unreachable; };
      const auto best =
         vrfs_[vrf].match_if(to, [&](const auto& r) { return std::ranges::any_of(r.value, reachable); });
      if (!best) {
         return "no route";
      }
      const path& taken = *std::ranges::find_if(best->value, reachable);
      return fmt::format("{} by {} via {}", best->prefix, taken.source, taken.next_hop);
   }

  private:
   std::map<std::string, table<std::vector<path>>> vrfs_;
};

int main() {
   rib r;
   r.announce("red", "0.0.0.0/0"_prefix, {"static", 5, "192.0.2.1"_address});
   r.announce("red", "10.0.0.0/8"_prefix, {"bgp", 20, "192.0.2.9"_address});
   r.announce("red", "10.0.0.0/8"_prefix, {"ospf", 110, "192.0.2.7"_address});
   r.announce("blue", "2001:db8::/32"_prefix, {"static", 5, "fe80::1"_address});
   fmt::print("red:  {}\n", r.answer("red", "10.1.2.3"_address));
   fmt::print("red:  {} while 192.0.2.9 is down\n", r.answer("red", "10.1.2.3"_address, "192.0.2.9"_address));
   r.withdraw("red", "10.0.0.0/8"_prefix, "bgp");
   r.withdraw("red", "10.0.0.0/8"_prefix, "ospf");
   fmt::print("red:  {} when both have gone\n", r.answer("red", "10.1.2.3"_address));
   fmt::print("blue: {}\n", r.answer("blue", "2001:db8::1"_address));
   fmt::print("blue: {}\n", r.answer("blue", "10.1.2.3"_address));
}
