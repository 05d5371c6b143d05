#include "tools/rtrie/ByteSource.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "tools/rtrie/Errors.h"

namespace Rtrie {
namespace {

// zlib passes a file through as it is unless it starts with the two bytes of a .gz.
class TableSource final : public ByteSource {
  public:
   TableSource(const std::string& path, std::string name) : name_(std::move(name)) {
      const int descriptor = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
      if (descriptor < 0) {
         throw DataError(fmt::format("{}: cannot open: {}", name_, std::strerror(errno)));
      }
      struct stat status {};
      if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
         close(descriptor);
         throw DataError(fmt::format("{}: is a directory", name_));
      }
      if (S_ISREG(status.st_mode)) {
         size_ = static_cast<std::uint64_t>(status.st_size);
      }
      file_ = gzdopen(descriptor, "rb");
      if (file_ == nullptr) {
         close(descriptor);
         throw DataError(fmt::format("{}: cannot open: out of memory", name_));
      }
      gzbuffer(file_, 1 << 17);
   }
   TableSource(const TableSource&) = delete;
   TableSource& operator=(const TableSource&) = delete;
   ~TableSource() override { gzclose_r(file_); }

   std::size_t read(char* to, std::size_t room) override {
      room = std::min<std::size_t>(room, std::numeric_limits<int>::max());
      const int got = gzread(file_, to, static_cast<unsigned>(room));
      if (got > 0) {
         return static_cast<std::size_t>(got);
      }
      int code = Z_OK;
      const char* text = gzerror(file_, &code);
      switch (code) {
         case Z_OK:
         case Z_STREAM_END: return 0;
         // zlib has no more input in the middle of the compressed stream.
         case Z_BUF_ERROR:
            throw DataError(fmt::format("{}: truncated .gz: the file ends before its data does", name_));
         case Z_ERRNO: throw DataError(fmt::format("{}: cannot read: {}", name_, std::strerror(errno)));
         default: throw DataError(fmt::format("{}: corrupt .gz: {}", name_, text));
      }
   }

   std::uint64_t position() const override {
      const auto offset = gzoffset(file_);
      return offset > 0 ? static_cast<std::uint64_t>(offset) : 0;
   }
   std::uint64_t size() const override { return size_; }

  private:
   std::string name_;
   gzFile file_ = nullptr;
   std::uint64_t size_ = 0;
};

class DescriptorSource final : public ByteSource {
  public:
   DescriptorSource(int descriptor, std::string name, std::function<void()> beforeWait)
      : descriptor_(descriptor), name_(std::move(name)), beforeWait_(std::move(beforeWait)) {}

   std::size_t read(char* to, std::size_t room) override {
      beforeWait_();
      for (;;) {
         const ssize_t got = ::read(descriptor_, to, room);
         if (got >= 0) {
            return static_cast<std::size_t>(got);
         }
         if (errno != EINTR) {
            throw DataError(fmt::format("{}: cannot read: {}", name_, std::strerror(errno)));
         }
      }
   }

  private:
   int descriptor_;
   std::string name_;
   std::function<void()> beforeWait_;
};

}  // namespace

std::string tableName(const std::string& path) { return path == "-" ? "<stdin>" : path; }

std::unique_ptr<ByteSource> openTable(const std::string& path) {
   return std::make_unique<TableSource>(path, tableName(path));
}

std::unique_ptr<ByteSource> descriptorSource(int descriptor, std::string name, std::function<void()> beforeWait) {
   return std::make_unique<DescriptorSource>(descriptor, std::move(name), std::move(beforeWait));
}

}  // namespace Rtrie
