// Strep: values as text, an attribute after the other, in the order in which the type names them:
//
//    Routing::TwoLpmLen(lpm1=24,lpm2=16)
//
// A type is written by valueToStrep, and read by a constructor from a CharRange, which takes the text from the front:
//
//    TwoLpmLen::TwoLpmLen(Tesk::CharRange& range)
//       : lpm1(Tesk::desAttrPre<U32>(range, "Routing::TwoLpmLen", "lpm1")),
//         lpm2(Tesk::desAttrPost<U32>(range, "lpm2")) {}
//
// Bad text raises Corvid::RangeException, which names the attribute and quotes the text.
// Tested by tests/platform/Tesk/StrepTest.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "routetrie/platform/Corvid/String.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/CharRange.h"
#include "routetrie/platform/Types.h"

namespace Tesk {

// Takes a decimal number from the front of the range. Raises if there is none or it is past 32 bits, and then neither range
// nor value has changed.
ROUTETRIE_EXPORT void sequenceToValue(CharRange& range, U32* value);

// Raises a RangeException that says in which attribute `exception` came up.
[[noreturn]] ROUTETRIE_EXPORT void rethrowFromDeserializeAttr(const Corvid::RangeException& exception,
                                                              std::string_view attr);

// The value of the attribute, which the range is at.
template <class T>
T desAttrValue(CharRange& range, std::string_view attr) {
   T value{};
   try {
      sequenceToValue(range, &value);  // of the namespace of T, or the one above
   } catch (const Corvid::RangeException& exception) {
      rethrowFromDeserializeAttr(exception, attr);
   }
   return value;
}

// Takes the beginning of a value of `type` and its first attribute.
template <class T>
T desAttrPre(CharRange& range, std::string_view type, std::string_view attr) {
   range.needPre(type, attr);
   return desAttrValue<T>(range, attr);
}

// Takes the last attribute, and the end of the value.
template <class T>
T desAttrPost(CharRange& range, std::string_view attr) {
   range.needNext(attr);
   T value = desAttrValue<T>(range, attr);
   range.needPost(attr);
   return value;
}

// Requires that a text has been read to its end.
class ROUTETRIE_EXPORT CharRangeCheckAllDataConsumed {
  public:
   explicit CharRangeCheckAllDataConsumed(const CharRange& range) noexcept : range_(range) {}
   // Raises if there is text left.
   void check() const;

  private:
   const CharRange& range_;
};

// The value that the whole text says.
template <class T>
T strepToValue(std::string_view text) {
   CharRange range(text);
   T value(range);
   CharRangeCheckAllDataConsumed(range).check();
   return value;
}

}  // namespace Tesk

namespace TeskCorvid::Impl {

struct StrepAttr {
   std::string_view name;
   Corvid::String text;
};

// The text of a value of `type` with these attributes. Reflection writes any described value so, by its fields
// (routetrie/platform/Corvid/ValueFunctions.h).
ROUTETRIE_EXPORT Corvid::String valueToStrep(std::string_view type, const std::vector<StrepAttr>& attrs);

}  // namespace TeskCorvid::Impl
