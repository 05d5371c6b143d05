// ByteCursor: bytes of a binary format, read from the front: numbers are in network order. What asks for more than there is
// raises BadText, with nothing taken.
//
// Tested by tests/tools/tables/ByteCursorTest.cpp.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "routetrie/platform/Types.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {

class ByteCursor {
  public:
   explicit ByteCursor(std::span<const U8> bytes) : bytes_(bytes) {}

   // Bytes taken so far, and those that are left.
   std::size_t at() const { return at_; }
   std::size_t left() const { return bytes_.size() - at_; }
   bool atEnd() const { return at_ == bytes_.size(); }

   // `what` is for the message: "the AS path takes 12 bytes where 7 are left".
   std::span<const U8> take(std::size_t size, std::string_view what) {
      if (size > left()) {
         throw BadText(fmt::format("{} takes {} byte{} where {} {} left", what, size, size == 1 ? "" : "s", left(),
                                   left() == 1 ? "is" : "are"));
      }
      const auto taken = bytes_.subspan(at_, size);
      at_ += size;
      return taken;
   }
   U8 u8(std::string_view what) { return take(1, what)[0]; }
   U16 u16(std::string_view what) {
      const auto taken = take(2, what);
      return static_cast<U16>(taken[0] << 8 | taken[1]);
   }
   U32 u32(std::string_view what) {
      const auto taken = take(4, what);
      return U32{taken[0]} << 24 | U32{taken[1]} << 16 | U32{taken[2]} << 8 | taken[3];
   }

  private:
   std::span<const U8> bytes_;
   std::size_t at_ = 0;
};

}  // namespace Rtrie
