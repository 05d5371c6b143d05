#include "tools/rtrie/commands/WatchCommand.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/rtrie/MrtUpdates.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Session.h"
#include "tools/rtrie/UpdateLines.h"
#include "tools/rtrie/WatchFormat.h"
#include "tools/rtrie/WatchedTable.h"
#include "tools/tables/JsonReader.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/TableLoader.h"
#include "tools/tables/kernel/KernelFollower.h"

namespace Rtrie {
namespace {

struct WatchOptions : LoadOptions {
   std::string format = std::string(watchFormats().front().name);
   bool isPublications = false;
   std::vector<std::string> matches;
};

// Lines and entries that were passed over are no faults, but whoever waits for one of them wants to know.
void tellPassedOver(std::uint64_t count, std::string_view what) {
   if (count != 0) {
      say(fmt::format("<stdin>: passed over {} {}", grouped(count), what));
   }
}

void tellPassedOver(const UpdateLines& lines) {
   if (const LeftOut& others = lines.otherTables(); others.count() != 0) {
      tellPassedOver(
         others.count(),
         fmt::format("of other routing tables: {}; --route-table takes one of them, or all", others.names()));
   }
   tellPassedOver(lines.forSomePackets(), "of routes for some packets alone");
   tellPassedOver(lines.otherObjects(), "of links, addresses, neighbours and other objects");
}

void tellPassedOver(const MrtRoutes& parser) {
   const LeftOut peers = parser.otherPeers();
   tellPassedOver(peers.count(), fmt::format("of other peers: {}", peers.names()));
   tellPassedOver(parser.otherKinds().count(),
                  fmt::format("that are no unicast routes of a peer: {}", parser.otherKinds().names()));
}

// A table that is watched, and what is printed of it.
class Watch {
  public:
   Watch(const WatchOptions& options, std::unique_ptr<RouteSet> routes, const Selection& selection)
      : isPublications_(options.isPublications),
        format_(rowNamed(watchFormats(), "format", options.format)),
        table_(std::move(routes), selection),
        matches_(options.matches, table_),
        output_(STDOUT_FILENO) {
      if (isPublications_) {
         table_.watch(output_);
      } else {
         format_.begin(!matches_.empty(), output_);
      }
   }

   void apply(const RouteUpdate& update) {
      ++applied_;
      print(table_.apply(update));
   }
   void lose(std::string_view source) {
      ++applied_;
      table_.lose(source, [this](const Effect& effect) { print(effect); });
   }
   void become(std::unique_ptr<RouteSet> routes) {
      table_.become(std::move(routes), [this](const Effect& effect) { print(effect); });
   }
   void fault(const std::string& what) {
      ++faults_;
      say(what);
   }
   void flush() { output_.flush(); }
   bool isInDoubt() const { return table_.isInDoubt(); }

   // tableFaults: those of the tables before.
   ExitStatus status(std::uint64_t tableFaults) const {
      return exitStatusOf(faults_ + tableFaults, applied_ != 0 || faults_ == 0);
   }

  private:
   void print(const Effect& effect) {
      if (!matches_.empty()) {
         matches_.update(effect, [&](const MatchChange& change) {
            format_.printMatch(change, output_);
            output_.lineDone();
         });
      } else if (!isPublications_) {
         format_.print(effect, output_);
         output_.lineDone();
      }
   }

