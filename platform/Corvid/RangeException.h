// RangeException: raised when a value is out of its range; the only exception that the library raises by name.
// Tested by tests/platform/Corvid/RangeExceptionTest.cpp.
#pragma once

#include <stdexcept>

#include "platform/Export.h"

namespace Corvid {

class ROUTETRIE_EXPORT RangeException : public std::range_error {
  public:
   using std::range_error::range_error;
   ~RangeException() override;

   // Raises a RangeException whose what() is `text`; the text is copied.
   [[noreturn]] static void throwException(const char* text);
};

}  // namespace Corvid
