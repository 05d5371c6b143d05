// HeapChecker: how a heap checker learns of blocks whose only pointers carry a tag in their low bit, which it would
// otherwise report as lost. A checker that understands tagged pointers needs no hooks, and none are set by default.
// Tested by tests/platform/Keel/PtrInterfaceArrayTest.cpp.
#pragma once

#include "routetrie/platform/Export.h"

namespace Keel {

struct HeapChecker {
   void (*ignore)(const void* block) = nullptr;
   void (*unIgnore)(const void* block) = nullptr;
};

// Sets the hooks of the process. Call it before the first trie is made and before a second thread starts.
ROUTETRIE_EXPORT void heapCheckerIs(HeapChecker checker) noexcept;

// Tell the heap checker, if any, of a new block and of one about to be freed.
ROUTETRIE_EXPORT void heapCheckerUnIgnoreObject(const void* block) noexcept;

namespace Impl {

ROUTETRIE_EXPORT void doHeapCheckerIgnoreObject(const void* block) noexcept;

}  // namespace Impl
}  // namespace Keel
