// The errors and explanations of the values and the table, in words.
#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>

#include "routetrie/address.h"
#include "routetrie/explanation.h"
#include "routetrie/family_table.h"
#include "routetrie/journal.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/prefix.h"
#include "routetrie/refresh.h"
#include "routetrie/walk_page.h"
#include "routetrie/watch.h"

namespace routetrie::Impl {

std::string quoted(std::string_view fault, std::string_view text) { return Corvid::badText(fault, text); }

std::string prefixFault(Corenet::Impl::TextFault fault, unsigned width, std::string_view text) {
   using Corenet::Impl::TextFault;
   const std::string_view length = text.substr(std::min(text.find('/'), text.size() - 1) + 1);
   switch (fault) {
      case TextFault::notAddress: return quoted(width == 32 ? "not an IPv4 prefix" : "not an IPv6 prefix", text);
      case TextFault::noLength: return quoted("prefix has no length", text);
      case TextFault::lengthNotNumber: return quoted("prefix length is not a number", text);
      case TextFault::lengthTooGreat: return quoted(fmt::format("prefix length {} exceeds {}", length, width), text);
      case TextFault::hostBits: return quoted("prefix has bits set past its length", text);
      case TextFault::none: break;
   }
   return {};
}

void throwLength(unsigned length, unsigned width) {
   const std::string text = width == 0 ? std::string("an address without a family has no prefix")
                                       : fmt::format("prefix length {} exceeds {}", length, width);
   Corvid::RangeException::throwException(text.c_str());
}

void throwNoPrefix() { throw std::invalid_argument("a table has no route of the null or of the empty prefix"); }

void throwBulkSizes(std::size_t addresses, std::size_t answers) {
   throw std::invalid_argument(fmt::format("room for {} answers to {} addresses", answers, addresses));
}

void throwHeldValue() {
   throw std::logic_error("a value that a snapshot holds cannot be changed, as it cannot be copied");
}

void throwNoBudget() { throw std::invalid_argument("a budget of no routes"); }
void throwNoMark() { throw std::logic_error("a table that is not marked has nothing to sweep"); }

namespace {

constexpr std::string_view tokenStart = "start";
constexpr std::string_view tokenAfter = "after=";
constexpr std::string_view tokenUnder = ",under=";
constexpr std::string_view tokenCheck = ",check=";

// FNV-1a of 32 bits (Fowler, Noll, Vo): one character that is changed always changes it.
std::string checkOf(std::string_view text) {
   std::uint32_t hash = 0x811c9dc5;
   for (const char c : text) {
      hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
   }
   return fmt::format("{:08x}", hash);
}

}  // namespace

std::string tokenText(std::string_view after, std::string_view under) {
   std::string text = after.empty() ? std::string(tokenStart) : fmt::format("{}{}", tokenAfter, after);
   if (!under.empty()) {
      text += fmt::format("{}{}", tokenUnder, under);
   }
   return text + fmt::format("{}{}", tokenCheck, checkOf(text));
}

std::string_view readToken(std::string_view text, TokenTexts& texts) {
   const std::size_t check = text.rfind(tokenCheck);
   if (check == text.npos) {
      return noToken;
   }
   std::string_view rest = text.substr(0, check);
   if (text.substr(check + tokenCheck.size()) != checkOf(rest)) {
      return "walk token is damaged";
   }
   if (const std::size_t under = rest.find(tokenUnder); under != rest.npos) {
      texts.under = rest.substr(under + tokenUnder.size());
      rest = rest.substr(0, under);
      if (texts.under.empty()) {
         return noToken;
      }
   }
   if (rest == tokenStart) {
      return {};
   }
   if (!rest.starts_with(tokenAfter) || rest.size() == tokenAfter.size()) {
      return noToken;
   }
   texts.after = rest.substr(tokenAfter.size());
   return {};
}

}  // namespace routetrie::Impl

namespace routetrie {

std::string_view describe(verdict why) noexcept {
   switch (why) {
      case verdict::taken: return "taken: the longest";
      case verdict::shorter: return "not taken: a longer one covers it";
      case verdict::refused: return "not taken: refused by the test";
   }
   return {};
}

std::string_view describe(change_kind kind) noexcept {
   switch (kind) {
      case change_kind::added: return "added";
      case change_kind::changed: return "changed";
      case change_kind::erased: return "erased";
   }
   return {};
}

std::string_view describe(watch_cause cause) noexcept {
   switch (cause) {
      case watch_cause::added: return "added";
      case watch_cause::changed: return "changed";
      case watch_cause::erased: return "erased";
      case watch_cause::rechecked: return "rechecked";
      case watch_cause::several: return "several changes";
   }
   return {};
}

}  // namespace routetrie
