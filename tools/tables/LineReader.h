// LineReader: the lines of a ByteSource, without copying them, in constant memory: a line that is longer than a limit is
// told and left out, and reading goes on behind it.
//
// Tested by tests/tools/tables/LineReaderTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/tables/ByteSource.h"

namespace Rtrie {

// Bytes of a line that is read, and of one that is passed over for its end; where a line goes on past that, there are no
// lines.
struct LineLimits {
   std::size_t line = std::size_t{1} << 16;
   std::uint64_t search = std::uint64_t{2} << 30;
};

class LineReader {
  public:
   // What is done about a line that is too long, told as soon as that is known: "line 3 longer than 65536 bytes".
   using TooLong = std::function<void(std::uint64_t lineNumber, const std::string& what)>;

   // The source must outlive the reader. Without tooLong, such a line raises DataError. chunkBytes: asked of the source at
   // a time.
   explicit LineReader(ByteSource& source, TooLong tooLong = nullptr, std::size_t chunkBytes = 1 << 17,
                       LineLimits limits = {});

   // The next line without its end (LF or CR LF; the last line needs none), nullopt at the end. The view holds
   // until the next call. Raises what the source raises, and DataError if a line does not end.
   std::optional<std::string_view> next();

   // Of the line last returned, from 1; 0 before the first.
   std::uint64_t lineNumber() const { return lineNumber_; }

  private:
   bool fill();
   bool skipLine();
   std::string_view lineOf(std::size_t lineEnd);

   ByteSource& source_;
   TooLong tooLong_;
   LineLimits limits_;
   std::size_t chunkBytes_;
   std::vector<char> buffer_;
   std::size_t begin_ = 0;  // of the bytes not yet handed out
   std::size_t end_ = 0;    // of the bytes read
   bool atEnd_ = false;
   std::uint64_t lineNumber_ = 0;
};

}  // namespace Rtrie
