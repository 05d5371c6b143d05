#include "tools/tables/formats/NetstatLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <vector>

#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

using Words = std::vector<std::string_view>;

Words wordsOf(std::string_view text) {
   Words words;
   for (auto word = takeWord(text); !word.empty(); word = takeWord(text)) {
      words.push_back(word);
   }
   return words;
}

bool has(const Words& words, std::string_view word) {
   return std::find(words.begin(), words.end(), word) != words.end();
}

bool isKernelTitle(std::string_view line) { return line.starts_with("Kernel IP") && line.ends_with("routing table"); }
bool isHeader(const Words& words) { return words.size() > 3 && words.front() == "Destination"; }

bool isFlags(std::string_view word) {
   return !word.empty() && word.find_first_not_of("UGHRDMABCnaefmp!") == std::string_view::npos;
}

bool isNone(std::string_view gateway) {
   return gateway == "*" || gateway == "-" || gateway == "0.0.0.0" || gateway == "::" || gateway == "[::]";
}

// Without -n, the IPv6 default route is "[::]/0".
std::string destination6(std::string_view word) {
   std::string text(word);
   std::erase_if(text, [](char c) { return c == '[' || c == ']'; });
   return text;
}

bool isRow4(const Words& words) {
   return words.size() >= 8 && netmaskLength(words[2]) && isFlags(words[3]) &&
          (isNone(words[1]) || isAddressText(words[1]));
}

bool isRow6(const Words& words) {
   return words.size() >= 7 && words[0].find(':') != std::string_view::npos && isFlags(words[2]) &&
          (isNone(words[1]) || isAddressText(words[1])) && isPrefixText(destination6(words[0]));
}

// Metrics from 2^31 on are shown as negative numbers.
std::optional<U32> metricIn(std::string_view word) {
   std::int64_t value = 0;
   const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
   const bool isMetric = error == std::errc{} && end == word.data() + word.size() &&
                         value >= std::numeric_limits<std::int32_t>::min() &&
                         value <= std::numeric_limits<U32>::max();
   return isMetric ? std::optional(static_cast<U32>(value)) : std::nullopt;
}

}  // namespace

bool NetstatLines::looksLike(std::string_view line) {
   const auto words = wordsOf(line);
   return isKernelTitle(line) || isHeader(words) || isRow4(words) || isRow6(words);
}

void NetstatLines::line(std::string_view text, RouteSet& routes) {
   if (isKernelTitle(text)) {
      return;
   }
   const auto words = wordsOf(text);
   if (isHeader(words)) {
      hasMetric_ = has(words, "Metric");
      isRefused_ = !has(words, "Genmask") && !has(words, "Hop");
   }
   if (isRefused_) {
      throw BadText(
         fmt::format("a netstat listing without the column Genmask or Next Hop is not read: \"{}\"", text));
   }
   if (isHeader(words)) {
      return;
   }
   const bool is4 = isRow4(words);
   if (!is4 && !isRow6(words)) {
      throw BadText(fmt::format("not a row of what netstat -rn prints: \"{}\"", text));
   }
   const auto prefix =
      is4 ? prefixIn(fmt::format("{}/{}", words[0] == "default" ? "0.0.0.0" : words[0], *netmaskLength(words[2])))
          : prefixIn(destination6(words[0]));
   const auto flags = words[is4 ? 3 : 2];
   const auto metricText = is4 && !hasMetric_ ? "0" : words[is4 ? 4 : 3];
   const bool isRejected = flags.find('!') != std::string_view::npos;
   // IPv6 shows where the kernel gives up as a default route of the last metric.
   if (!is4 && isRejected && metricText == "-1" && prefix.len() == 0) {
      return;
   }
   const auto metric = metricIn(metricText);
   if (!metric) {
      throw BadText(fmt::format("metric \"{}\" is no number: \"{}\"", metricText, text));
   }
   std::string payload = isRejected ? "unreachable " : "";
   if (!isNone(words[1])) {
      payload += fmt::format("via {} ", words[1]);
   }
   if (const auto device = words.back(); !isNone(device)) {
      payload += fmt::format("dev {} ", device);
   }
   if (!is4 || hasMetric_) {
      payload += fmt::format("metric {} ", *metric);
   }
   payload += fmt::format("flags {}", flags);
   OfferText offer;
   offer.payload = payload;
   offer.choice = Choice::metric;
   offer.rank = metricRank(*metric);
   routes.add(prefix, offer);
}

}  // namespace Rtrie
