#include "routetrie/platform/BriskTrace/TraceFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <system_error>

#include "routetrie/platform/Corvid/RangeException.h"

namespace BriskTrace {

namespace {

constexpr char magic[8] = {'B', 'R', 'I', 'S', 'K', 'T', 'R', '1'};
constexpr U32 poolBytes = 65536;
constexpr std::uint64_t beingWritten = ~std::uint64_t{0};
constexpr std::uint64_t nsPerSecond = 1000000000;

using Clock = std::chrono::steady_clock;

// Measured once: a program that traces waits for it.
std::uint64_t ticksPerSecond() {
   static const std::uint64_t measured = [] {
      constexpr std::chrono::milliseconds measuredTime(2);
      const auto startTime = Clock::now();
      const std::uint64_t startTicks = timeStamp();
      auto now = startTime;
      while (now - startTime < measuredTime) {
         now = Clock::now();
      }
      const std::uint64_t ticks = timeStamp() - startTicks;
      const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now - startTime).count();
      return std::max<std::uint64_t>(1, ticks * nsPerSecond / static_cast<std::uint64_t>(ns));
   }();
   return measured;
}

std::uint64_t nsOf(std::uint64_t ticks, std::uint64_t perSecond) {
   return ticks / perSecond * nsPerSecond + ticks % perSecond * nsPerSecond / perSecond;
}

U32 threadId() noexcept {
   thread_local const U32 id = static_cast<U32>(gettid());
   return id;
}

}  // namespace

struct TraceFile::Header {
   char magic[8];
   U32 records;  // of the ring
   U32 pool;     // bytes
   std::atomic<U32> poolUsed;
   std::atomic<U32> messages;
   std::atomic<std::uint64_t> next;  // the number of the next record
   std::uint64_t startTicks;
   std::uint64_t ticksPerSecond;
   std::uint64_t unused[2];
};

struct TraceFile::Record {
   std::atomic<std::uint64_t> number;  // and 1
   std::atomic<std::uint64_t> start;
   std::atomic<std::uint64_t> elapsed;
   std::atomic<U32> message;
   std::atomic<U32> thread;
};

TraceFile::TraceFile(void* bytes, std::size_t size, U32 records) noexcept
   : bytes_(bytes),
     size_(size),
     header_(*::new (bytes) Header{}),
     pool_(static_cast<char*>(bytes) + sizeof(Header)),
     ring_(reinterpret_cast<Record*>(pool_ + poolBytes)) {
   static_assert(sizeof(Header) == headerBytes && sizeof(Record) == 32);
   static_assert(std::atomic<std::uint64_t>::is_always_lock_free && std::atomic<U32>::is_always_lock_free);
   std::memcpy(header_.magic, magic, sizeof magic);
   header_.records = records;
   header_.pool = poolBytes;
   header_.ticksPerSecond = ticksPerSecond();
   header_.startTicks = timeStamp();
   std::uninitialized_value_construct_n(ring_, records);
}

TraceFile::~TraceFile() { munmap(bytes_, size_); }

std::unique_ptr<TraceFile> TraceFile::mapped(int file, U32 records) {
   constexpr U32 most = U32{1} << 28;
   const U32 slots = std::bit_ceil(std::clamp<U32>(records, 1, most));
   const std::size_t size = sizeof(Header) + poolBytes + std::size_t{slots} * sizeof(Record);
   if (file >= 0) {
      // The whole file at once: a disk that fills up later would end the process at some write to the mapping.
      if (const int error = posix_fallocate(file, 0, static_cast<off_t>(size)); error != 0) {
         throw std::system_error(error, std::generic_category(), "trace file");
      }
   }
   void* const bytes =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, file >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS, file, 0);
   if (bytes == MAP_FAILED) {
      throw std::bad_alloc();
   }
   try {
      return std::unique_ptr<TraceFile>(new TraceFile(bytes, size, slots));
   } catch (...) {
      munmap(bytes, size);
      throw;
   }
}

std::unique_ptr<TraceFile> TraceFile::inMemory(U32 records) { return mapped(-1, records); }

