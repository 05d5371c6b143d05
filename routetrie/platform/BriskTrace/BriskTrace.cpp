#include "routetrie/platform/BriskTrace/BriskTrace.h"

#include <utility>

#include "routetrie/platform/Corvid/Assert.h"

namespace BriskTrace {

constinit TraceHandle defaultBriskTraceHandle;

void TraceHandle::traceFileIs(std::unique_ptr<TraceFile> file) {
   ROUTETRIE_ASSERT(!mtTraceFile());
   file_.store(file.release(), std::memory_order_release);
}

MsgDesc::MsgDesc(TraceFile* file, int* msgId, const char* source, int line)
   : file_(file), msgId_(msgId), source_(source), line_(line) {}

MsgDesc& MsgDesc::operator<<(const char* text) {
   text_ += text;
   return *this;
}

void MsgDesc::finish() {
   std::atomic_ref id(*msgId_);
   if (file_ != nullptr && id.load(std::memory_order_relaxed) == 0) {
      const U32 given = file_->messageIs(source_, static_cast<U32>(line_), text_);
      id.store(given != 0 ? static_cast<int>(given) : -1, std::memory_order_relaxed);
   }
}

int Impl::msgIdOf(TraceFile& file, int* msgId, const char* source, int line, const char* function) noexcept {
   const std::atomic_ref id(*msgId);
   if (id.load(std::memory_order_relaxed) == 0) {
      try {
         MsgDesc message(&file, msgId, source, line);
         message << function;
         message.finish();
      } catch (...) {  // no memory: this one is not recorded
      }
   }
   return id.load(std::memory_order_relaxed);
}

}  // namespace BriskTrace
