// The errors and explanations of the values and the table, in words.
#include <fmt/format.h>

#include <stdexcept>

#include "routetrie/address.h"
#include "routetrie/explanation.h"
#include "routetrie/family_table.h"
#include "routetrie/journal.h"
#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/prefix.h"
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
