#include "tools/tables/TableLoader.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "tools/tables/ByteSource.h"
#include "tools/tables/JsonReader.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/Messages.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/Progress.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/TableFormat.h"
#include "tools/tables/Words.h"
#include "tools/tables/kernel/KernelTable.h"
#include "tools/tables/mrt/MrtRecords.h"
#include "tools/tables/mrt/MrtRoutes.h"
#include "tools/tables/mrt/MrtTable.h"

namespace Rtrie {
namespace {

// Lines that decide on the format: enough for it to show through some bad lines at the top.
constexpr std::size_t sampleLines = 200;
// Bad lines that are printed for each table; more are only counted.
constexpr std::uint64_t shownBadLines = 20;
constexpr std::uint64_t linesPerUpdate = 1024;

// Bytes at the start of a table that tell what it is.
constexpr std::size_t sniffedBytes = std::size_t{1} << 16;
// Where more records than this are bad, and there is no good one, there is none to come.
constexpr std::uint64_t mostBadRecords = 1'000'000;

bool isBlankOrComment(std::string_view trimmedLine) { return trimmedLine.empty() || trimmedLine.front() == '#'; }

std::string counted(std::uint64_t count, std::string_view what, std::string_view several = "") {
   return fmt::format("{} {}{}", grouped(count), count == 1 || several.empty() ? what : several,
                      count == 1 || !several.empty() ? "" : "s");
}

// Loads one table.
class Loader {
  public:
   Loader(const std::string& path, bool strict, const Selection& selection, RouteSet& routes, Progress& progress)
      : name_(tableName(path)),
        strict_(strict),
        selection_(selection),
        routes_(routes),
        progress_(progress),
        source_(openTable(path)),
        reader_(source_, [this](std::uint64_t number, const std::string& what) {
           ++entries_;
           badLine(what, number);
        }) {}

   void load() {
      const auto first = source_.ahead(sniffedBytes);
      if (isMrt(first)) {
         loadMrt();
         return;
      }
      // An endless file of zeros has no lines to be bad.
      if (first.find('\0') != std::string_view::npos) {
         throw DataError(fmt::format("{}: is no text: it holds bytes of 0", name_));
      }
      if (isJson(first)) {
         loadJson();
      } else {
         loadLines();
      }
   }

   std::uint64_t lines() const { return lines_; }
   std::uint64_t badLines() const { return badLines_; }
   std::uint64_t leftOut() const { return leftOut_; }
   SelectedBy selectedBy() const { return selectedBy_; }
   bool isEmpty() const { return entries_ == badLines_; }
   const std::string& name() const { return name_; }

  private:
   void loadLines() {
      std::vector<std::uint64_t> numbers;
      std::vector<std::string> sample;
      while (sample.size() < sampleLines) {
         const auto text = nextLine();
         if (!text) {
            break;
         }
         numbers.push_back(reader_.lineNumber());
         sample.emplace_back(*text);
      }
      const TableFormat& format = formatOf(sample);
      selectedBy_ = format.selectedBy;
      const auto parser = format.parser(selection_);
      parser->hostBitsAre(selection_.hostBits);
      for (std::size_t i = 0; i < sample.size(); ++i) {
         parse(*parser, sample[i], numbers[i]);
      }
      while (const auto text = nextLine()) {
         parse(*parser, *text, reader_.lineNumber());
      }
      parser->end(routes_);
      progress_.hide();
      lines_ = reader_.lineNumber();
      tellCount("line");
      tellLeftOut(parser->leftOut(), "line");
      tellMasked(parser->masked());
   }

   // Documents may follow each other that are of different kinds: IPv4 routes of one program, IPv6 routes of another.
   void loadJson() {
      std::map<const TableFormat*, std::unique_ptr<EntryParser>> parsers;
      const auto bad = [this](std::string_view what) { badEntry(fmt::format("{}: {}", name_, what)); };
      const auto each = [&](const JsonEntry& entry) {
         ++entries_;
         const TableFormat* format = formatOf(entry);
         if (format == nullptr) {
            bad(fmt::format("entry {}: no route of a kind that is known", entries_));
            return;
         }
         auto& parser = parsers[format];
         if (!parser) {
            parser = format->entryParser(selection_);
            parser->hostBitsAre(selection_.hostBits);
            selectedBy_ = format->selectedBy;
         }
         try {
            parser->entry(entry, routes_);
         } catch (const BadText& fault) {
            bad(fmt::format("entry {}: {}", entries_, fault.what()));
         }
         if (entries_ % linesPerUpdate == 0) {
            progress_.update(name_, source_.position(), source_.size(), entries_, "entries");
         }
      };
      readJson(source_, each, [&](const std::string& what) {
         ++entries_;
         bad("not JSON from here on: " + what);
      });
      for (const auto& [format, parser] : parsers) {
         parser->end(routes_);
      }
      progress_.hide();
      lines_ = entries_;
      tellCount("entry", "entries");
      for (const auto& [format, parser] : parsers) {
         selectedBy_ = std::max(selectedBy_, format->selectedBy);
         tellLeftOut(parser->leftOut(), "entry", "entries");
         tellMasked(parser->masked());
      }
   }

