#include "routetrie/platform/Corenet/IpAddr.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <iterator>

#include "routetrie/platform/Corenet/AddressText.h"
#include "routetrie/platform/Corvid/RangeException.h"

namespace Corenet {

void throwIp6AddrU32() { Corvid::RangeException::throwException("Corenet::Ip6Addr::u32: word out of range 0 to 3"); }

namespace Impl {

namespace {

constexpr std::size_t groupCount = 8;
using Groups = std::array<U16, groupCount>;

struct Run {
   std::size_t begin = 0;
   std::size_t size = 0;
};

// The first of the longest runs of zero groups; a lone zero group is never shortened.
Run longestZeroRun(const Groups& groups) {
   Run best{0, 1};
   Run run;
   for (std::size_t i = 0; i < groupCount; ++i) {
      run = groups[i] != 0 ? Run{} : Run{run.size == 0 ? i : run.begin, run.size + 1};
      if (run.size > best.size) {
         best = run;
      }
   }
   return best.size > 1 ? best : Run{};
}

}  // namespace

Corvid::String addressText(AddressBits<32> bits) {
   const U32 word = bits.word();
   return fmt::format("{}.{}.{}.{}", word >> 24, word >> 16 & 0xff, word >> 8 & 0xff, word & 0xff);
}

Corvid::String addressText(AddressBits<128> bits) {
   const auto ipv4Tail = AddressBits<32>(static_cast<U32>(bits.word()));
   if (bits.word() >> 32 == 0xffff) {  // IPv4-mapped: the tail is read as IPv4
      return "::ffff:" + std::string(addressText(ipv4Tail));
   }
   Groups groups;
   for (std::size_t i = 0; i < groupCount; ++i) {
      groups[i] = static_cast<U16>(bits.word() >> (16 * (groupCount - 1 - i)));
   }
   const Run zeros = longestZeroRun(groups);
   fmt::memory_buffer text;
   for (std::size_t i = 0; i < groupCount; ++i) {
      if (zeros.size != 0 && i == zeros.begin) {
         text.append(std::string_view("::"));
         i += zeros.size - 1;
         continue;
      }
      const bool afterZeros = zeros.size != 0 && i == zeros.begin + zeros.size;
      if (i != 0 && !afterZeros) {
         text.push_back(':');
      }
      fmt::format_to(std::back_inserter(text), "{:x}", groups[i]);
   }
   return std::string_view(text.data(), text.size());
}

bool addressFromText(std::string_view text, AddressBits<32>& bits) { return readAddress(text, bits); }

bool addressFromText(std::string_view text, AddressBits<128>& bits) { return readAddress(text, bits); }

}  // namespace Impl
}  // namespace Corenet
