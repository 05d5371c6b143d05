// LineReader: the lines of a ByteSource, without copying them and without a limit on their length.
//
// Tested by tests/tools/rtrie/LineReaderTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/rtrie/ByteSource.h"

namespace Rtrie {

class LineReader {
  public:
   // The source must outlive the reader. chunkBytes: asked of the source at a time.
   explicit LineReader(ByteSource& source, std::size_t chunkBytes = 1 << 17);

   // The next line without its end (LF or CR LF; the last line needs none), nullopt at the end. The view holds
   // until the next call. Raises what the source raises.
   std::optional<std::string_view> next();

   // Of the line last returned, from 1; 0 before the first.
   std::uint64_t lineNumber() const { return lineNumber_; }

  private:
   std::string_view lineOf(std::size_t lineEnd);

   ByteSource& source_;
   std::size_t chunkBytes_;
   std::vector<char> buffer_;
   std::size_t begin_ = 0;  // of the bytes not yet handed out
   std::size_t end_ = 0;    // of the bytes read
   bool atEnd_ = false;
   std::uint64_t lineNumber_ = 0;
};

}  // namespace Rtrie