   void loadMrt() {
      selectedBy_ = SelectedBy::peer;
      const auto bad = [this](const std::string& what) {
         badEntry(what.starts_with(name_) ? what : fmt::format("{}: {}", name_, what));
      };
      MrtTable table(routes_);
      MrtRecords records(source_, bad);
      MrtRoutes parser(selection_, table, bad);
      while (const auto record = records.next()) {
         ++entries_;
         records.readUpTo(parser.read(*record));
         if (record->number % linesPerUpdate == 0) {
            progress_.update(name_, source_.position(), source_.size(), record->number, "records");
         }
         if (badLines_ > mostBadRecords && isEmpty()) {
            throw DataError(fmt::format("{}: {} bad records and no other: given up", name_, grouped(badLines_)));
         }
      }
      progress_.hide();
      lines_ = records.count();
      entries_ = std::max(entries_, badLines_);
      tellCount("record");
      const LeftOut peers = parser.otherPeers();
      leftOut_ = peers.count() + parser.otherKinds().count();
      if (peers.count() > 0) {
         say(
            fmt::format("{}: {} of other peers left out: {}", name_, counted(peers.count(), "route"), peers.names()));
      }
      if (parser.otherKinds().count() > 0) {
         say(fmt::format("{}: left out what is no unicast route of a peer: {}", name_, parser.otherKinds().names()));
      }
      tellMasked(parser.masked());
   }

   // The next line that is neither blank nor a comment, trimmed.
   std::optional<std::string_view> nextLine() {
      while (const auto line = reader_.next()) {
         if (reader_.lineNumber() % linesPerUpdate == 0) {
            progress_.update(name_, source_.position(), source_.size(), reader_.lineNumber());
         }
         if (const auto text = trimmed(*line); !isBlankOrComment(text)) {
            return text;
         }
      }
      return std::nullopt;
   }

   void parse(LineParser& parser, std::string_view text, std::uint64_t number) {
      ++entries_;
      try {
         parser.line(text, routes_);
      } catch (const BadText& fault) {
         badLine(fault.what(), number);
      }
   }

   void badLine(std::string_view fault, std::uint64_t number) {
      badEntry(fmt::format("{}:{}: {}", name_, number, fault));
   }

   void badEntry(const std::string& message) {
      ++badLines_;
      if (strict_) {
         throw DataError(message);
      }
      if (badLines_ <= shownBadLines) {
         progress_.hide();
         say(message);
      }
   }

   void tellLeftOut(const LeftOut& leftOut, std::string_view what, std::string_view several = "") {
      leftOut_ += leftOut.count();
      if (leftOut.count() == 0) {
         return;
      }
      const bool byPeer = selectedBy_ == SelectedBy::peer;
      say(fmt::format("{}: {} of other {} left out: {}{}", name_, counted(leftOut.count(), what, several),
                      byPeer ? "peers" : "routing tables", leftOut.names(),
                      byPeer ? "" : "; --route-table takes one of them, or all"));
   }

   void tellMasked(std::uint64_t masked) const {
      if (masked > 0) {
         say(fmt::format("{}: {} with bits past the length, which were cleared", name_,
                         counted(masked, "prefix", "prefixes")));
      }
   }

   void tellCount(std::string_view what, std::string_view several = "") const {
      if (badLines_ == 0) {
         return;
      }
      const std::string hidden =
         badLines_ > shownBadLines ? fmt::format(" ({} of them not shown)", grouped(badLines_ - shownBadLines)) : "";
      say(fmt::format("{}: {} bad {} left out of {}{}", name_, grouped(badLines_),
                      badLines_ == 1    ? std::string(what)
                      : several.empty() ? fmt::format("{}s", what)
                                        : std::string(several),
                      grouped(entries_), hidden));
   }