std::unique_ptr<TraceFile> TraceFile::inFile(const std::string& path, U32 records) {
   // A new file beside one that is mapped still, rather than that one cut short.
   unlink(path.c_str());
   const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
   if (file < 0) {
      throw std::system_error(errno, std::generic_category(), path);
   }
   struct Closer {
      int file;
      ~Closer() { close(file); }
   } const closer{file};
   return mapped(file, records);
}

void TraceFile::record(U32 messageId, std::uint64_t start) noexcept {
   const std::uint64_t elapsed = timeStamp() - start;
   if (messageId == 0 || messageId > header_.messages.load(std::memory_order_relaxed)) {
      return;
   }
   const std::uint64_t n = header_.next.fetch_add(1, std::memory_order_relaxed);
   Record& slot = ring_[n & (header_.records - 1)];
   std::uint64_t before = slot.number.load(std::memory_order_relaxed);
   if (before > n || !slot.number.compare_exchange_strong(before, beingWritten, std::memory_order_acquire,
                                                          std::memory_order_relaxed)) {
      return;
   }
   slot.start.store(start, std::memory_order_relaxed);
   slot.elapsed.store(elapsed, std::memory_order_relaxed);
   slot.message.store(messageId, std::memory_order_relaxed);
   slot.thread.store(threadId(), std::memory_order_relaxed);
   slot.number.store(n + 1, std::memory_order_release);
}

std::uint64_t TraceFile::recordCount() const noexcept { return header_.next.load(std::memory_order_relaxed); }

//--- messages: U16 line, source NUL, text NUL, each where the one before ends ---

namespace {

struct Message {
   U16 line = 0;
   std::string_view source;
   std::string_view text;

   friend bool operator==(const Message&, const Message&) = default;
};

// Takes the message at the front of the pool; none if it is cut off.
std::optional<Message> takeMessage(std::string_view& pool) {
   Message message;
   if (pool.size() < sizeof message.line) {
      return std::nullopt;
   }
   std::memcpy(&message.line, pool.data(), sizeof message.line);
   const std::size_t sourceEnd = pool.find('\0', sizeof message.line);
   const std::size_t textEnd = sourceEnd == std::string_view::npos ? sourceEnd : pool.find('\0', sourceEnd + 1);
   if (textEnd == std::string_view::npos) {
      return std::nullopt;
   }
   message.source = pool.substr(sizeof message.line, sourceEnd - sizeof message.line);
   message.text = pool.substr(sourceEnd + 1, textEnd - sourceEnd - 1);
   pool.remove_prefix(textEnd + 1);
   return message;
}

}  // namespace

U32 TraceFile::messageIs(std::string_view source, U32 line, std::string_view text) {
   const Message message{static_cast<U16>(std::min<U32>(line, 65535)), source.substr(0, source.find('\0')),
                         text.substr(0, text.find('\0'))};
   const std::lock_guard guard(adding_);
   const U32 used = header_.poolUsed.load(std::memory_order_relaxed);
   std::string_view known(pool_, used);
   U32 id = 0;
   while (const auto one = takeMessage(known)) {
      ++id;
      if (*one == message) {
         return id;
      }
   }
   const std::size_t bytes = sizeof message.line + message.source.size() + 1 + message.text.size() + 1;
   if (bytes > poolBytes - used) {
      return 0;
   }
   char* const place = pool_ + used;  // all zero
   std::memcpy(place, &message.line, sizeof message.line);
   std::copy(message.source.begin(), message.source.end(), place + sizeof message.line);
   std::copy(message.text.begin(), message.text.end(), place + sizeof message.line + message.source.size() + 1);
   header_.poolUsed.store(used + static_cast<U32>(bytes), std::memory_order_relaxed);
   header_.messages.store(++id, std::memory_order_release);
   return id;
}

//--- reading ---

