// BriskTrace: how long hot calls take, as records in the process's trace file. The process has none unless it is given one,
// and then a timed call costs one test:
//
//    void Trie::routeIs(...) {
//       ROUTETRIE_TIME_BLOCK("Trie");      // records the time from here to the end of the block
//
//    BriskTrace::defaultBriskTraceHandle.traceFileIs(BriskTrace::TraceFile::inFile("trie.brisk"));   // in a program
//    rtrie trace trie.brisk                                                                          // afterwards
//
// Each call site's message is registered when it is first timed; its id lives in a static there, and is good for the whole
// life of the process: a trace file is given once, and stays to the end.
// Tested by tests/platform/BriskTrace/BriskTraceTest.cpp.
#pragma once

#include <cstdint>
#include <string>

#include "routetrie/platform/BriskTrace/TraceFile.h"
#include "routetrie/platform/BriskTrace/TraceHandle.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace BriskTrace {

// Registers a message: MsgDesc(file, &id, "Trie", __LINE__) << "text" and finish(). The id is written once; if it is not 0
// already, or the file is null, nothing happens.
class ROUTETRIE_EXPORT MsgDesc {
  public:
   // `msgId` is static at the call site, and 0 at first.
   MsgDesc(TraceFile* file, int* msgId, const char* source, int line);
   MsgDesc& operator<<(const char* text);
   void finish();

  private:
   TraceFile* const file_;
   int* const msgId_;
   const char* const source_;
   const int line_;
   std::string text_;
};

// Records the time from its making to its end. Without a file it does nothing.
class BlockTimer {
  public:
   BlockTimer(TraceFile* file, int msgId, std::uint64_t timeStampNow) noexcept
      : file_(file), msgId_(msgId), start_(timeStampNow) {}
   BlockTimer(const BlockTimer&) = delete;
   BlockTimer& operator=(const BlockTimer&) = delete;
   ~BlockTimer() {
      if (file_ != nullptr) [[unlikely]] {
         file_->record(static_cast<U32>(msgId_), start_);
      }
   }

  private:
   TraceFile* const file_;
   const int msgId_;
   const std::uint64_t start_;
};

namespace Impl {

// The id of a call site's message, registered if it is not yet.
ROUTETRIE_EXPORT int msgIdOf(TraceFile& file, int* msgId, const char* source, int line,
                             const char* function) noexcept;

// A timer for a call site of the process's trace file.
inline BlockTimer timerFor(int* msgId, const char* source, int line, const char* function) noexcept {
   TraceFile* const file = defaultBriskTraceHandle.mtTraceFile();
   return file == nullptr ? BlockTimer(nullptr, 0, 0)
                          : BlockTimer(file, msgIdOf(*file, msgId, source, line, function), timeStamp());
}

}  // namespace Impl
}  // namespace BriskTrace

// Times the rest of the block that it stands in; the message is the function's text. Once a block.
#define ROUTETRIE_TIME_BLOCK(source) ROUTETRIE_TIME_BLOCK_OF(source, __PRETTY_FUNCTION__)
// The same in the name of another function, whose text is given: for one that keeps what is timed apart from what is hot.
#define ROUTETRIE_TIME_BLOCK_OF(source, function)       \
   static int routetrieTimedMsgId = 0;                  \
   const ::BriskTrace::BlockTimer routetrieBlockTimer = \
      ::BriskTrace::Impl::timerFor(&routetrieTimedMsgId, (source), __LINE__, (function))
