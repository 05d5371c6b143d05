// FieldDescriptor, AccessKind, InspectStatus: the words of a call of inspectOperation, the one way into a type by name.
#pragma once

#include "routetrie/platform/Corvid/FieldId.h"

namespace Corvid {

// Which field of a type is meant. Where a call takes a pointer to one, null means the value as a whole.
struct FieldDescriptor {
   FieldId id;
};

enum class AccessKind : U8 {
   get = 0,
   set = 1,      // on an instantiating attribute or a collection, the ...Is operation
   del = 2,      // the ...Del operation
   count = 3,    // number of members, U32
   number = 4,   // the 23-bit number of a hash map's state word, U32
   exists = 5,   // whether the key is there, bool
   front = 6,    // of a queue
   back = 7,     // of a queue
   enqueue = 8,  // the value as for set
   dequeue = 9,
   call = 10,
   differsFromDefault = 11,  // of a whole value, bool
   equals = 12,              // of a whole value, to the one given as key; bool
   lookup = 28,              // get, without side effect
};

enum class InspectStatus : U8 {
   done = 0,
   badKind = 1,  // this access kind isn't supported on this field
   noField = 2,
};

}  // namespace Corvid
