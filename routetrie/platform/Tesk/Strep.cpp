#include "routetrie/platform/Tesk/Strep.h"

#include <charconv>
#include <string>

#include "routetrie/platform/Corvid/RangeException.h"

namespace Tesk {

void sequenceToValue(CharRange& range, U32* value) {
   CharRange rest = range;
   const std::string_view digits = rest.takeWhile([](char c) { return c >= '0' && c <= '9'; });
   U32 number = 0;
   if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) {
      Corvid::throwBadText(digits.empty() ? "not a number" : "number past 32 bits", range.view());
   }
   *value = number;
   range = rest;
}

void rethrowFromDeserializeAttr(const Corvid::RangeException& exception, std::string_view attr) {
   Corvid::RangeException::throwException((std::string(attr) + ": " + exception.what()).c_str());
}

void CharRange::need(std::string_view text, std::string_view attr) {
   if (!rest_.starts_with(text)) {
      Corvid::throwBadText(std::string(attr) + ": \"" + std::string(text) + "\" expected", rest_);
   }
   rest_.remove_prefix(text.size());
}

void CharRange::needPre(std::string_view type, std::string_view attr) {
   need(std::string(type) + "(" + std::string(attr) + "=", attr);
}

void CharRange::needNext(std::string_view attr) { need("," + std::string(attr) + "=", attr); }

void CharRange::needPost(std::string_view attr) { need(")", attr); }

void CharRangeCheckAllDataConsumed::check() const {
   if (!range_.empty()) {
      Corvid::throwBadText("text left over", range_.view());
   }
}

}  // namespace Tesk

Corvid::String TeskCorvid::Impl::valueToStrep(std::string_view type, const std::vector<StrepAttr>& attrs) {
   std::string text(type);
   char before = '(';
   for (const StrepAttr& attr : attrs) {
      text += before;
      text += attr.name;
      text += '=';
      text += attr.text.view();
      before = ',';
   }
   return text + ')';
}
