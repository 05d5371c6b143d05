#include "tools/tables/LineReader.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <utility>

#include "tools/tables/TableErrors.h"

namespace Rtrie {

LineReader::LineReader(ByteSource& source, TooLong tooLong, std::size_t chunkBytes, LineLimits limits)
   : source_(source),
     tooLong_(std::move(tooLong)),
     limits_(limits),
     chunkBytes_(chunkBytes),
     buffer_(limits.line + 2 * chunkBytes) {}

std::optional<std::string_view> LineReader::next() {
   std::size_t searched = 0;  // of the bytes from begin_, those known to hold no line end
   for (;;) {
      if (end_ > begin_ + searched) {
         auto* found =
            static_cast<const char*>(std::memchr(buffer_.data() + begin_ + searched, '\n', end_ - begin_ - searched));
         if (found != nullptr && found <= buffer_.data() + begin_ + limits_.line) {
            std::string_view line = lineOf(static_cast<std::size_t>(found - buffer_.data()));
            ++begin_;
            return line;
         }
         searched = end_ - begin_;
      }
      if (searched > limits_.line) {
         if (!skipLine()) {
            return std::nullopt;
         }
         searched = 0;
      } else if (!fill()) {
         if (begin_ == end_) {
            return std::nullopt;
         }
         return lineOf(end_);
      }
   }
}

// Reads more behind what is there. False if there is no more.
bool LineReader::fill() {
   if (begin_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
      end_ -= begin_;
      begin_ = 0;
   }
   if (!atEnd_) {
      const std::size_t got = source_.read(buffer_.data() + end_, chunkBytes_);
      end_ += got;
      atEnd_ = got == 0;
   }
   return !atEnd_;
}

// Tells of the line at hand, and passes over it. False if nothing follows it.
bool LineReader::skipLine() {
   ++lineNumber_;
   const auto what = fmt::format("line longer than {} bytes", limits_.line);
   if (!tooLong_) {
      throw DataError(fmt::format("{}:{}: {}", source_.name(), lineNumber_, what));
   }
   tooLong_(lineNumber_, what);
   for (std::uint64_t passed = 0; passed < limits_.search;) {
      auto* found = static_cast<const char*>(std::memchr(buffer_.data() + begin_, '\n', end_ - begin_));
      if (found != nullptr) {
         begin_ = static_cast<std::size_t>(found - buffer_.data()) + 1;
         return true;
      }
      passed += end_ - begin_;
      begin_ = end_;
      if (!fill()) {
         return false;
      }
   }
   throw DataError(fmt::format("{}:{}: line has no end within {} bytes: this is no text", source_.name(), lineNumber_,
                               limits_.search));
}

std::string_view LineReader::lineOf(std::size_t lineEnd) {
   std::string_view line(buffer_.data() + begin_, lineEnd - begin_);
   begin_ = lineEnd;
   ++lineNumber_;
   if (line.ends_with('\r')) {
      line.remove_suffix(1);
   }
   if (lineNumber_ == 1 && line.starts_with("\xef\xbb\xbf")) {
      line.remove_prefix(3);  // the byte order mark that some editors put first
   }
   return line;
}

}  // namespace Rtrie
