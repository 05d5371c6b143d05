#include "tools/rtrie/commands/FreeCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/free_space.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/PayloadTable.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/tables/Messages.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {
namespace {

struct FreeFormat {
   std::string_view name;
   std::string_view summary;
   void (*begin)(Output& output);
   void (*print)(const Corenet::IpGenPrefix& prefix, Output& output);
};

void printFreeText(const Corenet::IpGenPrefix& prefix, Output& output) {
   output.format("{}\n", prefix.stringValue());
   output.lineDone();
}

constexpr FreeFormat freeFormats[] = {
   {"text", "a prefix a line", [](Output&) {}, printFreeText},
   {"tsv", "the same", [](Output&) {}, printFreeText},
   {"csv", "the same below the name of the column",
    [](Output& output) { rowNames(output, RowForm::csv, {"prefix"}); }, printFreeText},
   {"json", "one object a line: prefix, length", [](Output&) {},
    [](const Corenet::IpGenPrefix& prefix, Output& output) {
       jsonLine(output, {{"prefix", std::string(prefix.stringValue())}, {"length", prefix.len()}});
    }},
};

struct FreeOptions : LoadOptions {
   std::string within;
   std::vector<std::string> ignored;
   std::optional<unsigned> length;
   std::optional<std::uint64_t> count;
   std::string format = std::string(freeFormats[0].name);
};

Corenet::IpGenPrefix prefixOfOption(const std::string& text) {
   try {
      return prefixOfText(text);
   } catch (const BadText& fault) {
      throw UsageError(fault.what());
   }
}

Corenet::IpGenPrefix poolOf(const FreeOptions& options) {
   const Corenet::IpGenPrefix pool = prefixOfOption(options.within);
   const unsigned most = pool.af() == Corenet::AddressFamily::ipv6 ? 128 : 32;
   if (options.length && *options.length > most) {
      throw UsageError(fmt::format("prefix length {} exceeds {}", *options.length, most));
   }
   if (options.length && *options.length < pool.len()) {
      throw UsageError(fmt::format("no prefix of length {} lies within {}", *options.length, pool.stringValue()));
   }
   return pool;
}

ExitStatus run(const FreeOptions& options, Session& session) {
   session.checkStandardInput(options);
   const FreeFormat& format = rowNamed(std::span<const FreeFormat>(freeFormats), "format", options.format);
   const Corenet::IpGenPrefix pool = poolOf(options);
   // Neither is an assignment: the default route, and the pool's own.
   std::set<Corenet::IpGenPrefix> ignored = {pool, Corenet::Prefix(), Corenet::Ip6Prefix()};
   for (const std::string& text : options.ignored) {
      ignored.insert(prefixOfOption(text));
   }
   const auto takes = [&](const auto& route) { return !ignored.contains(route.prefix); };
   const auto asked = session.tables(options);
   const PayloadTable& table = asked->payloads();
   Output output(STDOUT_FILENO);
   format.begin(output);
   std::uint64_t left = options.count.value_or(~std::uint64_t{0});
   const auto print = [&](const auto& range) {
      for (auto at = range.begin(); left != 0 && at != std::default_sentinel; ++at, --left) {
         format.print(*at, output);
      }
   };
   for (const auto& route : table.routes().covering(pool)) {
      if (takes(route)) {
         say(fmt::format("{} takes all of {}; --ignore {} if it is no assignment", route.prefix.stringValue(),
                         pool.stringValue(), route.prefix.stringValue()));
      }
   }
   if (options.length) {
      print(routetrie::free_prefixes(table.routes(), pool, *options.length, takes));
   } else {
      print(routetrie::free_blocks(table.routes(), pool, takes));
   }
   output.flush();
   return asked.faults == 0 ? ExitStatus::ok : ExitStatus::badData;
}

}  // namespace

Run addFree(CLI::App& app) {
   auto options = std::make_shared<FreeOptions>();
   addLoadOptions(app, *options);
   app.add_option("--within", options->within, "The prefix to look in")->type_name("PREFIX")->required();
   app.add_option("--length", options->length,
                  "Prefixes of this length; without it, the fewest prefixes that hold all that is free")
      ->type_name("N");
   app.add_option("--count", options->count, "At most so many; without it, all")->type_name("N");
   app.add_option("--ignore", options->ignored, "The route of this prefix takes no addresses; can be given again")
      ->type_name("PREFIX")
      ->allow_extra_args(false);
   addFormatOption(app, options->format, "How prefixes are printed");
   app.footer(
      "Each route takes the addresses that it covers, but for the default route, that of PREFIX itself, and those of "
      "--ignore.\n\n" +
      helpSection("Formats", summariesOf(std::span<const FreeFormat>(freeFormats))) + "\n" +
      helpSection("Examples",
                  "  rtrie free --table assigned.txt --within 10.0.0.0/16 --length 24 --count 1\n"
                  "  rtrie free --table assigned.txt --within 2001:db8::/32"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
