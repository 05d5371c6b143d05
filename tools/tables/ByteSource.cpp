#include "tools/tables/ByteSource.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "tools/tables/Numbers.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/Unpacker.h"

namespace Rtrie {
namespace {

// Text of routes packs by 5 to 50. A file that unpacks to much more than this, and to a lot, was made to take for ever.
constexpr std::uint64_t maxRatio = 200;
constexpr std::uint64_t maxGzRatio = 1040;  // of a .gz of one byte over and over; the others have no such bound

std::size_t readSome(int descriptor, char* to, std::size_t room, const std::string& name) {
   for (;;) {
      const ssize_t got = ::read(descriptor, to, room);
      if (got >= 0) {
         return static_cast<std::size_t>(got);
      }
      if (errno != EINTR) {
         throw DataError(fmt::format("{}: cannot read: {}", name, std::strerror(errno)));
      }
   }
}

// The first byte of whatever is compressed.
constexpr std::string_view packingBytes = "\x1f\x42\xfd\x28\x04\x4c\x50\x37";

class TableSource final : public ByteSource {
  public:
   explicit TableSource(std::unique_ptr<ByteSource> source, std::uint64_t mostBytes)
      : name_(source->name()), mostUnpackedBytes_(mostBytes), source_(std::move(source)), buffer_(bufferBytes) {}
   TableSource(const std::string& path, std::string name, std::uint64_t mostBytes)
      : name_(std::move(name)), mostUnpackedBytes_(mostBytes), buffer_(bufferBytes) {
      descriptor_ = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
      if (descriptor_ < 0) {
         throw DataError(fmt::format("{}: cannot open: {}", name_, std::strerror(errno)));
      }
      try {
         begin();
      } catch (...) {
         close(descriptor_);
         throw;
      }
   }
   TableSource(const TableSource&) = delete;
   TableSource& operator=(const TableSource&) = delete;
   ~TableSource() override {
      if (descriptor_ >= 0) {
         close(descriptor_);
      }
   }

   std::size_t read(char* to, std::size_t room) override {
      if (!hasBegun_) {
         begin();
      }
      if (unpacker_) {
         return readUnpacked(to, room);
      }
      if (begin_ == end_) {
         const std::size_t got = readPlain(to, room);
         readBytes_ += got;
         return got;
      }
      const std::size_t got = std::min(room, end_ - begin_);
      std::memcpy(to, buffer_.data() + begin_, got);
      begin_ += got;
      return got;
   }

   std::string name() const override { return name_; }
   std::uint64_t position() const override { return readBytes_ - (end_ - begin_); }
   std::uint64_t size() const override { return size_; }

  private:
   static constexpr std::size_t bufferBytes = std::size_t{1} << 17;

   std::size_t readPlain(char* to, std::size_t room) {
      return source_ ? source_->read(to, room) : readSome(descriptor_, to, room, name_);
   }

   void begin() {
      hasBegun_ = true;
      if (source_) {
         readBytes_ = end_ = source_->read(buffer_.data(), buffer_.size());
         if (end_ == 0 || packingBytes.find(buffer_[0]) == std::string_view::npos) {
            return;
         }
      }
      struct stat status {};
      if (descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISDIR(status.st_mode)) {
         throw DataError(fmt::format("{}: is a directory", name_));
      }
      if (S_ISREG(status.st_mode)) {
         size_ = static_cast<std::uint64_t>(status.st_size);
      }
      const auto first = ahead();
      packing_ = packingOf({first.data(), first.size()});
      if (packing_ == nullptr) {
         return;
      }
      if (packing_->unpacker == nullptr) {
         throw DataError(
            fmt::format("{}: is a {} file, which is not read: unpack it, or pack it as .gz, .bz2, .xz or .zst", name_,
                        packing_->name));
      }
      unpacker_ = packing_->unpacker();
   }

   // Bytes of the file that are not used yet: enough to tell a compression by, or all that is left.
   std::span<const char> ahead() {
      if (end_ - begin_ < packingSignatureBytes && !atEnd_) {
         std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
         end_ -= begin_;
         begin_ = 0;
         while (end_ < packingSignatureBytes && !atEnd_) {
            const std::size_t got = readPlain(buffer_.data() + end_, buffer_.size() - end_);
            end_ += got;
            readBytes_ += got;
            atEnd_ = got == 0;
         }
      }
      return std::span(buffer_).subspan(begin_, end_ - begin_);
   }

