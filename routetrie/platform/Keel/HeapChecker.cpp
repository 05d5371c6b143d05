#include "routetrie/platform/Keel/HeapChecker.h"

namespace Keel {

namespace {

HeapChecker heapChecker;

}  // namespace

void heapCheckerIs(HeapChecker checker) noexcept { heapChecker = checker; }

void heapCheckerUnIgnoreObject(const void* block) noexcept {
   if (heapChecker.unIgnore != nullptr) {
      heapChecker.unIgnore(block);
   }
}

void Impl::doHeapCheckerIgnoreObject(const void* block) noexcept {
   if (heapChecker.ignore != nullptr) {
      heapChecker.ignore(block);
   }
}

}  // namespace Keel
