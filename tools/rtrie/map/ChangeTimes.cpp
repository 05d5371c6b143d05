#include "tools/rtrie/map/ChangeTimes.h"

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "tools/rtrie/UpdateLines.h"
#include "tools/tables/LineReader.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"
#include "tools/tables/mrt/MrtRecords.h"
#include "tools/tables/mrt/MrtRoutes.h"
#include "tools/tables/mrt/MrtTable.h"

namespace Rtrie {
namespace {

using Corenet::IpGenPrefix;

constexpr std::uint64_t changesPerCount = 1024;
constexpr std::size_t changesSniffedBytes = std::size_t{1} << 16;
constexpr std::string_view stampWord = "Timestamp:";

// A time of the calendar as seconds; of the zone nothing is told, and only what lies between two of them counts.
std::optional<std::int64_t> secondsOfCalendar(std::string_view text, const char* format) {
   tm parts = {};
   const std::string copy(text);
   if (strptime(copy.c_str(), format, &parts) == nullptr) {
      return std::nullopt;
   }
   return static_cast<std::int64_t>(timegm(&parts));
}

// "1700000000.123 a 10.0.0.0/8": its whole seconds. An address has more dots than a time.
std::optional<std::int64_t> secondsOfSigned(std::string_view line) {
   const auto time = takeWord(line);
   const auto kind = takeWord(line);
   const auto dot = std::min(time.find('.'), time.size());
   const bool isTime = dot != 0 && time.substr(0, dot).find_first_not_of("0123456789") == std::string_view::npos &&
                       time.find_first_not_of("0123456789", dot + 1) == std::string_view::npos;
   std::int64_t seconds = 0;
   if (!isTime || (kind != "a" && kind != "w") ||
       std::from_chars(time.data(), time.data() + dot, seconds).ec != std::errc()) {
      return std::nullopt;
   }
   return seconds;
}

// The time that a line tells, of its own update or of those that follow.
std::optional<std::int64_t> secondsOfLine(std::string_view line) {
   if (line.starts_with('[')) {
      return secondsOfCalendar(line.substr(1), "%Y-%m-%dT%H:%M:%S");
   }
   if (line.starts_with(stampWord)) {
      return secondsOfCalendar(trimmed(line.substr(stampWord.size())), "%a %b %d %H:%M:%S %Y");
   }
   return secondsOfSigned(line);
}

// Notes when the records that it is given change something.
class MrtChanges final : public MrtSink {
  public:
   MrtChanges(ChangeTimes& changes, RouteSet& routes) : changes_(changes), table_(routes) {}

   void recordIs(const MrtRecord& record) { seconds_ = record.seconds; }

   void entry(const IpGenPrefix& prefix, const RibEntry& entry) override { table_.entry(prefix, entry); }
   void announced(const IpGenPrefix& prefix, const OfferText& offer) override {
      changes_.changed(prefix, seconds_);
      announced_[std::string(offer.source)].insert(prefix);
   }
   void withdrawn(const IpGenPrefix& prefix, std::string_view source) override {
      changes_.changed(prefix, seconds_);
      if (const auto known = announced_.find(source); known != announced_.end()) {
         known->second.erase(prefix);
      }
   }
   void lost(std::string_view source) override {
      const std::string paths = std::string(source) + ' ';
      for (auto at = announced_.lower_bound(source); at != announced_.end() && at->first.starts_with(source);) {
         if (at->first != source && !at->first.starts_with(paths)) {
            ++at;
            continue;
         }
         for (const auto& prefix : at->second) {
            changes_.changed(prefix, seconds_);
         }
         at = announced_.erase(at);
      }
   }

  private:
   ChangeTimes& changes_;
   MrtTable table_;
   std::int64_t seconds_ = 0;
   std::map<std::string, std::unordered_set<IpGenPrefix>, std::less<>> announced_;  // by source
};

void readMrtChanges(PeekedSource& source, const Selection& selection, ChangeTimes& changes, RouteSet& routes,
                    const TellFault& tell, const TellCount& count) {
   MrtChanges sink(changes, routes);
   MrtRecords records(source, tell);
   MrtRoutes parser(selection, sink, tell);
   while (const auto record = records.next()) {
      sink.recordIs(*record);
      records.readUpTo(parser.read(*record));
      if (count && record->number % changesPerCount == 0) {
         count(record->number);
      }
   }
}

void readLineChanges(PeekedSource& source, const Selection& selection, ChangeTimes& changes, const TellFault& tell,
                     const TellCount& count) {
   std::optional<std::int64_t> seconds;      // of the line at hand
   std::optional<std::int64_t> heldSeconds;  // of the update that may go on with that line
   UpdateLines lines(selection, [&](const RouteUpdate& update) {
      const auto& time = update.choice == Choice::metric ? heldSeconds : seconds;
      if (!time) {
         throw BadText(fmt::format("an update without a time: {}", update.prefix.stringValue()));
      }
      changes.changed(update.prefix, *time);
   });
   LineReader reader(source, [&](std::uint64_t, const std::string& what) { tell(what); });
   const auto attempt = [&](auto&& step) {
      try {
         step();
      } catch (const BadText& fault) {
         tell(fmt::format("line {}: {}", reader.lineNumber(), fault.what()));
      }
   };
   while (const auto line = reader.next()) {
      if (count && reader.lineNumber() % changesPerCount == 0) {
         count(reader.lineNumber());
      }
      const auto words = trimmed(*line);
      if (words.starts_with(stampWord)) {
         attempt([&] { lines.flush(); });
      }
      heldSeconds = seconds;
      if (const auto told = secondsOfLine(words)) {
         seconds = told;
      }
      attempt([&] { lines.line(*line); });
   }
   heldSeconds = seconds;
   attempt([&] { lines.flush(); });
}

}  // namespace

void ChangeTimes::changed(const IpGenPrefix& prefix, std::int64_t seconds) {
   auto& last = times_.try_emplace(prefix, seconds).first->second;
   last = std::max(last, seconds);
   last_ = std::max(last_.value_or(seconds), seconds);
}

std::optional<std::int64_t> ChangeTimes::secondsOf(const IpGenPrefix& prefix) const {
   const auto known = times_.find(prefix);
   return known == times_.end() ? std::nullopt : std::optional(known->second);
}

bool holdsChanges(PeekedSource& source) {
   auto text = source.ahead(changesSniffedBytes);
   if (isMrt(text)) {
      return true;
   }
   while (!text.empty()) {
      if (secondsOfLine(trimmed(takeField(text, '\n')))) {
         return true;
      }
   }
   return false;
}

void readChanges(PeekedSource& source, const Selection& selection, ChangeTimes& changes, RouteSet& routes,
                 const TellFault& tell, const TellCount& count) {
   if (isMrt(source.ahead(changesSniffedBytes))) {
      readMrtChanges(source, selection, changes, routes, tell, count);
   } else {
      readLineChanges(source, selection, changes, tell, count);
   }
}

}  // namespace Rtrie
