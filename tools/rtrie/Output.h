// Output: buffered text to a descriptor. What does not fit is told, not lost: a full disk raises DataError.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <fmt/format.h>

#include <iterator>
#include <string_view>
#include <utility>

#include "tools/tables/Interrupt.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {

// Nobody reads the output any more: the other end of a pipe was closed.
struct ReaderGone : DataError {
   using DataError::DataError;
};

class Output {
  public:
   // The descriptor is not closed by this object. What was not flushed when it goes is dropped.
   explicit Output(int descriptor) : descriptor_(descriptor) {}

   void text(std::string_view text) { buffer_.append(text); }
   template <class... Args>
   void format(fmt::format_string<Args...> format, Args&&... args) {
      fmt::format_to(std::back_inserter(buffer_), format, std::forward<Args>(args)...);
   }

   // To be called after each line; writes once there is enough. Raises Interrupted (see Interrupt.h).
   void lineDone() {
      stopIfInterrupted();
      if (buffer_.size() >= flushBytes) {
         flush();
      }
   }
   void flush();

  private:
   static constexpr std::size_t flushBytes = std::size_t{1} << 16;

   int descriptor_;
   fmt::memory_buffer buffer_;
};

}  // namespace Rtrie
