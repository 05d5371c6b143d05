#include "tools/rtrie/commands/TraceCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "routetrie/platform/BriskTrace.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/rtrie/ByteSource.h"
#include "tools/rtrie/Numbers.h"
#include "tools/rtrie/Output.h"

namespace Rtrie {
namespace {

struct TraceOptions {
   std::string file;
   bool isList = false;
};

std::vector<BriskTrace::Entry> entriesOf(const std::string& path) {
   constexpr std::size_t pieceBytes = std::size_t{1} << 20;
   const auto source = openTable(path);
   std::string bytes;
   for (std::size_t got = 1; got != 0;) {
      const std::size_t size = bytes.size();
      bytes.resize(size + pieceBytes);
      got = source->read(bytes.data() + size, pieceBytes);
      bytes.resize(size + got);
   }
   try {
      return BriskTrace::TraceFile::entriesOf(std::as_bytes(std::span(bytes)));
   } catch (const Corvid::RangeException& fault) {
      throw DataError(tableName(path) + ": " + fault.what());
   }
}

std::string placeOf(const BriskTrace::Entry& entry) { return fmt::format("{}:{}", entry.source, entry.line); }

void printList(Output& output, const std::vector<BriskTrace::Entry>& entries) {
   output.format("{:>14} {:>12} {:>8}  {}\n", "start us", "took ns", "thread", "call");
   for (const auto& entry : entries) {
      output.format("{:>10}.{:03} {:>12} {:>8}  {} {}\n", entry.startNs / 1000, entry.startNs % 1000, entry.elapsedNs,
                    entry.thread, placeOf(entry), entry.text);
      output.lineDone();
   }
}

// By call: how often, and the time of the fastest, the median, the 99th in a hundred and the slowest.
void printSummary(Output& output, const std::vector<BriskTrace::Entry>& entries) {
   std::map<std::tuple<std::string, std::string>, std::vector<std::uint64_t>> byCall;
   for (const auto& entry : entries) {
      byCall[{placeOf(entry), entry.text}].push_back(entry.elapsedNs);
   }
   output.format("{:>12} {:>10} {:>10} {:>10} {:>12}  {}\n", "calls", "min ns", "median", "99%", "max ns", "call");
   for (auto& [call, itsTimes] : byCall) {
      auto& times = itsTimes;  // clang 14 lets no lambda take what a structured binding names
      std::sort(times.begin(), times.end());
      const auto at = [&](std::size_t hundredths) { return times[(times.size() - 1) * hundredths / 100]; };
      output.format("{:>12} {:>10} {:>10} {:>10} {:>12}  {} {}\n", grouped(times.size()), times.front(), at(50),
                    at(99), times.back(), std::get<0>(call), std::get<1>(call));
   }
}

ExitStatus run(const TraceOptions& options) {
   const auto entries = entriesOf(options.file);
   Output output(STDOUT_FILENO);
   if (options.isList) {
      printList(output, entries);
   } else {
      printSummary(output, entries);
   }
   output.flush();
   return ExitStatus::ok;
}

}  // namespace

Run addTrace(CLI::App& app) {
   auto options = std::make_shared<TraceOptions>();
   app.add_option("FILE", options->file, "A file of timed blocks that a program left; - is standard input")
      ->required();
   app.add_flag("--list", options->isList, "Show each call by itself, the oldest first");
   app.footer(helpSection("Example", "  rtrie trace trie.brisk"));
   return [options] { return run(*options); };
}

}  // namespace Rtrie
