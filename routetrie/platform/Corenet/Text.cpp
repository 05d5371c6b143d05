#include "routetrie/platform/Corenet/Text.h"

#include <charconv>
#include <string>

#include "routetrie/platform/Corvid/RangeException.h"

namespace Corenet::Impl {

AddressAndLength splitPrefixText(std::string_view text, U32 width) {
   constexpr U32 nullLength = 255;
   const auto slash = text.find('/');
   if (slash == std::string_view::npos) {
      throwBadText("prefix has no length", text);
   }
   const std::string_view digits = text.substr(slash + 1);
   U32 length = 0;
   const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
   if (error == std::errc::invalid_argument || end != digits.data() + digits.size()) {
      throwBadText("prefix length is not a number", text);
   }
   if (error == std::errc::result_out_of_range || (length > width && length != nullLength)) {
      throwBadText("prefix length " + std::string(digits) + " exceeds " + std::to_string(width), text);
   }
   return {text.substr(0, slash), length};
}

}  // namespace Corenet::Impl
