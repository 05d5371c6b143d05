// ByteSource: where lines come from. A table file, plain or compressed, or a descriptor that is read as it comes.
//
// Tested by tests/tools/tables/ByteSourceTest.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "routetrie/platform/Types.h"

namespace Rtrie {

class ByteSource {
  public:
   virtual ~ByteSource() = default;

   // Reads at most room bytes and returns how many; 0 at the end. Raises DataError, whose text starts with the
   // name, if the bytes cannot be read: a compressed file that is cut, corrupt or made to swell, a fault of the device.
   virtual std::size_t read(char* to, std::size_t room) = 0;

   // How it is named in messages.
   virtual std::string name() const { return "<input>"; }

   // Bytes of the file used so far, compressed ones if it is.
   virtual std::uint64_t position() const { return 0; }
   // Bytes of the whole file, 0 if that is not known beforehand (a pipe).
   virtual std::uint64_t size() const { return 0; }
};

// A source whose first bytes can be looked at before they are read.
class PeekedSource final : public ByteSource {
  public:
   explicit PeekedSource(std::unique_ptr<ByteSource> source) : source_(std::move(source)) {}

   // The bytes that come next, at least so many unless the source ends or fails before; a failure is raised by the read() that
   // comes to it. The view holds until the next call.
   std::string_view ahead(std::size_t bytes);

   std::size_t read(char* to, std::size_t room) override;
   std::string name() const override { return source_->name(); }
   std::uint64_t position() const override { return source_->position(); }
   std::uint64_t size() const override { return source_->size(); }

  private:
   std::unique_ptr<ByteSource> source_;
   std::vector<char> buffer_;
   std::size_t begin_ = 0;  // of the bytes in the buffer that are not read yet
   bool atEnd_ = false;
   std::exception_ptr failure_;
};

// What a compressed table may unpack to, unless it is of a size that text of routes packs to. Where it swells more than
// .gz can, it is a sixteenth of this.
inline constexpr std::uint64_t mostUnpackedBytes = std::uint64_t{2} << 30;

// A table: "-" is standard input. How it is compressed (.gz, .bz2, .xz, .zst, or not) is told from its first bytes, not
// from its name. Raises DataError if it cannot be opened, or is compressed in a way that is not read.
std::unique_ptr<ByteSource> openTable(const std::string& path, std::uint64_t mostBytes = mostUnpackedBytes);

// How a table is named in messages: the path as given, "<stdin>" for "-".
std::string tableName(const std::string& path);

// The same of bytes that come as they come: what is there is returned at once, where it is not compressed, and to tell that takes
// no more than the first byte of what cannot be.
std::unique_ptr<ByteSource> unpackedSource(std::unique_ptr<ByteSource> source,
                                           std::uint64_t mostBytes = mostUnpackedBytes);

// A descriptor, not closed by this object; what is there is returned at once. beforeWait is called before each
// read, which may have to wait: the place to show what is known so far.
std::unique_ptr<ByteSource> descriptorSource(int descriptor, std::string name, std::function<void()> beforeWait);

}  // namespace Rtrie
