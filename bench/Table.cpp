#include "bench/Table.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <span>

#include "bench/Random.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/TableLoader.h"

namespace Bench {

namespace {

constexpr std::uint64_t shuffleSeed = 0x7ab1e;

//--- from files ---

template <class F>
std::vector<Route<F>> routesOf(const Rtrie::RouteSet& set) {
   std::vector<Route<F>> routes;
   set.forEach(F::af, [&](const Corenet::IpGenPrefix& prefix) {
      if (prefix.len() != 0) {
         routes.push_back({prefix.bits<F::width>(), prefix.len()});
      }
   });
   Random(shuffleSeed).shuffle(routes);
   return routes;
}

Table fromFiles(const std::vector<std::string>& paths, std::string source) {
   Rtrie::LoadOptions options;
   options.tables = paths;
   Rtrie::RouteSet set;
   Rtrie::loadTables(options, set);
   return {std::move(source), routesOf<V4>(set), routesOf<V6>(set)};
}

bool isReadable(const std::string& path) { return std::filesystem::exists(path); }

//--- generated ---

struct Share {
   U8 length;  // bits
   U32 routes;
};

// How many routes of each length a table of the whole Internet held in 2025.
constexpr std::array shares4 = {
   Share{8, 16},     Share{9, 12},      Share{10, 38},    Share{11, 103},   Share{12, 299},
   Share{13, 581},   Share{14, 1203},   Share{15, 2100},  Share{16, 13490}, Share{17, 8235},
   Share{18, 13798}, Share{19, 24870},  Share{20, 42611}, Share{21, 50750}, Share{22, 108623},
   Share{23, 96510}, Share{24, 537698}, Share{29, 100},   Share{32, 886},
};
constexpr std::array shares6 = {
   Share{20, 20},    Share{24, 30},   Share{28, 200},   Share{29, 4370}, Share{30, 650},   Share{31, 280},
   Share{32, 22550}, Share{33, 2930}, Share{34, 2600},  Share{35, 1040}, Share{36, 6000},  Share{37, 880},
   Share{38, 1620},  Share{39, 1380}, Share{40, 13420}, Share{41, 900},  Share{42, 2300},  Share{43, 1000},
   Share{44, 14370}, Share{45, 1550}, Share{46, 3040},  Share{47, 3150}, Share{48, 75490}, Share{56, 30},
   Share{64, 180},   Share{127, 40},
};

// Shortest first; half of the routes lie inside a shorter one, as they do in a real table, the others anywhere in
// what is routed.
template <class F>
std::vector<Route<F>> generated(std::span<const Share> shares, std::size_t most) {
   using Bits = typename F::Bits;
   constexpr auto high = [](U32 byte) { return static_cast<typename Bits::Word>(byte) << (F::width - 8); };

   Random random(shuffleSeed);
   std::set<Route<F>> seen;
   std::vector<Route<F>> routes;
   for (const auto& [length, count] : shares) {
      const std::size_t shorter = routes.size();
      for (U32 i = 0; i < count; ++i) {
         Bits address = random.address<F>();
         if (shorter != 0 && i % 2 == 0) {
            address = random.addressInside(routes[random.below(shorter)]);
         } else if (F::width == 32) {
            address = Bits((address.word() & ~high(0xff)) | high(static_cast<U32>(1 + random.below(223))));
         } else {
            address = Bits((address.word() & ~high(0xff)) | high(static_cast<U32>(0x20 + random.below(0x10))));
         }
         if (const Route<F> route{address.cut(length), length}; seen.insert(route).second) {
            routes.push_back(route);
         }
      }
   }
   random.shuffle(routes);
   routes.resize(std::min(routes.size(), most));
   return routes;
}

}  // namespace

Table generatedTable(std::size_t routes) {
   return {"generated routes with the length histogram of a real table", generated<V4>(shares4, routes),
           generated<V6>(shares6, routes)};
}

Table loadTable(const std::string& path) {
   if (!path.empty()) {
      return fromFiles({path}, path);
   }
   const std::string root = ROUTETRIE_SOURCE_DIR;
   if (const auto file = root + "/../shared/data/internet-table.txt.gz"; isReadable(file)) {
      return fromFiles({file}, std::filesystem::weakly_canonical(file).string());
   }
   for (const auto& folder : {std::string("/usr/share/tor"), root + "/build/tor-geoipdb/usr/share/tor"}) {
      if (isReadable(folder + "/geoip") && isReadable(folder + "/geoip6")) {
         return fromFiles({folder + "/geoip", folder + "/geoip6"}, folder + "/geoip, geoip6 (countries' ranges)");
      }
   }
   return generatedTable();
}

}  // namespace Bench
