// FormatFuzz: reads the input as a table in text or JSON into a set of routes, seals it and reads it back. A fault ends the
// process; what is told of the input does not.
//
// The first line names the format, as `rtrie --help` does; where it names none, the content tells, as it does of a file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/fuzz/InputSource.h"
#include "tests/fuzz/SoundRoutes.h"
#include "tools/tables/JsonReader.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/TableFormat.h"
#include "tools/tables/Words.h"

namespace {

using namespace Rtrie;

void readLines(const TableFormat& format, const std::vector<std::string>& lines, RouteSet& routes) {
   const auto parser = format.parser({});
   for (const auto& line : lines) {
      try {
         parser->line(line, routes);
      } catch (const BadText&) {
      }
   }
   parser->end(routes);
}

void readEntries(const TableFormat* named, std::span<const std::uint8_t> input, RouteSet& routes) {
   InputSource source(input);
   std::vector<std::pair<const TableFormat*, std::unique_ptr<EntryParser>>> parsers;
   const auto each = [&](const JsonEntry& entry) {
      const TableFormat* const format = named != nullptr ? named : formatOf(entry);
      if (format == nullptr) {
         return;
      }
      auto at =
         std::find_if(parsers.begin(), parsers.end(), [&](const auto& known) { return known.first == format; });
      if (at == parsers.end()) {
         at = parsers.emplace(parsers.end(), format, format->entryParser({}));
      }
      try {
         at->second->entry(entry, routes);
      } catch (const BadText&) {
      }
   };
   readJson(source, each, [](const std::string&) {});
   for (const auto& [format, parser] : parsers) {
      parser->end(routes);
   }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes) {
   const std::string_view text(reinterpret_cast<const char*>(data), sizeBytes);
   const auto name = text.substr(0, text.find('\n'));
   const auto formats = tableFormats();
   const auto found =
      std::find_if(formats.begin(), formats.end(), [&](const TableFormat& each) { return each.name == name; });
   const TableFormat* const named = found == formats.end() ? nullptr : &*found;
   const std::size_t begin = named == nullptr ? 0 : std::min(name.size() + 1, sizeBytes);

   RouteSet routes;
   routes.candidatesAreKept();
   try {
      InputSource source({data + begin, sizeBytes - begin});
      LineReader reader(source, [](std::uint64_t, const std::string&) {});
      std::vector<std::string> lines;
      while (const auto line = reader.next()) {
         if (const auto own = trimmed(*line); !own.empty() && own.front() != '#') {
            lines.emplace_back(own);
         }
      }
      if (named == nullptr ? isJson(text) : named->entryParser != nullptr) {
         readEntries(named, {data + begin, sizeBytes - begin}, routes);
      } else if (named == nullptr || named->parser != nullptr) {
         readLines(named == nullptr ? formatOf(lines) : *named, lines, routes);
      }
   } catch (const DataError&) {
   }
   expectSound(routes);
   return 0;
}
