// Unpacker: takes the compression off a stream of bytes: .gz, .bz2, .xz and .zst, each as its own library reads it. Which
// one a file has is told from its first bytes. Several compressed streams one after the other are read as one, as the
// programs that write them do.
//
// Tested by tests/tools/tables/ByteSourceTest.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>

namespace Rtrie {

// The compressed bytes are not what they should be. The text says why, in the library's words where it has some.
struct BadPacking : std::runtime_error {
   using std::runtime_error::runtime_error;
};

class Unpacker {
  public:
   struct Step {
      std::size_t taken = 0;  // bytes of the input that were used
      std::size_t given = 0;  // bytes that were put out
      bool atEnd = false;     // the compressed data is complete
   };

   Unpacker() = default;
   Unpacker(const Unpacker&) = delete;
   Unpacker& operator=(const Unpacker&) = delete;
   virtual ~Unpacker() = default;

   // Goes on for as long as there is input and room. in holds at least packingSignatureBytes, or all that is left. Raises
   // BadPacking.
   virtual Step step(std::span<const char> in, std::span<char> out) = 0;
};

// Bytes from which a compression is told.
inline constexpr std::size_t packingSignatureBytes = 10;

struct Packing {
   std::string_view name;  // ".gz"
   bool (*isAt)(std::string_view firstBytes);
   // Null if it is known by name alone, and not read.
   std::unique_ptr<Unpacker> (*unpacker)();
};

// The compression of a file that starts with these bytes; null if it starts with none.
const Packing* packingOf(std::string_view firstBytes);

}  // namespace Rtrie
