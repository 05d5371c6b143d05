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
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/BriskTrace.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/Rows.h"
#include "tools/tables/ByteSource.h"
#include "tools/tables/Numbers.h"

namespace Rtrie {
namespace {

// What `read` gives; its fault as one of the file.
template <class Read>
auto checked(const std::string& path, Read&& read) {
   try {
      return read();
   } catch (const Corvid::RangeException& fault) {
      throw DataError(tableName(path) + ": " + fault.what());
   }
}

// The bytes of a file of timed blocks, and what they hold, as views into them.
class TraceContent {
  public:
   explicit TraceContent(const std::string& path)
      : bytes_(bytesOf(path)),
        entries_(checked(path, [&] { return BriskTrace::TraceFile::entriesOf(std::as_bytes(std::span(bytes_))); })) {}
   const std::vector<BriskTrace::Entry>& entries() const { return entries_; }

  private:
   // The whole file, and what lies behind it only as far as it takes to tell: what is unpacked may have no end.
   static std::string bytesOf(const std::string& path) {
      constexpr std::size_t pieceBytes = std::size_t{1} << 16;
      const auto source = openTable(path);
      std::string bytes;
      std::uint64_t wanted = pieceBytes;
      for (std::size_t got = 1; got != 0 && bytes.size() <= wanted;) {
         const std::size_t size = bytes.size();
         bytes.resize(size + pieceBytes);
         got = source->read(bytes.data() + size, pieceBytes);
         bytes.resize(size + got);
         if (size < BriskTrace::TraceFile::headerBytes && bytes.size() >= BriskTrace::TraceFile::headerBytes) {
            wanted = checked(path, [&] { return BriskTrace::TraceFile::sizeOf(std::as_bytes(std::span(bytes))); });
         }
      }
      return bytes;
   }

   std::string bytes_;
   std::vector<BriskTrace::Entry> entries_;
};

// A call's place and text. Those of programs are short; of any other file that claims to be one, as much is shown.
struct Call {
   static constexpr std::size_t mostBytes = 1024;

   std::string source;
   U32 line;
   std::string text;

   explicit Call(const BriskTrace::Entry& entry)
      : source(shown(entry.source)), line(entry.line), text(shown(entry.text)) {}
   auto operator<=>(const Call&) const = default;

