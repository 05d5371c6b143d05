#include "routetrie/platform/Tesk/GenericIfImpl.h"

#include "routetrie/platform/Corvid/RangeException.h"

namespace Tesk::GenericIfImpl {

void throwSetFalseValueException() {
   Corvid::RangeException::throwException("a member of a set can't be set to false: delete it");
}

}  // namespace Tesk::GenericIfImpl
