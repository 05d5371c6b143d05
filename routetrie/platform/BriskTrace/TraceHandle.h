// TraceHandle: where the process's trace file is, if it has one. It stands by itself so that a hot call can ask without all that
// records times.
// Tested by tests/platform/BriskTrace/BriskTraceTest.cpp.
#pragma once

#include <atomic>
#include <memory>

#include "routetrie/platform/Export.h"

namespace BriskTrace {

class TraceFile;

class ROUTETRIE_EXPORT TraceHandle {
  public:
   constexpr TraceHandle() noexcept = default;
   TraceHandle(const TraceHandle&) = delete;
   TraceHandle& operator=(const TraceHandle&) = delete;

   // The file to record in; null if there is none.
   TraceFile* mtTraceFile() const noexcept { return file_.load(std::memory_order_acquire); }
   // Gives the handle its file, which then lives to the process's end. Asserts "!mtTraceFile()".
   void traceFileIs(std::unique_ptr<TraceFile> file);

  private:
   std::atomic<TraceFile*> file_{nullptr};
};

// The process's.
ROUTETRIE_EXPORT extern TraceHandle defaultBriskTraceHandle;

}  // namespace BriskTrace
