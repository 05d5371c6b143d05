#include "tools/tables/TableFormat.h"

#include <algorithm>
#include <concepts>
#include <iterator>

#include "tools/tables/formats/BgpDumpLines.h"
#include "tools/tables/formats/BirdLines.h"
#include "tools/tables/formats/CountryRanges.h"
#include "tools/tables/formats/CsvLines.h"
#include "tools/tables/formats/DelegatedLines.h"
#include "tools/tables/formats/FrrJson.h"
#include "tools/tables/formats/FrrLines.h"
#include "tools/tables/formats/IpRouteJson.h"
#include "tools/tables/formats/IpRouteLines.h"
#include "tools/tables/formats/NetstatLines.h"
#include "tools/tables/formats/PrefixLines.h"
#include "tools/tables/formats/PrefixListJson.h"
#include "tools/tables/formats/PrefixListLines.h"

namespace Rtrie {
namespace {

template <class Parser, class Kind = LineParser>
std::unique_ptr<Kind> make(const Selection& selection) {
   if constexpr (std::constructible_from<Parser, const Selection&>) {
      return std::make_unique<Parser>(selection);
   } else {
      return std::make_unique<Parser>();
   }
}

// Of JSON.
template <class Parser>
constexpr TableFormat json(std::string_view name, std::string_view summary, SelectedBy selectedBy) {
   return {name, summary, nullptr, nullptr, selectedBy, nullptr, Parser::hasEntry, make<Parser, EntryParser>};
}

// A prefix a line comes last: what `ip route` prints looks like it too.
constexpr TableFormat formats[] = {
   {"mrt", "MRT files of route collectors: tables and updates; the payload is the peer, next hop and AS path",
    nullptr, nullptr, SelectedBy::peer},
   {"bgpdump", "lines of bgpdump -m; the payload is the AS path", BgpDumpLines::looksLike, make<BgpDumpLines>,
    SelectedBy::peer},
   {"ranges", "FIRST,LAST,COUNTRY: addresses, IPv4 ones as decimal numbers too", CountryRanges::looksLike,
    make<CountryRanges>},
   {"delegated", "a registry's delegated or delegated-extended file; the payload is the country and the status",
    DelegatedLines::looksLike, make<DelegatedLines>, SelectedBy::nothing, DelegatedLines::opensWith},
   {"netstat", "what netstat -rn and route -n print, for either family", NetstatLines::looksLike, make<NetstatLines>},
   {"ip-route", "what ip route show and ip -6 route show print", IpRouteLines::looksLike, make<IpRouteLines>,
    SelectedBy::routeTable},
   json<IpRouteJson>("ip-route-json", "what ip -j route show prints", SelectedBy::routeTable),
   {"frr", "what FRR's show ip route and show ipv6 route print, of all prefixes or of one", FrrLines::looksLike,
    make<FrrLines>, SelectedBy::routeTable, FrrLines::opensWith},
   json<FrrJson>("frr-json", "the same with json", SelectedBy::routeTable),
   {"bird", "what BIRD's show route prints, with all or without", BirdLines::looksLike, make<BirdLines>,
    SelectedBy::routeTable, BirdLines::opensWith},
   {"prefix-list", "prefix lists as bgpq4 prints them for routers; the payload is the list and its lengths",
    PrefixListLines::looksLike, make<PrefixListLines>, SelectedBy::nothing, PrefixListLines::opensWith},
   json<PrefixListJson>("prefix-list-json", "what bgpq4 -j prints, or an array of prefixes", SelectedBy::nothing),
   {"csv", "fields with , ; or a tab between them, under a header that names the prefix (or network, cidr, ...)",
    CsvLines::looksLike, make<CsvLines>, SelectedBy::nothing, CsvLines::opensWith},
   {"prefixes", "a prefix, address, address and netmask, or FIRST - LAST a line, the payload after it",
    PrefixLines::looksLike, make<PrefixLines>},
};

}  // namespace

std::span<const TableFormat> tableFormats() { return formats; }

const TableFormat* formatOf(const JsonEntry& entry) {
   const auto* const found = std::find_if(std::begin(formats), std::end(formats), [&](const TableFormat& format) {
      return format.hasEntry != nullptr && format.hasEntry(entry);
   });
   return found == std::end(formats) ? nullptr : found;
}

const TableFormat& formatOf(std::span<const std::string> lines) {
   for (const TableFormat& format : formats) {
      if (!lines.empty() && format.opensWith != nullptr && format.opensWith(lines.front())) {
         return format;
      }
   }
   const TableFormat* best = &formats[std::size(formats) - 1];
   std::ptrdiff_t bestCount = 0;
   for (const TableFormat& format : formats) {
      const auto count =
         format.looksLike == nullptr ? 0 : std::count_if(lines.begin(), lines.end(), format.looksLike);
      if (count > bestCount) {
         best = &format;
         bestCount = count;
      }
   }
   return *best;
}

}  // namespace Rtrie
