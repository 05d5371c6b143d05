#include "tools/tables/formats/PrefixLines.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/tables/AddressNumber.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Words.h"

namespace Rtrie {
namespace {

constexpr std::string_view prefixSeparators = ", \t\r\v\f";
constexpr std::string_view digits = "0123456789";

std::string_view takeColumn(std::string_view& text) {
   const auto word = takeWord(text, prefixSeparators);
   text = trimmed(text);
   if (text.starts_with(',')) {
      text = trimmed(text.substr(1));
   }
   return word;
}

// Made of the characters of an address, and of enough of them: whether it is one shows when it is read.
bool isAddressShaped(std::string_view word) {
   return word.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos &&
          (std::count(word.begin(), word.end(), '.') == 3 || std::count(word.begin(), word.end(), ':') >= 2);
}

bool isIpv4Shaped(std::string_view word) {
   return word.find_first_not_of("0123456789.") == std::string_view::npos && isAddressShaped(word);
}

bool isFullLength(const Corenet::IpGenPrefix& prefix) {
   return prefix.len() == (prefix.af() == Corenet::AddressFamily::ipv6 ? 128 : 32);
}

void addRange(std::string_view firstText, std::string_view lastText, std::string_view payload, std::string_view line,
              RouteSet& routes) {
   const auto first = prefixOfText(firstText);
   const auto last = prefixOfText(lastText);
   if (first.af() != last.af() || !isFullLength(first) || !isFullLength(last)) {
      throw BadText(fmt::format("a range goes from one address to another of its family: \"{}\"", line));
   }
   const auto add = [&](auto from, auto to) {
      if (from > to) {
         throw BadText(fmt::format("first address of the range exceeds its last: \"{}\"", line));
      }
      routes.addRange(from, to, payload);
   };
   if (first.af() == Corenet::AddressFamily::ipv6) {
      add(numberOf(first.v6Prefix().address()), numberOf(last.v6Prefix().address()));
   } else {
      add(numberOf(first.v4Prefix().address()), numberOf(last.v4Prefix().address()));
   }
}

// If the line goes on from its first word to the end of a range, that end, with what follows it left in the text.
std::optional<std::string_view> takeRangeEnd(std::string_view& text) {
   std::string_view rest = text;
   if (!rest.starts_with('-')) {
      return std::nullopt;
   }
   rest.remove_prefix(1);
   const auto last = takeColumn(rest);
   if (!isAddressShaped(last.substr(0, last.find('/')))) {
      return std::nullopt;  // a dash before a remark
   }
   text = rest;
   return last;
}

// address <TAB> length <TAB> AS: no other list has just these.
bool isPrefixByAs(std::string_view rest) {
   const auto length = takeField(rest, '\t');
   return !length.empty() && length.size() <= 3 && length.find_first_not_of(digits) == std::string_view::npos &&
          !rest.empty() && rest.find_first_not_of("0123456789_,") == std::string_view::npos;
}

}  // namespace

bool PrefixLines::looksLike(std::string_view line) {
   const auto first = takeWord(line, prefixSeparators);
   return isPrefixText(first.substr(0, first.find('-')));
}

void PrefixLines::line(std::string_view text, RouteSet& routes) {
   const std::string_view whole = text;
   text = withoutComment(text);
   const char* const lineEnd = text.data() + text.size();
   auto first = takeWord(text, prefixSeparators);
   const bool isBeforeTab = text.starts_with('\t');
   text = trimmed(text);
   if (text.starts_with(',')) {
      text = trimmed(text.substr(1));
   } else if (const auto dash = first.find('-'); dash != std::string_view::npos) {
      // "1.0.1.0-1.0.3.255", "1.0.1.0- 1.0.3.255"
      text = std::string_view(first.data() + dash, static_cast<std::size_t>(lineEnd - first.data()) - dash);
      first = first.substr(0, dash);
   }
   if (const auto last = takeRangeEnd(text)) {
      addRange(first, *last, text, whole, routes);
      return;
   }
   auto prefix = prefixIn(first);
   if (first.find('/') == std::string_view::npos) {
      std::string_view rest = text;
      auto second = takeColumn(rest);
      const bool isNamed = second == "mask" || second == "netmask";
      if (isNamed) {
         second = takeColumn(rest);
      }
      if (isBeforeTab && isPrefixByAs(text)) {
         rest = text;
         const auto length = takeField(rest, '\t');
         prefix = prefixIn(fmt::format("{}/{}", first, length));
         text = rest;
      } else if (second.starts_with('/') && second.size() > 1) {
         prefix = prefixIn(fmt::format("{}{}", first, second));
         text = rest;
      } else if (isNamed || isIpv4Shaped(second)) {
         const auto length = netmaskLength(second);
         if (!length || prefix.af() != Corenet::AddressFamily::ipv4) {
            throw BadText(fmt::format("\"{}\" behind an address is no netmask, and a range is FIRST - LAST: \"{}\"",
                                      second, whole));
         }
         prefix = prefixIn(fmt::format("{}/{}", first, *length));
         text = rest;
      } else if (isAddressShaped(second) && isPrefixText(second)) {
         throw BadText(
            fmt::format("two addresses: a range is FIRST - LAST, a prefix is ADDRESS/LENGTH: \"{}\"", whole));
      }
   }
   routes.add(prefix, text);
}

}  // namespace Rtrie