   const bool isPublications_;
   const WatchFormat& format_;
   WatchedTable table_;
   WatchedMatches matches_;
   Output output_;
   std::uint64_t applied_ = 0;
   std::uint64_t faults_ = 0;
};

void watchRecords(ByteSource& source, const Selection& selection, Watch& watch) {
   struct stat status {};
   const bool isFile = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
   MrtUpdates updates(
      selection,
      {[&](const RouteUpdate& update) { watch.apply(update); }, [&](std::string_view peer) { watch.lose(peer); },
       [&](const std::string& what) {
          watch.fault(what.starts_with(source.name()) ? what : fmt::format("{}: {}", source.name(), what));
       }});
   updates.read(source, !isFile);
   tellPassedOver(updates.parser());
}

void watchEntries(ByteSource& source, UpdateLines& lines, Watch& watch) {
   std::uint64_t entries = 0;
   readJson(
      source,
      [&](const JsonEntry& entry) {
         ++entries;
         try {
            lines.entry(entry);
         } catch (const BadText& fault) {
            watch.fault(fmt::format("<stdin>: entry {}: {}", entries, fault.what()));
         }
      },
      [&](const std::string& what) { watch.fault(fmt::format("<stdin>: not JSON from here on: {}", what)); });
}

void watchLines(ByteSource& source, UpdateLines& lines, Watch& watch) {
   const auto tell = [&](std::uint64_t number, std::string_view what) {
      watch.fault(fmt::format("<stdin>:{}: {}", number, what));
   };
   LineReader reader(source, tell);
   while (const auto line = reader.next()) {
      try {
         lines.line(*line);
      } catch (const BadText& fault) {
         tell(reader.lineNumber(), fault.what());
      }
   }
}

// Updates from standard input, of a kind that their first bytes tell.
ExitStatus watchInput(const WatchOptions& options) {
   auto routes = std::make_unique<RouteSet>();
   routes->candidatesAreKept();
   const std::uint64_t tableFaults = loadTables(options, *routes).faults;
   const Selection selection = selectionOf(options);
   Watch watch(options, std::move(routes), selection);
   UpdateLines lines(selection, [&](const RouteUpdate& update) { watch.apply(update); });
   // Whoever writes the updates may wait for what they do.
   PeekedSource source(unpackedSource(descriptorSource(STDIN_FILENO, "<stdin>", [&] {
      lines.flush();
      watch.flush();
   })));
   constexpr std::size_t kindBytes = 5;  // fewer than any update has
   const auto first = source.ahead(kindBytes);
   if (startsAsMrt(first)) {
      watchRecords(source, selection, watch);
   } else if (isJson(first)) {
      watchEntries(source, lines, watch);
   } else {
      watchLines(source, lines, watch);
   }
   lines.flush();
   watch.flush();
   tellPassedOver(lines);
   return watch.status(tableFaults);
}

// Until it is ended from outside.
[[noreturn]] void watchKernel(const WatchOptions& options) {
   KernelFollower follower(KernelTable(options.tables.front(), selectionOf(options)));
   const Selection selection = follower.table().selection();
   Watch watch(options, follower.read(), selection);
   UpdateLines lines(selection, [&](const RouteUpdate& update) {
      watch.apply(update);
      if (watch.isInDoubt()) {
         follower.readAgainSoon();
      }
   });
   const KernelFollower::Told told = {
      [&](const KernelRoute& route) { lines.route(route.line, route.isWithdrawal, route.placing); },
      [&](std::unique_ptr<RouteSet> routes) { watch.become(std::move(routes)); }, [&] { watch.flush(); }};
   for (;;) {
      follower.step(told);
   }
}

ExitStatus run(const WatchOptions& options, const Session& session) {
   session.checkStandardInput(options, StandardInput::updates);
   rowNamed(watchFormats(), "format", options.format);
   if (!std::any_of(options.tables.begin(), options.tables.end(), isKernelTable)) {
      return watchInput(options);
   }
   if (options.tables.size() > 1) {
      throw UsageError(
         "watch follows a kernel alone: give no other table beside it, or what ip route prints instead of it");
   }
   watchKernel(options);
}

}  // namespace

Run addWatch(CLI::App& app) {
   auto options = std::make_shared<WatchOptions>();
   addLoadOptions(app, *options);
   addFormatOption(app, options->format, "How changes are printed");
   auto* const matches =
      app.add_option(
            "--match", options->matches,
            "Print only when another route answers one of these, or with another payload: what answered before, what "
            "does now, and which change is the cause")
         ->type_name("ADDRESS|PREFIX ...");
   app.add_flag("--publications", options->isPublications,
                "Print what the trie tells its watchers, attribute by attribute, instead of the changes of routes")
      ->excludes("--format")
      ->excludes(matches);
   app.footer(
      helpSection(
         "Updates, one a line of standard input",
         "  + PREFIX PAYLOAD, TIME a PREFIX PAYLOAD   add the route, or replace its payload\n"
         "  - PREFIX, TIME w PREFIX                   take it away\n"
         "  what ip monitor route prints              as a kernel does, which takes the lowest metric; of IPv4\n"
         "                                            routes that go with a device, it tells nothing\n"
         "  an MRT file of updates                    what each peer announces and withdraws, of a table in MRT\n"
         "With --table kernel: the kernel itself is followed, and standard input is not read.\n") +
      "\n" +
      helpSection("Answers, one a line of standard output",
                  "  add, replace, delete   the route that answers for the prefix is another now\n"
                  "  same                   it is the one that it was\n"
                  "  absent                 there was none to take away\n") +
      "\n" + helpSection("Formats", summariesOf(watchFormats())) + "\n" +
      helpSection("Examples",
                  "  rtrie watch --table kernel: --match 192.0.2.1\n"
                  "  ip monitor route | rtrie watch --table <(ip route show table all) --match 192.0.2.1\n"
                  "  rtrie watch --table rib.mrt.bz2 <updates.mrt.bz2\n"
                  "  echo '+ 192.0.2.0/24 via 198.51.100.1' | rtrie watch --table routes.txt\n"
                  "  ip monitor route | rtrie watch --table <(ip route show table all)\n"
                  "  ip monitor route | rtrie watch --table <(ip route show table all) --route-table 100"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
