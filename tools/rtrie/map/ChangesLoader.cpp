#include "tools/rtrie/map/ChangesLoader.h"

#include <fmt/format.h>

#include <string>

#include "tools/tables/ByteSource.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/Progress.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

constexpr std::uint64_t shownBadChanges = 20;
// Where so many are bad, and there is no good one, there is none to come.
constexpr std::uint64_t mostBadChanges = 100'000;

}  // namespace

std::uint64_t loadChanges(const LoadOptions& options, ChangeTimes& changes, RouteSet& routes) {
   const Selection selection = selectionOf(options);
   LoadOptions plain = options;
   plain.tables.clear();
   std::uint64_t faults = 0;
   for (const std::string& path : options.tables) {
      if (path.starts_with("kernel:")) {
         plain.tables.push_back(path);
         continue;
      }
      PeekedSource source(openTable(path));
      if (!holdsChanges(source)) {
         if (path == "-") {
            throw DataError("<stdin>: no update with a time; give a table beside one by its name");
         }
         plain.tables.push_back(path);
         continue;
      }
      const std::string name = tableName(path);
      std::uint64_t bad = 0;
      Progress progress(Progress::standardErrorShows());
      const auto tell = [&](const std::string& what) {
         const std::string message = what.starts_with(name) ? what : fmt::format("{}: {}", name, what);
         if (options.strict) {
            throw DataError(message);
         }
         if (++bad <= shownBadChanges) {
            progress.hide();
            say(message);
         }
         if (bad > mostBadChanges && changes.empty()) {
            throw DataError(fmt::format("{}: {} bad updates and no other: given up", name, grouped(bad)));
         }
      };
      readChanges(source, selection, changes, routes, tell, [&](std::uint64_t count) {
         progress.update(name, source.position(), source.size(), count, "updates");
      });
      progress.hide();
      if (bad > shownBadChanges) {
         say(fmt::format("{}: {} bad updates left out ({} of them not shown)", name, grouped(bad),
                         grouped(bad - shownBadChanges)));
      }
      faults += bad;
   }
   if (!plain.tables.empty()) {
      faults += loadTables(plain, routes).faults;
   } else {
      routes.seal();
   }
   if (changes.empty()) {
      throw DataError(
         "nothing has changed at a known time: give MRT updates, \"TIME a PREFIX\" lines or what ip -ts monitor "
         "route prints");
   }
   return faults;
}

}  // namespace Rtrie
