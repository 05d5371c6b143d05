// TraceFile: the newest records of timed blocks, in a ring of fixed size, in memory or in a file.
//
//    offset 0     header, 64 bytes     magic "BRISKTR1", sizes, counts, the clock
//           64    message pool         each message: U16 line, source and text, each ended by NUL
//           64+m  ring                 records of 32 bytes, record n in slot n modulo the number of slots
//
//    record 0     std::uint64_t  n + 1; 0 for none yet, all ones while it is written
//           8     std::uint64_t  time stamp counter when the block began
//           16    std::uint64_t  ticks that it took
//           24    U32  message id: the message's place in the pool, counted from 1
//           28    U32  the thread, by its kernel id
//
// All words are in the machine's byte order. A file is mapped, so that what it holds outlives the process, however that ends.
// Any number of threads may record at once. A record is lost where another thread, a whole round behind or ahead, is at the
// same slot.
// Tested by tests/platform/BriskTrace/BriskTraceTest.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace BriskTrace {

// The time stamp counter now.
inline std::uint64_t timeStamp() noexcept {
#if defined(__x86_64__)
   return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
   std::uint64_t ticks;
   __asm__ volatile("mrs %0, cntvct_el0" : "=r"(ticks));
   return ticks;
#else
#error "no time stamp counter is known for this machine"
#endif
}

// One record, with its message. The texts are views into the bytes that it was read from: many records share a message, so
// that a copy for each could take the file's size times the number of its records.
struct Entry {
   std::uint64_t startNs = 0;  // since the trace file was made
   std::uint64_t elapsedNs = 0;
   U32 thread = 0;
   U32 message = 0;  // its id: entries of one call have the same
   U32 line = 0;
   std::string_view source;
   std::string_view text;
};

// What a ring held at one moment: the bytes, and the entries in them. The views hold as long as the snapshot does, also
// once it was moved.
class Snapshot {
  public:
   Snapshot(std::vector<std::byte>&& bytes, std::vector<Entry>&& entries) noexcept
      : bytes_(std::move(bytes)), entries_(std::move(entries)) {}
   Snapshot(const Snapshot&) = delete;
   Snapshot& operator=(const Snapshot&) = delete;
   Snapshot(Snapshot&&) noexcept = default;
   Snapshot& operator=(Snapshot&&) noexcept = default;

   bool empty() const noexcept { return entries_.empty(); }
   std::size_t size() const noexcept { return entries_.size(); }
   auto begin() const noexcept { return entries_.begin(); }
   auto end() const noexcept { return entries_.end(); }
   const Entry& operator[](std::size_t at) const { return entries_[at]; }

  private:
   std::vector<std::byte> bytes_;
   std::vector<Entry> entries_;
};

class ROUTETRIE_EXPORT TraceFile {
  public:
   static constexpr U32 defaultRecords = 16384;

   // A ring of at least `records` records, rounded up to a power of two; in memory, or in a new file at `path`, which
   // replaces one that is there. Raise std::bad_alloc or std::system_error.
   static std::unique_ptr<TraceFile> inMemory(U32 records = defaultRecords);
   static std::unique_ptr<TraceFile> inFile(const std::string& path, U32 records = defaultRecords);
   ~TraceFile();
   TraceFile(const TraceFile&) = delete;
   TraceFile& operator=(const TraceFile&) = delete;

   // Records a block that began at `start` and ends now. A message id that the file does not know is not recorded.
   void record(U32 messageId, std::uint64_t start) noexcept;
   // The id of the message, which is added if the file does not have it; 0 if there is no room for it.
   U32 messageIs(std::string_view source, U32 line, std::string_view text);

   // What the ring holds now, from the oldest on.
   Snapshot entries() const;
   // The bytes of a file that begins with these, which are at least headerBytes; raises as entriesOf() does.
   static constexpr std::size_t headerBytes = 64;
   static std::uint64_t sizeOf(std::span<const std::byte> bytes);
   // What the bytes of a file hold, as views into them; raises Corvid::RangeException that says what is wrong with them.
   // Takes memory for the entries and the list of messages alone.
   static std::vector<Entry> entriesOf(std::span<const std::byte> bytes);

   // So far, those that the ring has lost included.
   std::uint64_t recordCount() const noexcept;

  private:
   struct Header;
   struct Record;

   TraceFile(void* bytes, std::size_t size, U32 records) noexcept;
   static std::unique_ptr<TraceFile> mapped(int file, U32 records);

   void* const bytes_;
   const std::size_t size_;
   Header& header_;
   char* const pool_;
   Record* const ring_;
   mutable std::mutex adding_;  // held while the pool is read or written
};

}  // namespace BriskTrace