   std::size_t readUnpacked(char* to, std::size_t room) {
      while (!isUnpacked_) {
         const auto in = ahead();
         Unpacker::Step step;
         try {
            step = unpacker_->step(in, {to, room});
         } catch (const BadPacking& fault) {
            throw DataError(fmt::format("{}: corrupt {}: {}", name_, packing_->name, fault.what()));
         }
         begin_ += step.taken;
         isUnpacked_ = step.atEnd;
         unpackedBytes_ += step.given;
         refuseSwelling();
         if (step.given > 0) {
            return step.given;
         }
         if (in.empty() && !isUnpacked_) {
            throw DataError(
               fmt::format("{}: truncated {}: the file ends before its data does", name_, packing_->name));
         }
      }
      return 0;
   }

   void refuseSwelling() const {
      const auto isPast = [&](std::uint64_t bytes, std::uint64_t ratio) {
         return unpackedBytes_ > bytes && unpackedBytes_ / ratio > position();
      };
      for (const auto& [bytes, ratio] :
           {std::pair(mostUnpackedBytes_, maxRatio), {mostUnpackedBytes_ / 16, maxGzRatio}}) {
         if (isPast(bytes, ratio)) {
            throw DataError(fmt::format("{}: {} bytes of {} unpack to more than {}: no table packs like that", name_,
                                        grouped(position()), packing_->name, grouped(bytes)));
         }
      }
   }

   std::string name_;
   std::uint64_t mostUnpackedBytes_;
   int descriptor_ = -1;
   std::unique_ptr<ByteSource> source_;  // in its place
   bool hasBegun_ = false;
   std::vector<char> buffer_;
   std::size_t begin_ = 0;  // of the bytes in the buffer that are not used yet
   std::size_t end_ = 0;
   bool atEnd_ = false;
   std::uint64_t readBytes_ = 0;  // of the file
   std::uint64_t size_ = 0;
   const Packing* packing_ = nullptr;
   std::unique_ptr<Unpacker> unpacker_;
   std::uint64_t unpackedBytes_ = 0;
   bool isUnpacked_ = false;
};

class DescriptorSource final : public ByteSource {
  public:
   DescriptorSource(int descriptor, std::string name, std::function<void()> beforeWait)
      : descriptor_(descriptor), name_(std::move(name)), beforeWait_(std::move(beforeWait)) {}

   std::size_t read(char* to, std::size_t room) override {
      beforeWait_();
      return readSome(descriptor_, to, room, name_);
   }
   std::string name() const override { return name_; }

  private:
   int descriptor_;
   std::string name_;
   std::function<void()> beforeWait_;
};

}  // namespace

std::string_view PeekedSource::ahead(std::size_t bytes) {
   while (buffer_.size() - begin_ < bytes && !atEnd_ && !failure_) {
      const std::size_t there = buffer_.size();
      buffer_.resize(there + bytes);
      std::size_t got = 0;
      try {
         got = source_->read(buffer_.data() + there, bytes);
         atEnd_ = got == 0;
      } catch (const DataError&) {
         failure_ = std::current_exception();
      }
      buffer_.resize(there + got);
   }
   return {buffer_.data() + begin_, buffer_.size() - begin_};
}

std::size_t PeekedSource::read(char* to, std::size_t room) {
   if (begin_ == buffer_.size()) {
      if (failure_) {
         std::rethrow_exception(failure_);
      }
      return atEnd_ ? 0 : source_->read(to, room);
   }
   const std::size_t got = std::min(room, buffer_.size() - begin_);
   std::memcpy(to, buffer_.data() + begin_, got);
   begin_ += got;
   return got;
}

std::string tableName(const std::string& path) { return path == "-" ? "<stdin>" : path; }

std::unique_ptr<ByteSource> openTable(const std::string& path, std::uint64_t mostBytes) {
   return std::make_unique<TableSource>(path, tableName(path), mostBytes);
}

std::unique_ptr<ByteSource> unpackedSource(std::unique_ptr<ByteSource> source, std::uint64_t mostBytes) {
   return std::make_unique<TableSource>(std::move(source), mostBytes);
}

std::unique_ptr<ByteSource> descriptorSource(int descriptor, std::string name, std::function<void()> beforeWait) {
   return std::make_unique<DescriptorSource>(descriptor, std::move(name), std::move(beforeWait));
}

}  // namespace Rtrie
