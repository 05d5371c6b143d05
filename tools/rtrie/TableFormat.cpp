#include "tools/rtrie/TableFormat.h"

#include <algorithm>
#include <iterator>

#include "tools/rtrie/formats/BgpDumpLines.h"
#include "tools/rtrie/formats/CountryRanges.h"
#include "tools/rtrie/formats/IpRouteLines.h"
#include "tools/rtrie/formats/PrefixLines.h"

namespace Rtrie {
namespace {

template <class Parser>
std::unique_ptr<LineParser> make() {
   return std::make_unique<Parser>();
}

// A prefix a line comes last: what `ip route` prints looks like it too.
constexpr TableFormat formats[] = {
   {"bgpdump", "lines of bgpdump -m; the payload is the AS path", BgpDumpLines::looksLike, make<BgpDumpLines>},
   {"ranges", "FIRST,LAST,COUNTRY: IPv4 as decimal numbers, IPv6 as addresses", CountryRanges::looksLike,
    make<CountryRanges>},
   {"ip-route", "what ip route show and ip -6 route show print", IpRouteLines::looksLike, make<IpRouteLines>},
   {"prefixes", "a prefix or address a line, the payload after it", PrefixLines::looksLike, make<PrefixLines>},
};

}  // namespace

std::span<const TableFormat> tableFormats() { return formats; }

const TableFormat& formatOf(std::span<const std::string> lines) {
   const TableFormat* best = &formats[std::size(formats) - 1];
   std::ptrdiff_t bestCount = 0;
   for (const TableFormat& format : formats) {
      const auto count = std::count_if(lines.begin(), lines.end(), format.looksLike);
      if (count > bestCount) {
         best = &format;
         bestCount = count;
      }
   }
   return *best;
}

}  // namespace Rtrie
