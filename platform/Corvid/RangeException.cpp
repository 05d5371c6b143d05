#include "platform/Corvid/RangeException.h"

namespace Corvid {

RangeException::~RangeException() = default;

void RangeException::throwException(const char* text) { throw RangeException(text); }

}  // namespace Corvid
