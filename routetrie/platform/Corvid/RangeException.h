// RangeException: raised when a value is out of its range; the only exception that the library raises by name.
// Tested by tests/platform/Corvid/RangeExceptionTest.cpp.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "routetrie/platform/Export.h"

namespace Corvid {

class ROUTETRIE_EXPORT RangeException : public std::range_error {
  public:
   using std::range_error::range_error;
   ~RangeException() override;

   // Raises a RangeException whose what() is `text`; the text is copied.
   [[noreturn]] static void throwException(const char* text);
};

// `fault`, a colon and the text in quotes, where a control character is spelled \xNN: the message stays one line, and a NUL in
// the text does not end it.
ROUTETRIE_EXPORT std::string badText(std::string_view fault, std::string_view text);
// Raises a RangeException with that message.
[[noreturn]] ROUTETRIE_EXPORT void throwBadText(std::string_view fault, std::string_view text);

}  // namespace Corvid
