#include "tools/rtrie/LineReader.h"

#include <cstring>

namespace Rtrie {

LineReader::LineReader(ByteSource& source, std::size_t chunkBytes)
   : source_(source), chunkBytes_(chunkBytes), buffer_(2 * chunkBytes) {}

std::optional<std::string_view> LineReader::next() {
   std::size_t searched = 0;  // of the bytes from begin_, those known to hold no line end
   for (;;) {
      if (end_ > begin_ + searched) {
         auto* found =
            static_cast<const char*>(std::memchr(buffer_.data() + begin_ + searched, '\n', end_ - begin_ - searched));
         if (found != nullptr) {
            std::string_view line = lineOf(static_cast<std::size_t>(found - buffer_.data()));
            ++begin_;
            return line;
         }
         searched = end_ - begin_;
      }
      if (atEnd_) {
         if (begin_ == end_) {
            return std::nullopt;
         }
         return lineOf(end_);
      }
      if (begin_ > 0) {
         std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
         end_ -= begin_;
         begin_ = 0;
      }
      if (buffer_.size() - end_ < chunkBytes_) {
         buffer_.resize(2 * buffer_.size());
      }
      const std::size_t got = source_.read(buffer_.data() + end_, chunkBytes_);
      end_ += got;
      atEnd_ = got == 0;
   }
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