   static std::string shown(std::string_view text) {
      return text.size() <= mostBytes ? std::string(text) : std::string(text.substr(0, mostBytes)) + "...";
   }
};

void addTo(Json& object, const Call& call) {
   object["source"] = call.source;
   object["line"] = call.line;
   object["text"] = call.text;
}

// Of one call: how often, and the time of the fastest, the median, the 99th in a hundred and the slowest.
struct Times {
   Call call;
   std::size_t calls;
   std::uint64_t minNs;
   std::uint64_t medianNs;
   std::uint64_t p99Ns;
   std::uint64_t maxNs;
};

std::vector<Times> timesOf(const std::vector<BriskTrace::Entry>& entries) {
   // By the message's id first: its texts are looked at once, and not for each entry.
   std::map<U32, std::pair<const BriskTrace::Entry*, std::vector<std::uint64_t>>> byMessage;
   for (const auto& entry : entries) {
      auto& [first, times] = byMessage[entry.message];
      first = &entry;
      times.push_back(entry.elapsedNs);
   }
   std::map<Call, std::vector<std::uint64_t>> byCall;
   for (auto& [message, calls] : byMessage) {
      auto& times = byCall[Call(*calls.first)];
      times.insert(times.end(), calls.second.begin(), calls.second.end());
   }
   std::vector<Times> all;
   for (auto& [call, itsTimes] : byCall) {
      auto& times = itsTimes;  // clang 14 lets no lambda take what a structured binding names
      std::sort(times.begin(), times.end());
      const auto at = [&](std::size_t hundredths) { return times[(times.size() - 1) * hundredths / 100]; };
      all.push_back({call, times.size(), times.front(), at(50), at(99), times.back()});
   }
   return all;
}

void printListText(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   output.format("{:>14} {:>12} {:>8}  {}\n", "start us", "took ns", "thread", "call");
   for (const auto& entry : entries) {
      const Call call(entry);
      output.format("{:>10}.{:03} {:>12} {:>8}  {}:{} {}\n", entry.startNs / 1000, entry.startNs % 1000,
                    entry.elapsedNs, entry.thread, call.source, call.line, call.text);
      output.lineDone();
   }
}

void printListJson(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   for (const auto& entry : entries) {
      Json object = {{"startNs", entry.startNs}, {"elapsedNs", entry.elapsedNs}, {"thread", entry.thread}};
      addTo(object, Call(entry));
      jsonLine(output, object);
   }
}

void printSummaryText(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   output.format("{:>12} {:>10} {:>10} {:>10} {:>12}  {}\n", "calls", "min ns", "median", "99%", "max ns", "call");
   for (const Times& times : timesOf(entries)) {
      output.format("{:>12} {:>10} {:>10} {:>10} {:>12}  {}:{} {}\n", grouped(times.calls), times.minNs,
                    times.medianNs, times.p99Ns, times.maxNs, times.call.source, times.call.line, times.call.text);
   }
}

void printSummaryJson(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   for (const Times& times : timesOf(entries)) {
      Json object = {{"calls", times.calls},
                     {"minNs", times.minNs},
                     {"medianNs", times.medianNs},
                     {"p99Ns", times.p99Ns},
                     {"maxNs", times.maxNs}};
      addTo(object, times.call);
      jsonLine(output, object);
   }
}

template <RowForm form>
void printListRows(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   rowNames(output, form, {"startNs", "elapsedNs", "thread", "source", "line", "text"});
   for (const auto& entry : entries) {
      const Call call(entry);
      row(output, form,
          {fmt::format("{}", entry.startNs), fmt::format("{}", entry.elapsedNs), fmt::format("{}", entry.thread),
           call.source, fmt::format("{}", call.line), call.text});
   }
}

template <RowForm form>
void printSummaryRows(const std::vector<BriskTrace::Entry>& entries, Output& output) {
   rowNames(output, form, {"calls", "minNs", "medianNs", "p99Ns", "maxNs", "source", "line", "text"});
   for (const Times& times : timesOf(entries)) {
      row(output, form,
          {fmt::format("{}", times.calls), fmt::format("{}", times.minNs), fmt::format("{}", times.medianNs),
           fmt::format("{}", times.p99Ns), fmt::format("{}", times.maxNs), times.call.source,
           fmt::format("{}", times.call.line), times.call.text});
   }
}

struct TraceFormat {
   std::string_view name;
   std::string_view summary;
   void (*summaryOf)(const std::vector<BriskTrace::Entry>& entries, Output& output);
   void (*listOf)(const std::vector<BriskTrace::Entry>& entries, Output& output);
};

constexpr TraceFormat traceFormats[] = {
   {"text", "for people", printSummaryText, printListText},
   {"tsv", "what json has, a call a line with tabs between", printSummaryRows<RowForm::tsv>,
    printListRows<RowForm::tsv>},
   {"csv", "the same with commas, and the names of the columns first", printSummaryRows<RowForm::csv>,
    printListRows<RowForm::csv>},
   {"json", "one object a line, times in nanoseconds", printSummaryJson, printListJson},
};

struct TraceOptions {
   std::string file;
   std::string format = std::string(traceFormats[0].name);
   bool isList = false;
};

ExitStatus run(const TraceOptions& options, const Session& session) {
   session.checkFile(options.file);
   const TraceFormat& format = rowNamed(std::span<const TraceFormat>(traceFormats), "format", options.format);
   const TraceContent content(options.file);
   Output output(STDOUT_FILENO);
   (options.isList ? format.listOf : format.summaryOf)(content.entries(), output);
   output.flush();
   return ExitStatus::ok;
}

}  // namespace

Run addTrace(CLI::App& app) {
   auto options = std::make_shared<TraceOptions>();
   app.add_option("FILE", options->file, "A file of timed blocks that a program left; - is standard input")
      ->required();
   app.add_flag("--list", options->isList, "Show each call by itself, the oldest first");
   addFormatOption(app, options->format, "How it is printed");
   app.footer(helpSection("Formats", summariesOf(std::span<const TraceFormat>(traceFormats))) + "\n" +
              helpSection("Example", "  rtrie trace trie.brisk"));
   return [options](Session& session) { return run(*options, session); };
}

}  // namespace Rtrie
