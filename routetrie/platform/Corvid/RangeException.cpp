#include "routetrie/platform/Corvid/RangeException.h"

#include <fmt/format.h>

#include <string>

namespace Corvid {

RangeException::~RangeException() = default;

void RangeException::throwException(const char* text) { throw RangeException(text); }

std::string badText(std::string_view fault, std::string_view text) {
   std::string message(fault);
   message += ": \"";
   for (const char c : text) {
      if (const auto byte = static_cast<unsigned char>(c); byte < 0x20 || byte == 0x7f) {
         message += fmt::format("\\x{:02x}", byte);
      } else {
         message += c;
      }
   }
   message += '"';
   return message;
}

void throwBadText(std::string_view fault, std::string_view text) {
   RangeException::throwException(badText(fault, text).c_str());
}

}  // namespace Corvid
