#include "tools/tables/mrt/MrtRecords.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tools/tables/ByteCursor.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

constexpr std::size_t headerBytes = 12;
constexpr std::size_t chunkBytes = std::size_t{1} << 18;

struct Kind {
   U16 type;
   U16 lastSubtype;
   U32 leastBytes;  // of a body
};
constexpr Kind kinds[] = {
   {mrtTableDump, 4, 22}, {mrtTableDump2, 12, 6}, {mrtBgp4mp, 11, 12}, {mrtBgp4mpEt, 11, 16}, {mrtOspf2, 0, 8},
   {mrtIsis, 0, 1},       {mrtIsisEt, 0, 5},      {mrtOspf3, 0, 8},    {mrtOspf3Et, 0, 12},
};

const Kind* kindOf(U16 type) {
   const auto* const found =
      std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& kind) { return kind.type == type; });
   return found == std::end(kinds) ? nullptr : found;
}

bool isKnown(U16 type, U16 subtype, U32 length, std::size_t mostBytes) {
   const Kind* kind = kindOf(type);
   return kind != nullptr && subtype <= kind->lastSubtype && length >= kind->leastBytes && length <= mostBytes;
}

}  // namespace

MrtRecords::MrtRecords(ByteSource& source, Tell tell, bool isLive, MrtLimits limits)
   : source_(source), tell_(std::move(tell)), isLive_(isLive), limits_(limits), buffer_(2 * chunkBytes) {}

// Whether so many bytes follow, which are read as far as they are there.
bool MrtRecords::ensure(std::size_t bytes) {
   while (end_ - begin_ < bytes && !atEnd_) {
      if (buffer_.size() - end_ < chunkBytes) {
         if (begin_ > buffer_.size() / 2) {
            std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
            offset_ += begin_;
            end_ -= begin_;
            begin_ = 0;
         } else {
            buffer_.resize(2 * buffer_.size());
         }
      }
      try {
         const std::size_t got = source_.read(reinterpret_cast<char*>(buffer_.data() + end_), chunkBytes);
         end_ += got;
         atEnd_ = got == 0;
      } catch (const DataError& failure) {
         atEnd_ = true;
         tell_(failure.what());
      }
   }
   return end_ - begin_ >= bytes;
}

MrtRecords::Header MrtRecords::headerAt(std::size_t at) const {
   ByteCursor bytes(std::span<const U8>(buffer_).subspan(begin_ + at, headerBytes));
   const U32 seconds = bytes.u32("");
   const U16 type = bytes.u16("");
   const U16 subtype = bytes.u16("");
   return {seconds, type, subtype, bytes.u32("")};
}

// Whether what follows a body of that length, of a record so many bytes from here, is another record or the end.
bool MrtRecords::isFollowed(std::size_t at, U32 length) {
   if (length > limits_.recordBytes) {
      return false;
   }
   const std::size_t end = at + headerBytes + length;
   if (ensure(end + headerBytes)) {
      const Header next = headerAt(end);
      return isKnown(next.type, next.subtype, next.length, limits_.recordBytes);
   }
   return end_ - begin_ == end;
}

// Whether a record starts so many bytes from here; asked of bytes that may be anything.
bool MrtRecords::isRecordAt(std::size_t at) {
   const Header header = headerAt(at);
   if (!isKnown(header.type, header.subtype, header.length, limits_.recordBytes)) {
      return false;
   }
   constexpr U32 hour = 3600;
   const bool isNear = seconds_ && header.seconds - *seconds_ + hour <= 2 * hour;
   return isNear || isFollowed(at, header.length);
}

// Goes to the next record. False if there is none.
bool MrtRecords::findRecord() {
   constexpr std::size_t typeAt = 4;
   for (std::uint64_t passed = 0; passed < limits_.search;) {
      if (!ensure(headerBytes)) {
         return false;
      }
      // The type of a record that is known starts with a byte of 0.
      const auto* const from = buffer_.data() + begin_ + typeAt;
      const std::size_t bytes = end_ - begin_ - headerBytes + 1;
      const auto* const found = static_cast<const U8*>(std::memchr(from, 0, bytes));
      const std::size_t skipped = found == nullptr ? bytes : static_cast<std::size_t>(found - from);
      begin_ += skipped;
      passed += skipped + 1;
      if (found != nullptr) {
         if (isRecordAt(0)) {
            return true;
         }
         ++begin_;
      }
   }
   throw DataError(
      fmt::format("{}: no record within {} bytes: this is no MRT", source_.name(), grouped(limits_.search)));
}

