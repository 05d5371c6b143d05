// A RIB: for each VRF the routes that each source knows, of which the best one forwards. Whoever depends on how an address is reached
// watches it: told is what changed for it, and nothing else.
#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <routetrie/watch.h>

using namespace routetrie;

struct path {
   std::string source;
   unsigned preference;  // the lowest is best
   address next_hop;
   bool operator==(const path&) const = default;
};
using paths = std::vector<path>;  // the best one first

class rib {
  public:
   void announce(const std::string& vrf, const prefix& p, const path& add) {
      vrfs_[vrf].update(p, [&](paths& all) {
         std::erase_if(all, [&](const path& one) { return one.source == add.source; });
         all.insert(std::ranges::upper_bound(all, add.preference, {}, &path::preference), add);
      });
   }
   void withdraw(const std::string& vrf, const prefix& p, const std::string& source) {
      auto& routes = vrfs_[vrf];
      paths left = routes.contains(p) ? routes.find(p)->value : paths();
      std::erase_if(left, [&](const path& one) { return one.source == source; });
      left.empty() ? (void)routes.erase(p) : (void)routes.insert_or_assign(p, left);
   }
   watch_handle watch(const std::string& vrf, const address& to) {
      return vrfs_[vrf].watch(to, watch_kind::best_match, [vrf, to](const auto& e) {
         fmt::print("  {} {}: {}, was {}\n", vrf, to, text(e.after), text(e.before));
      });
   }
   std::string answer(const std::string& vrf, const address& to) { return text(vrfs_[vrf].match(to)); }

  private:
   static std::string text(const auto& route) {
      return !route ? "no route" : fmt::format("{} by {}", route->prefix, route->value.front().source);
   }
   std::map<std::string, watched_table<paths>> vrfs_;
};

int main() {
   rib r;
   const auto red = r.watch("red", "10.1.2.3"_address);
   const auto blue = r.watch("blue", "2001:db8::1"_address);
   r.announce("red", "0.0.0.0/0"_prefix, {"static", 5, "192.0.2.1"_address});
   r.announce("red", "10.0.0.0/8"_prefix, {"ospf", 110, "192.0.2.7"_address});
   r.announce("red", "10.0.0.0/8"_prefix, {"bgp", 20, "192.0.2.9"_address});
   r.announce("red", "11.0.0.0/8"_prefix, {"bgp", 20, "192.0.2.9"_address});
   r.announce("blue", "2001:db8::/32"_prefix, {"static", 5, "fe80::1"_address});
   r.withdraw("red", "10.0.0.0/8"_prefix, "bgp");
   r.withdraw("red", "10.0.0.0/8"_prefix, "ospf");
   fmt::print("red:  {}\nblue: {}\n", r.answer("red", "10.1.2.3"_address), r.answer("blue", "10.1.2.3"_address));
}
