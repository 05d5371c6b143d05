// OutputStream: an Output as a std::ostream, for those who write to one.
//
// Tested by tests/tools/rtrie/OutputTest.cpp.
#pragma once

#include <ostream>
#include <streambuf>
#include <string_view>

#include "tools/rtrie/Output.h"

namespace Rtrie {

class OutputStream final : public std::ostream {
  public:
   // Raises what the Output does. The Output must outlive it; flush that one at the end.
   explicit OutputStream(Output& output) : std::ostream(nullptr), buffer_(output) {
      rdbuf(&buffer_);
      exceptions(badbit);  // so that a write that fails is told, and not kept as a mere state
   }

  private:
   class Buffer final : public std::streambuf {
     public:
      explicit Buffer(Output& output) : output_(output) {}

     private:
      int_type overflow(int_type byte) override {
         const char text = traits_type::to_char_type(byte);
         xsputn(&text, 1);
         return traits_type::not_eof(byte);
      }
      std::streamsize xsputn(const char* text, std::streamsize size) override {
         output_.text({text, static_cast<std::size_t>(size)});
         output_.lineDone();
         return size;
      }

      Output& output_;
   };

   Buffer buffer_;
};

}  // namespace Rtrie