   std::string name_;
   bool strict_;
   const Selection& selection_;
   RouteSet& routes_;
   Progress& progress_;
   PeekedSource source_;
   LineReader reader_;
   std::uint64_t lines_ = 0;
   std::uint64_t entries_ = 0;  // lines that are neither blank nor comments
   std::uint64_t badLines_ = 0;
   std::uint64_t leftOut_ = 0;
   SelectedBy selectedBy_ = SelectedBy::nothing;
};

KernelRead loadKernel(KernelTable table, bool strict, RouteSet& routes, Progress& progress) {
   const KernelRead read =
      table.read(routes, [&](std::uint64_t count) { progress.update(table.name(), 0, 0, count, "routes"); });
   progress.hide();
   if (strict && read.faults > 0) {
      throw DataError(
         fmt::format("{}: {} bad {}", table.name(), grouped(read.faults), read.faults == 1 ? "message" : "messages"));
   }
   if (!read.isConsistent) {
      say(fmt::format("{}: routes changed while they were read: some may be missing", table.name()));
   }
   return read;
}

void tellUnanswering(const std::string& names, const RouteSet& routes) {
   constexpr std::string_view where = "lookup --op exact --format json shows";
   const LostOffers lost = routes.lost();
   if (const std::uint64_t count = lost.count(); count > 0) {
      std::string how;
      const auto part = [&](std::uint64_t some, std::string_view what) {
         if (some > 0) {
            how += fmt::format("{}{} {}", how.empty() ? "" : "; ", grouped(some), what);
         }
      };
      part(lost.of(Choice::lastLine), "in lists, by the last line");
      part(lost.of(Choice::metric), "of kernels and routers, by metric or selection");
      part(lost.of(Choice::asPath), "of BGP peers, by the shortest AS path");
      part(lost.alike, "of all these said the same again");
      say(fmt::format("{}: {} route{} lost to another of the same prefix ({}); {} {}", names, grouped(count),
                      count == 1 ? "" : "s", how, where, count == 1 ? "it" : "them"));
   }
   if (lost.replaced > 0) {
      say(fmt::format("{}: {} route{} replaced by what the same peer said later", names, grouped(lost.replaced),
                      lost.replaced == 1 ? " was" : "s were"));
   }
   if (const std::uint64_t bound = routes.bound(); bound > 0) {
      say(fmt::format("{}: {} route{} dead, or for one source or type of service alone: no answer; {} {}", names,
                      grouped(bound), bound == 1 ? " is" : "s are", where, bound == 1 ? "it" : "them"));
   }
}

}  // namespace

Selection selectionOf(const LoadOptions& options) {
   Selection selection;
   if (!options.peer.empty()) {
      selection.peer.emplace(options.peer);
   }
   selection.hostBits = options.masksHostBits ? HostBits::mask : HostBits::refuse;
   selection.routeTableNames = RouteTableNames::ofThisMachine();
   selection.allRouteTables = options.routeTable == "all";
   if (!options.routeTable.empty()) {
      selection.routeTable = selection.routeTableNames.key(options.routeTable);
   }
   return selection;
}

LoadReport loadTables(const LoadOptions& options, RouteSet& routes) {
   const auto start = std::chrono::steady_clock::now();
   const Selection selection = selectionOf(options);
   LoadReport report;
   std::string names;
   bool hasPeers = false;
   bool hasRouteTables = false;
   for (const std::string& path : options.tables) {
      Progress progress(Progress::standardErrorShows());
      if (isKernelTable(path)) {
         const KernelRead read = loadKernel(KernelTable(path, selection), options.strict, routes, progress);
         report.lines += read.routes;
         report.faults += read.faults;
         hasRouteTables = true;
         names += (names.empty() ? "" : ", ") + path;
         if (read.routes == 0 && options.tables.size() > 1) {
            say(fmt::format("{}: the table has no routes", path));
            ++report.faults;
         }
         continue;
      }
      Loader loader(path, options.strict, selection, routes, progress);
      loader.load();
      report.lines += loader.lines();
      report.faults += loader.badLines();
      report.leftOut += loader.leftOut();
      hasPeers = hasPeers || loader.selectedBy() == SelectedBy::peer;
      hasRouteTables = hasRouteTables || loader.selectedBy() == SelectedBy::routeTable;
      names += (names.empty() ? "" : ", ") + loader.name();
      if (loader.isEmpty() && options.tables.size() > 1) {
         say(fmt::format("{}: the table has no routes", loader.name()));
         ++report.faults;
      }
   }
   if (!options.peer.empty() && !hasPeers) {
      throw DataError(fmt::format("{}: --peer is for MRT and lines of bgpdump -m, and this is neither", names));
   }
   if (!options.routeTable.empty() && !hasRouteTables) {
      throw DataError(fmt::format(
         "{}: --route-table is for what ip route, FRR and BIRD print or a kernel has, and this is not", names));
   }
   routes.seal();
   report.lost = routes.lost();
   report.bound = routes.bound();
   tellUnanswering(names, routes);
   if (routes.size() == 0) {
      throw DataError(fmt::format("{}: the table has no routes", names));
   }
   report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   return report;
}

}  // namespace Rtrie
