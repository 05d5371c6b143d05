// Base64: bytes as text (RFC 4648), for an image within a page.
//
// Tested by tests/tools/rtrie/map/PrintableTextTest.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "routetrie/platform/Types.h"

namespace Rtrie {

inline std::string base64Of(std::string_view bytes) {
   constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
   std::string text;
   text.reserve((bytes.size() + 2) / 3 * 4);
   for (std::size_t at = 0; at < bytes.size(); at += 3) {
      const auto byte = [&](std::size_t i) {
         return at + i < bytes.size() ? static_cast<U32>(static_cast<unsigned char>(bytes[at + i])) : 0;
      };
      const U32 word = byte(0) << 16 | byte(1) << 8 | byte(2);
      const std::size_t left = bytes.size() - at;
      text += digits[word >> 18];
      text += digits[word >> 12 & 63];
      text += left > 1 ? digits[word >> 6 & 63] : '=';
      text += left > 2 ? digits[word & 63] : '=';
   }
   return text;
}

}  // namespace Rtrie