Snapshot TraceFile::entries() const {
   std::vector<std::byte> copy(size_);
   {
      const std::lock_guard guard(adding_);
      Header* const header = ::new (copy.data()) Header{};
      std::memcpy(header->magic, header_.magic, sizeof magic);
      header->records = header_.records;
      header->pool = header_.pool;
      header->poolUsed = header_.poolUsed.load(std::memory_order_relaxed);
      header->messages = header_.messages.load(std::memory_order_relaxed);
      header->next = header_.next.load(std::memory_order_relaxed);
      header->startTicks = header_.startTicks;
      header->ticksPerSecond = header_.ticksPerSecond;
      std::memcpy(copy.data() + sizeof(Header), pool_, poolBytes);
   }
   auto* const ring = reinterpret_cast<Record*>(copy.data() + sizeof(Header) + poolBytes);
   for (U32 i = 0; i < header_.records; ++i) {
      const Record& from = ring_[i];
      Record* const to = ::new (&ring[i]) Record{};
      const std::uint64_t number = from.number.load(std::memory_order_acquire);
      to->start = from.start.load(std::memory_order_relaxed);
      to->elapsed = from.elapsed.load(std::memory_order_relaxed);
      to->message = from.message.load(std::memory_order_relaxed);
      to->thread = from.thread.load(std::memory_order_acquire);
      // One that was overwritten meanwhile is left out.
      to->number = from.number.load(std::memory_order_relaxed) == number ? number : 0;
   }
   auto entries = entriesOf(copy);
   return {std::move(copy), std::move(entries)};
}

namespace {

template <class T>
T wordAt(std::span<const std::byte> bytes, std::size_t at) {
   T value;
   std::memcpy(&value, bytes.data() + at, sizeof value);
   return value;
}

}  // namespace

std::uint64_t TraceFile::sizeOf(std::span<const std::byte> bytes) {
   if (bytes.size() < sizeof(Header) || std::memcmp(bytes.data(), magic, sizeof magic) != 0) {
      Corvid::RangeException::throwException("not a trace file");
   }
   const auto records = wordAt<U32>(bytes, offsetof(Header, records));
   const auto pool = wordAt<U32>(bytes, offsetof(Header, pool));
   if (!std::has_single_bit(records) || wordAt<U32>(bytes, offsetof(Header, poolUsed)) > pool ||
       wordAt<std::uint64_t>(bytes, offsetof(Header, ticksPerSecond)) == 0) {
      Corvid::RangeException::throwException("the sizes in the trace file's header are wrong");
   }
   return sizeof(Header) + std::uint64_t{pool} + std::uint64_t{records} * sizeof(Record);
}

std::vector<Entry> TraceFile::entriesOf(std::span<const std::byte> bytes) {
   if (sizeOf(bytes) != bytes.size()) {
      Corvid::RangeException::throwException("the sizes in the trace file's header are wrong");
   }
   const auto word = [&]<class T>(T, std::size_t at) { return wordAt<T>(bytes, at); };
   const U32 records = word(U32{}, offsetof(Header, records));
   const U32 pool = word(U32{}, offsetof(Header, pool));
   const U32 poolUsed = word(U32{}, offsetof(Header, poolUsed));
   const std::uint64_t next = word(std::uint64_t{}, offsetof(Header, next));
   const std::uint64_t startTicks = word(std::uint64_t{}, offsetof(Header, startTicks));
   const std::uint64_t perSecond = word(std::uint64_t{}, offsetof(Header, ticksPerSecond));
   std::vector<Message> messages;
   std::string_view rest(reinterpret_cast<const char*>(bytes.data()) + sizeof(Header), poolUsed);
   while (const auto message = takeMessage(rest)) {
      messages.push_back(*message);
   }
   std::vector<Entry> entries;
   for (std::uint64_t n = next > records ? next - records : 0; n < next; ++n) {
      const std::size_t at = sizeof(Header) + pool + (n & (records - 1)) * sizeof(Record);
      const U32 message = word(U32{}, at + offsetof(Record, message));
      if (word(std::uint64_t{}, at + offsetof(Record, number)) != n + 1 || message == 0 ||
          message > messages.size()) {
         continue;  // lost, or just being written
      }
      const Message& text = messages[message - 1];
      entries.push_back({.startNs = nsOf(word(std::uint64_t{}, at + offsetof(Record, start)) - startTicks, perSecond),
                         .elapsedNs = nsOf(word(std::uint64_t{}, at + offsetof(Record, elapsed)), perSecond),
                         .thread = word(U32{}, at + offsetof(Record, thread)),
                         .message = message,
                         .line = text.line,
                         .source = text.source,
                         .text = text.text});
   }
   return entries;
}

}  // namespace BriskTrace
