// FieldId: the number of a reflected attribute or operation within its type. Fields of a value type count from 2, those of
// a class directly under Corvid::Node from 130, and those of a class one level further down from 258.
#pragma once

#include "routetrie/platform/Types.h"

namespace Corvid {

using FieldId = U16;

}  // namespace Corvid
