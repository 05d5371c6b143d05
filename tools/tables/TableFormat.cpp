#include "tools/tables/TableFormat.h"

#include <algorithm>
#include <concepts>
#include <iterator>

#include "tools/tables/formats/BgpDumpLines.h"
#include "tools/tables/formats/CountryRanges.h"
#include "tools/tables/formats/IpRouteLines.h"
#include "tools/tables/formats/NetstatLines.h"
#include "tools/tables/formats/PrefixLines.h"

namespace Rtrie {
namespace {

template <class Parser>
std::unique_ptr<LineParser> make(const Selection& selection) {
   if constexpr (std::constructible_from<Parser, const Selection&>) {
      return std::make_unique<Parser>(selection);
   } else {
      return std::make_unique<Parser>();
   }
}

// A prefix a line comes last: what `ip route` prints looks like it too.
constexpr TableFormat formats[] = {
   {"mrt", "MRT files of route collectors: tables and updates; the payload is the peer, its next hop and the AS path",
    nullptr, nullptr, SelectedBy::peer},
   {"bgpdump", "lines of bgpdump -m; the payload is the AS path", BgpDumpLines::looksLike, make<BgpDumpLines>,
    SelectedBy::peer},
   {"ranges", "FIRST,LAST,COUNTRY: addresses, IPv4 ones as decimal numbers too", CountryRanges::looksLike,
    make<CountryRanges>},
   {"netstat", "what netstat -rn and route -n print, for either family", NetstatLines::looksLike, make<NetstatLines>},
   {"ip-route", "what ip route show and ip -6 route show print", IpRouteLines::looksLike, make<IpRouteLines>,
    SelectedBy::routeTable},
   {"prefixes", "a prefix, address, address and netmask, or FIRST - LAST a line, the payload after it",
    PrefixLines::looksLike, make<PrefixLines>},
};

}  // namespace

std::span<const TableFormat> tableFormats() { return formats; }

const TableFormat& formatOf(std::span<const std::string> lines) {
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
