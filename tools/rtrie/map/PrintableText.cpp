#include "tools/rtrie/map/PrintableText.h"

#include <fmt/format.h>

#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {
namespace {

// Bytes of the character at the front; 0 if it is none (RFC 3629: no longer than it has to be, no surrogate, at most U+10FFFF).
std::size_t characterBytes(std::string_view text, U32& code) {
   const auto byte = [&](std::size_t i) { return static_cast<U32>(static_cast<unsigned char>(text[i])); };
   const U32 lead = byte(0);
   std::size_t size = 1;
   U32 least = 0;
   if (lead < 0x80) {
      code = lead;
      return 1;
   }
   if (lead >= 0xc2 && lead < 0xe0) {
      size = 2, least = 0x80, code = lead & 0x1f;
   } else if (lead >= 0xe0 && lead < 0xf0) {
      size = 3, least = 0x800, code = lead & 0x0f;
   } else if (lead >= 0xf0 && lead < 0xf5) {
      size = 4, least = 0x10000, code = lead & 0x07;
   } else {
      return 0;
   }
   if (text.size() < size) {
      return 0;
   }
   for (std::size_t i = 1; i < size; ++i) {
      if ((byte(i) & 0xc0) != 0x80) {
         return 0;
      }
      code = code << 6 | (byte(i) & 0x3f);
   }
   const bool isSurrogate = code >= 0xd800 && code < 0xe000;
   return code < least || isSurrogate || code > 0x10ffff ? 0 : size;
}

bool isPrintable(U32 code) {
   const bool isControl = code < 0x20 || (code >= 0x7f && code < 0xa0);
   const bool isLineEnd = code == 0x2028 || code == 0x2029;
   const bool turns = code == 0x061c || code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
                      (code >= 0x2066 && code <= 0x2069);
   const bool isNone = (code & 0xfffe) == 0xfffe || (code >= 0xfdd0 && code <= 0xfdef);
   return !isControl && !isLineEnd && !turns && !isNone;
}

}  // namespace

std::string printableText(std::string_view text, std::size_t mostCharacters) {
   std::string printable;
   std::size_t characters = 0;
   std::size_t cutAt = 0;  // where an ellipsis would go
   while (!text.empty()) {
      U32 code = 0;
      std::size_t bytes = characterBytes(text, code);
      std::string piece;
      std::size_t width = 1;
      if (bytes != 0 && isPrintable(code)) {
         piece = text.substr(0, bytes);
      } else {
         bytes = bytes == 0 ? 1 : bytes;
         for (const char byte : text.substr(0, bytes)) {
            piece += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
         }
         width = piece.size();
      }
      if (width > mostCharacters - characters) {
         printable.resize(cutAt);
         return printable + "…";
      }
      printable += piece;
      characters += width;
      if (characters < mostCharacters) {
         cutAt = printable.size();
      }
      text.remove_prefix(bytes);
   }
   return printable;
}

}  // namespace Rtrie
