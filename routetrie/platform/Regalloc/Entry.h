// Entry: the alignment of the buffers of the region allocator, settled once when the library is loaded. The tries read
// none of it.
// Tested by tests/platform/Regalloc/EntryTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Regalloc {

struct ROUTETRIE_EXPORT Entry {
   // Bytes: 16 on a machine with much memory (Corvid::Util), else 8. REGALLOC_BUFFER_ALIGNMENT_OVERRIDE in the
   // environment, if it is a decimal number other than 0, is the answer instead. It has to be 8 or 16: any other ends the
   // process with "Unsupported buffer alignment override value: {}".
   static U32 runtimeBufferAlignment();

   // runtimeBufferAlignment(), asked at load time.
   static const U32 BUFFER_ALIGNMENT;
   // Its logarithm, 4 or 3, by the machine alone.
   static const U32 bufferAlignmentLog2;
};

}  // namespace Regalloc