void MrtRecords::readUpTo(std::size_t bodyBytes) { doubtedBytes_ = bodyBytes; }

std::optional<MrtRecord> MrtRecords::next() {
   begin_ += std::exchange(taken_, 0);
   if (std::exchange(isDoubted_, false)) {
      const bool isLie = doubtedBytes_ != doubtedLength_;
      const std::uint64_t left = end_ - begin_ - headerBytes;
      if (isLie && atEnd_ && doubtedLength_ > left) {
         tell_(fmt::format("record {} at byte {}: cut: {} of its {} bytes are there", number_, offset(),
                           grouped(left), grouped(doubtedLength_)));
      } else if (isLie) {
         tell_(fmt::format("record {} at byte {}: its length of {} is wrong: what could be read ends after {} bytes",
                           number_, offset(), grouped(doubtedLength_), grouped(doubtedBytes_)));
      }
      begin_ += headerBytes + doubtedBytes_;
      if (isLie && !findRecord()) {
         begin_ = end_;
      }
   }
   for (;;) {
      if (!ensure(headerBytes)) {
         if (begin_ != end_) {
            ++number_;
            tell_(fmt::format("record {} at byte {}: cut: {} of the {} bytes of its header are there", number_,
                              offset(), end_ - begin_, headerBytes));
            begin_ = end_;
         }
         return std::nullopt;
      }
      ++number_;
      const Header header = headerAt(0);
      MrtRecord record{number_, offset(), header.seconds, header.type, header.subtype, header.length, {}, true};
      const bool isMine = kindOf(header.type) != nullptr && header.subtype <= kindOf(header.type)->lastSubtype;
      const bool isFit = header.length <= limits_.recordBytes;
      if (isLive_ ? isFit && ensure(headerBytes + header.length) : isFollowed(0, header.length)) {
         seconds_ = header.seconds;
         taken_ = headerBytes + header.length;
         record.body = std::span(buffer_).subspan(begin_ + headerBytes, header.length);
         return record;
      }
      if (isMine) {
         ensure(headerBytes + limits_.windowBytes);
         record.isBelieved = false;
         record.body = std::span(buffer_).subspan(begin_ + headerBytes,
                                                  std::min(end_ - begin_ - headerBytes, limits_.windowBytes));
         isDoubted_ = true;
         doubtedLength_ = header.length;
         doubtedBytes_ = 0;
         return record;
      }
      tell_(fmt::format("record {} at byte {}: no record starts here (type {}, subtype {}, length {})", number_,
                        offset(), header.type, header.subtype, header.length));
      ++begin_;
      if (!findRecord()) {
         begin_ = end_;
      }
   }
}

bool isMrt(std::string_view firstBytes) {
   const auto* const bytes = reinterpret_cast<const U8*>(firstBytes.data());
   const auto headerFits = [&](std::size_t at) {
      ByteCursor header(std::span<const U8>(bytes + at, headerBytes));
      header.u32("");
      const U16 type = header.u16("");
      const U16 subtype = header.u16("");
      const U32 length = header.u32("");
      return isKnown(type, subtype, length, MrtLimits().recordBytes) ? std::optional<std::size_t>(length)
                                                                     : std::nullopt;
   };
   if (firstBytes.size() < headerBytes) {
      return false;
   }
   if (headerFits(0)) {
      return true;
   }
   // Its first record may be of another kind, or damaged; text has no bytes of zero.
   for (std::size_t at = 1; at + headerBytes <= firstBytes.size(); ++at) {
      if (const auto length = headerFits(at)) {
         const std::size_t next = at + headerBytes + *length;
         if (next + headerBytes <= firstBytes.size() && headerFits(next)) {
            return firstBytes.substr(0, next).find('\0') != std::string_view::npos;
         }
      }
   }
   return false;
}

}  // namespace Rtrie
