#include "tools/rtrie/TableLoader.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "tools/rtrie/ByteSource.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/LineReader.h"
#include "tools/rtrie/Messages.h"
#include "tools/rtrie/Numbers.h"
#include "tools/rtrie/Progress.h"
#include "tools/rtrie/TableFormat.h"
#include "tools/rtrie/Words.h"

namespace Rtrie {
namespace {

// Lines that decide on the format: enough for it to show through some bad lines at the top.
constexpr std::size_t sampleLines = 200;
// Bad lines that are printed for each table; more are only counted.
constexpr std::uint64_t shownBadLines = 20;
constexpr std::uint64_t linesPerUpdate = 1024;

bool isBlankOrComment(std::string_view trimmedLine) { return trimmedLine.empty() || trimmedLine.front() == '#'; }

// Loads one table.
class Loader {
  public:
   Loader(const std::string& path, bool strict, RouteSet& routes, Progress& progress)
      : name_(tableName(path)),
        strict_(strict),
        routes_(routes),
        progress_(progress),
        source_(openTable(path)),
        reader_(*source_) {}

   void load() {
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
      const auto parser = formatOf(sample).parser();
      for (std::size_t i = 0; i < sample.size(); ++i) {
         parse(*parser, sample[i], numbers[i]);
      }
      while (const auto text = nextLine()) {
         parse(*parser, *text, reader_.lineNumber());
      }
      parser->end(routes_);
      progress_.hide();
      tellCount();
   }

   std::uint64_t lines() const { return reader_.lineNumber(); }
   std::uint64_t badLines() const { return badLines_; }
   bool isEmpty() const { return entries_ == badLines_; }
   const std::string& name() const { return name_; }

  private:
   // The next line that is neither blank nor a comment, trimmed.
   std::optional<std::string_view> nextLine() {
      while (const auto line = reader_.next()) {
         if (reader_.lineNumber() % linesPerUpdate == 0) {
            progress_.update(name_, source_->position(), source_->size(), reader_.lineNumber());
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
         ++badLines_;
         const auto message = fmt::format("{}:{}: {}", name_, number, fault.what());
         if (strict_) {
            throw DataError(message);
         }
         if (badLines_ <= shownBadLines) {
            progress_.hide();
            say(message);
         }
      }
   }

   void tellCount() const {
      if (badLines_ == 0) {
         return;
      }
      const std::string hidden =
         badLines_ > shownBadLines ? fmt::format(" ({} of them not shown)", grouped(badLines_ - shownBadLines)) : "";
      say(fmt::format("{}: {} bad line{} left out of {}{}", name_, grouped(badLines_), badLines_ == 1 ? "" : "s",
                      grouped(entries_), hidden));
   }

   std::string name_;
   bool strict_;
   RouteSet& routes_;
   Progress& progress_;
   std::unique_ptr<ByteSource> source_;
   LineReader reader_;
   std::uint64_t entries_ = 0;  // lines that are neither blank nor comments
   std::uint64_t badLines_ = 0;
};

}  // namespace

LoadReport loadTables(std::span<const std::string> paths, bool strict, RouteSet& routes) {
   const auto start = std::chrono::steady_clock::now();
   LoadReport report;
   std::string names;
   for (const std::string& path : paths) {
      Progress progress(Progress::standardErrorShows());
      Loader loader(path, strict, routes, progress);
      loader.load();
      report.lines += loader.lines();
      report.faults += loader.badLines();
      names += (names.empty() ? "" : ", ") + loader.name();
      if (loader.isEmpty() && paths.size() > 1) {
         say(fmt::format("{}: the table has no routes", loader.name()));
         ++report.faults;
      }
   }
   routes.seal();
   if (routes.size() == 0) {
      throw DataError(fmt::format("{}: the table has no routes", names));
   }
   report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
   return report;
}

}  // namespace Rtrie
