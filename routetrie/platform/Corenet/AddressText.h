// AddressText: reads the texts of addresses and prefixes, as the program runs and as it is compiled: a literal is checked
// by the same rule as a line of a file.
//
// An IPv4 address is four decimal numbers of 0 to 255 without leading zeros. An IPv6 address is what RFC 4291 section 2.2
// allows: up to eight groups of one to four hexadecimal digits, one run of zero groups as "::", the last four bytes as an
// IPv4 address if it likes. That is what inet_pton() takes, and the test compares with it.
// Tested by tests/platform/Corenet/AddressTextTest.cpp.
#pragma once

#include <cstddef>
#include <string_view>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corenet/Integers.h"

namespace Corenet::Impl {

// What keeps a text from being an address or a prefix.
enum class TextFault : U8 {
   none,
   notAddress,       // the text, or what stands before the slash
   noLength,         // no slash
   lengthNotNumber,  // nothing, or not digits alone, behind the slash
   lengthTooGreat,   // more than the address has bits
   hostBits,         // bits are set past the length
};

// Where the character stands first; the size of the text if it does not. By hand, since under the undefined-behaviour sanitizer
// g++ 12 takes no find() of a string_view for constant.
constexpr std::size_t placeOf(char c, std::string_view text) noexcept {
   std::size_t at = 0;
   while (at < text.size() && text[at] != c) {
      ++at;
   }
   return at;
}

constexpr bool looksLikeIpv6(std::string_view text) noexcept { return placeOf(':', text) != text.size(); }

// The value of a hexadecimal digit, 16 if it is none.
constexpr U32 hexDigit(char c) noexcept {
   return c >= '0' && c <= '9'   ? static_cast<U32>(c - '0')
          : c >= 'a' && c <= 'f' ? static_cast<U32>(c - 'a' + 10)
          : c >= 'A' && c <= 'F' ? static_cast<U32>(c - 'A' + 10)
                                 : 16;
}

// Reads all of `text` as an address; `bits` is unchanged if it is none.
constexpr bool readAddress(std::string_view text, AddressBits<32>& bits) noexcept {
   U32 word = 0;
   std::size_t at = 0;
   for (int part = 0; part < 4; ++part) {
      if (part != 0 && (at == text.size() || text[at++] != '.')) {
         return false;
      }
      U32 number = 0;
      const std::size_t begin = at;
      for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
         number = number * 10 + static_cast<U32>(text[at] - '0');
         if (number > 255 || (at != begin && text[begin] == '0')) {
            return false;
         }
      }
      if (at == begin) {
         return false;
      }
      word = word << 8 | number;
   }
   if (at != text.size()) {
      return false;
   }
   bits = AddressBits<32>(word);
   return true;
}

constexpr bool readAddress(std::string_view text, AddressBits<128>& bits) noexcept {
   constexpr U32 allGroups = 8;
   U128 word = 0;               // the groups so far, the last one lowest
   U32 groups = 0;              // how many
   U32 before = allGroups + 1;  // of them, those before "::"; allGroups + 1 as long as there is none
   std::size_t at = 0;
   if (text.size() >= 2 && text[0] == ':' && text[1] == ':') {
      before = 0;
      at = 2;
   }
   while (at < text.size()) {
      if (groups == allGroups) {
         return false;
      }
      std::size_t end = at;
      U32 group = 0;
      for (; end < text.size() && hexDigit(text[end]) < 16; ++end) {
         if (end - at == 4) {
            return false;
         }
         group = group << 4 | hexDigit(text[end]);
      }
      if (end < text.size() && text[end] == '.') {
         AddressBits<32> tail;
         if (groups + 2 > allGroups || !readAddress(text.substr(at), tail)) {
            return false;
         }
         word = word << 32 | tail.word();
         groups += 2;
         break;
      }
      if (end == at) {
         return false;
      }
      word = word << 16 | group;
      ++groups;
      at = end;
      if (at == text.size()) {
         break;
      }
      if (text[at++] != ':' || at == text.size()) {
         return false;
      }
      if (text[at] == ':') {
         if (before <= allGroups) {
            return false;
         }
         before = groups;
         ++at;
      }
   }
   if (before > allGroups) {
      if (groups != allGroups) {
         return false;
      }
   } else {
      if (groups == allGroups) {
         return false;
      }
      // What stands before "::" moves to the front.
      const U32 behind = 16 * (groups - before);
      const U128 tail = behind == 0 ? U128{0} : word & (~U128{0} >> (128 - behind));
      const U128 head = before == 0 ? U128{0} : word >> behind << (128 - 16 * before);
      word = head | tail;
   }
   bits = AddressBits<128>(word);
   return true;
}

// Reads the digits of a length; `limit` bounds it.
constexpr TextFault readLength(std::string_view digits, U32 limit, U32& length) noexcept {
   if (digits.empty()) {
      return TextFault::lengthNotNumber;
   }
   U32 number = 0;
   for (const char c : digits) {
      if (c < '0' || c > '9') {
         return TextFault::lengthNotNumber;
      }
      if (number < 100000) {
         number = number * 10 + static_cast<U32>(c - '0');
      }
   }
   if (number > limit) {
      return TextFault::lengthTooGreat;
   }
   length = number;
   return TextFault::none;
}

// Reads "address/length". The bits past the length are left as they are and told as `hostBits`: then both values are set.
template <unsigned width>
constexpr TextFault readPrefix(std::string_view text, AddressBits<width>& bits, U32& length) noexcept {
   const std::size_t slash = placeOf('/', text);
   if (!readAddress(text.substr(0, slash), bits)) {
      return TextFault::notAddress;
   }
   if (slash == text.size()) {
      return TextFault::noLength;
   }
   if (const TextFault fault = readLength(text.substr(slash + 1), width, length); fault != TextFault::none) {
      return fault;
   }
   return bits.isZeroPast(length) ? TextFault::none : TextFault::hostBits;
}

}  // namespace Corenet::Impl
