#include "routetrie/table/DigestStream.h"

#include <fmt/format.h>

#include <algorithm>

#include "routetrie/digest.h"

namespace routetrie {

void digest_stream::text(std::string_view bytes) noexcept {
   number(bytes.size());
   for (std::size_t at = 0; at < bytes.size(); at += 8) {
      std::uint64_t word = 0;
      for (std::size_t i = 0; i < std::min<std::size_t>(8, bytes.size() - at); ++i) {
         word |= std::uint64_t{static_cast<unsigned char>(bytes[at + i])} << 8 * i;
      }
      number(word);
   }
}

std::string table_digest::text() const { return fmt::format("{:016x}{:016x}", high, low); }

}  // namespace routetrie
