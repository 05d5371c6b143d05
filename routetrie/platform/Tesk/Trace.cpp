#include "routetrie/platform/Tesk/Trace.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <ostream>
#include <sstream>
#include <string>

namespace Tesk {

constinit TraceFacility Impl::trieFacility("Trie");
constinit TraceFacility Impl::trie6Facility("Trie6", &Impl::trieFacility);
constinit TraceFacility Impl::trieCompactFacility("TrieCompact", &Impl::trie6Facility);
constinit TraceFacility Impl::trieGenFacility("TrieGen", &Impl::trieCompactFacility);

namespace {

// The facilities, the newest first.
constinit std::atomic<TraceFacility*> newestFacility{&Impl::trieGenFacility};
constinit std::mutex makingFacility;

// Guards the sink and what is written to it. Neither it nor the pointer is ever destroyed.
constinit std::mutex writing;
constinit std::ostream* theSink = nullptr;
static_assert(std::is_trivially_destructible_v<std::mutex>);

void write(std::string_view line) {
   const std::lock_guard guard(writing);
   if (theSink != nullptr) {
      theSink->write(line.data(), static_cast<std::streamsize>(line.size())).flush();
   } else {
      std::fwrite(line.data(), 1, line.size(), stderr);
   }
}

const char* baseName(const char* file) {
   const char* const slash = std::strrchr(file, '/');
   return slash != nullptr ? slash + 1 : file;
}

}  // namespace

TraceFacility* TraceHandle::made(std::string_view name) {
   const std::lock_guard guard(makingFacility);
   if (const auto known = find(name)) {
      return known->facility_;
   }
   // Both live to the end of the process: handles may trace from any destructor at exit.
   const auto* const kept = new std::string(name);
   auto* const facility = new TraceFacility(*kept, newestFacility.load(std::memory_order_relaxed));
   newestFacility.store(facility, std::memory_order_release);
   return facility;
}

std::optional<TraceHandle> TraceHandle::find(std::string_view name) {
   for (const TraceHandle handle : all()) {
      if (handle.name() == name) {
         return handle;
      }
   }
   return std::nullopt;
}

std::vector<TraceHandle> TraceHandle::all() {
   std::vector<TraceHandle> handles;
   for (auto* facility = newestFacility.load(std::memory_order_acquire); facility != nullptr;
        facility = facility->next_) {
      handles.push_back(TraceHandle(facility));
   }
   std::reverse(handles.begin(), handles.end());
   return handles;
}

void TraceHandle::sinkIs(std::ostream* sink) {
   const std::lock_guard guard(writing);
   theSink = sink;
}

struct TraceStream::Line : std::ostringstream {};

TraceStream::TraceStream() noexcept {
   try {
      line_ = std::make_unique<Line>();
   } catch (...) {
      line_ = nullptr;  // the line is lost
   }
}

TraceStream::~TraceStream() = default;

std::ostream* TraceStream::stream() noexcept { return line_.get(); }

void TraceStream::fail() noexcept { line_ = nullptr; }

TraceStream& TraceStream::operator<<(const char* text) {
   return *this << (text != nullptr ? std::string_view(text) : std::string_view("(null)"));
}

TraceStream& TraceStream::operator<<(std::string_view text) {
   if (line_ != nullptr) {
      *line_ << text;
   }
   return *this;
}

TraceStream& TraceStream::operator<<(const void* pointer) {
   if (line_ != nullptr) {
      *line_ << pointer;
   }
   return *this;
}

TraceStream& TraceStream::operator<<(int number) {
   if (line_ != nullptr) {
      *line_ << number;
   }
   return *this;
}

TraceStream& TraceStream::operator<<(unsigned number) {
   if (line_ != nullptr) {
      *line_ << number;
   }
   return *this;
}

TraceStream& hex(TraceStream& stream) {
   if (stream.line_ != nullptr) {
      stream.line_->setf(std::ios_base::hex, std::ios_base::basefield);
   }
   return stream;
}

TraceStream& dec(TraceStream& stream) {
   if (stream.line_ != nullptr) {
      stream.line_->setf(std::ios_base::dec, std::ios_base::basefield);
   }
   return stream;
}

TraceStream& endl(TraceStream& stream) { return stream << "\n"; }

TraceHelper::TraceHelper(const TraceHandle& handle, TraceFacility::FacilityLevel level, const char* file, int line,
                         const char* function) noexcept {
   stream_ << handle.name() << "/" << static_cast<int>(level) << " " << function << " " << baseName(file) << ":"
           << line << ": ";
}

TraceHelper::~TraceHelper() {
   if (stream_.line_ == nullptr) {
      return;
   }
   try {
      std::string text = std::move(*stream_.line_).str();
      if (text.empty() || text.back() != '\n') {
         text += '\n';
      }
      write(text);
   } catch (...) {  // the line is lost: tracing changes nothing
   }
}

}  // namespace Tesk
