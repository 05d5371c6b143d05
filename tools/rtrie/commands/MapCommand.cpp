#include "tools/rtrie/commands/MapCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "tools/rtrie/OutputFile.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Session.h"
#include "tools/rtrie/map/ChangesLoader.h"
#include "tools/rtrie/map/MapPicture.h"
#include "tools/rtrie/map/SpaceMap.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

constexpr unsigned leastMapSide = 64;
constexpr unsigned mostMapSide = 4096;

enum class MapBy : U8 { length, payload, age, difference };

struct MapSubject {
   std::string_view name;
   std::string_view summary;
   MapBy by;
};
constexpr MapSubject mapSubjects[] = {
   {"length", "the length of the route that answers", MapBy::length},
   {"payload", "its payload: the seven that answer most addresses, and all others", MapBy::payload},
   {"age", "when it changed last; the tables are streams of updates with times, and others for what did not change",
    MapBy::age},
   {"difference", "what became of the answer since --against", MapBy::difference},
};

struct MapTheme {
   std::string_view name;
   std::string_view summary;
   Theme theme;
};
constexpr MapTheme mapThemes[] = {
   {"light", "on white", Theme::light},
   {"dark", "on black", Theme::dark},
};

struct PictureFormat {
   std::string_view ending;
   std::string (*draw)(const SpaceMap& map, Theme theme);
};
constexpr PictureFormat pictureFormats[] = {{".png", drawnPng}, {".svg", drawnSvg}};

// ".png or .svg"
std::string pictureEndings() {
   std::string endings;
   for (const PictureFormat& format : pictureFormats) {
      endings += fmt::format("{}{}", endings.empty() ? "" : " or ", format.ending);
   }
   return endings;
}

struct MapOptions : LoadOptions {
   std::string out;
   std::string by;
   std::string part;
   std::string against;
   std::string within;
   std::string theme = std::string(mapThemes[0].name);
   unsigned side = 1024;
};

const PictureFormat& pictureFormatOf(const std::string& path) {
   for (const PictureFormat& format : pictureFormats) {
      if (path.ends_with(format.ending) && path.size() > format.ending.size()) {
         return format;
      }
   }
   throw UsageError(fmt::format("--out is a file whose name ends in {}: \"{}\"", pictureEndings(), path));
}

// The one that is named, or that which the other options are for.
const MapSubject& subjectOf(const MapOptions& options) {
   if (!options.by.empty()) {
      return rowNamed(std::span<const MapSubject>(mapSubjects), "subject", options.by);
   }
   const MapBy by = !options.against.empty() ? MapBy::difference
                    : !options.part.empty()  ? MapBy::payload
                                             : MapBy::length;
   return *std::find_if(std::begin(mapSubjects), std::end(mapSubjects),
                        [&](const MapSubject& each) { return each.by == by; });
}

ExitStatus run(const MapOptions& options, const Session& session) {
   session.checkStandardInput(options);
   session.checkFile(options.against);
   const PictureFormat& format = pictureFormatOf(options.out);
   const MapSubject& subject = subjectOf(options);
   const MapBy by = subject.by;
   const Theme theme = rowNamed(std::span<const MapTheme>(mapThemes), "theme", options.theme).theme;
   if (by == MapBy::difference && options.against.empty()) {
      throw UsageError("--by difference needs a table to compare with: --against");
   }
   if (by != MapBy::difference && !options.against.empty()) {
      throw UsageError(fmt::format("--against is for --by difference, and not for --by {}", subject.name));
   }
   if (by != MapBy::payload && !options.part.empty()) {
      throw UsageError(fmt::format("--part is for --by payload, and not for --by {}", subject.name));
   }
   if (options.against == "-" && std::count(options.tables.begin(), options.tables.end(), "-") > 0) {
      throw UsageError("standard input can be a table only once");
   }
   if (!std::has_single_bit(options.side) || options.side < leastMapSide || options.side > mostMapSide) {
      throw UsageError(fmt::format("--size is a power of two from {} to {}, in pixels: {}", leastMapSide, mostMapSide,
                                   options.side));
   }
   std::optional<Corenet::IpGenPrefix> within;
   if (!options.within.empty()) {
      try {
         within = prefixOfText(options.within);
      } catch (const BadText& fault) {
         throw UsageError(fault.what());
      }
   }
   if (!canDraw()) {  // before minutes are spent on reading
      format.draw({}, theme);
   }

   const auto order = static_cast<unsigned>(std::countr_zero(options.side));
   std::uint64_t faults = 0;
   ShownBlock shown;
   const auto block = [&] { return within.value_or(shown.block()); };
   SpaceMap map;
   if (by == MapBy::age) {
      if (session.isShell()) {
         throw UsageError(
            "the age of changes is in files, and not in tables that are loaded: run `rtrie map` by itself");
      }
      RouteSet routes;
      ChangeTimes changes;
      faults = loadChanges(options, changes, routes);
      shown.add(routes);
      shown.add(changes);
      map = mapByAge(routes, changes, block(), order);
   } else {
      const auto asked = session.tables(options);
      const RouteSet& routes = asked->routes();
      faults = asked.faults;
      shown.add(routes);
      if (by == MapBy::difference) {
         LoadOptions one = static_cast<const LoadOptions&>(options);
         one.tables = {options.against};
         const auto before = session.tables(one);
         faults += before.faults;
         shown.add(before->routes());
         map = mapByDifference(before->routes(), routes, block(), order);
      } else {
         map = by == MapBy::length ? mapByLength(routes, block(), order)
                                   : mapByPayload(routes, block(), order, options.part);
      }
   }
   writeFile(options.out, format.draw(map, theme));
   return faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addMap(CLI::App& app) {
   auto options = std::make_shared<MapOptions>();
   addLoadOptions(app, *options);
   app.add_option("--out", options->out, fmt::format("The picture, a {} file", pictureEndings()))
      ->type_name("FILE")
      ->required();
   app.add_option("--by", options->by, "What the colours stand for; length, or difference where there is --against")
      ->type_name("SUBJECT");
   app.add_option("--part", options->part,
                  "Of payloads, only the word behind this one, such as via, dev or as; origin: the last AS of a path")
      ->type_name("WORD");
   app.add_option("--against", options->against, "The table to compare with, which was there before")
      ->type_name("FILE");
   app.add_option("--within", options->within,
                  "The block to show; all of IPv4 unless given, or the one that holds all routes of an IPv6 table")
      ->type_name("PREFIX");
   app.add_option("--size", options->side,
                  fmt::format("Side of the curve in pixels, a power of two from {} to {}", leastMapSide, mostMapSide))
      ->type_name("N")
      ->capture_default_str();
   app.add_option("--theme", options->theme, "The paper")->type_name("THEME")->capture_default_str();
   app.footer(
      "The block is drawn as a Hilbert curve, from the corner at the top left to that at the top right: a prefix is "
      "a "
      "square or half of one, and neighbours stay together. A pixel shows what most of its addresses have, of "
      "changes and differences any that it has.\n\n" +
      helpSection("Subjects", summariesOf(std::span<const MapSubject>(mapSubjects))) + "\n" +
      helpSection("Themes", summariesOf(std::span<const MapTheme>(mapThemes))) + "\n" +
      helpSection("Examples",
                  "  rtrie map --table routes.txt --out routes.png\n"
                  "  rtrie map --table today.txt --against yesterday.txt --within 10.0.0.0/8 --out changed.svg\n"
                  "  rtrie map --table rib.mrt.gz --part origin --size 2048 --out origins.png\n"
                  "  rtrie map --table rib.mrt.gz --table updates.mrt.gz --by age --theme dark --out age.png"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
