// MrtRecords: the records of an MRT file (RFC 6396), one after the other, each a header of 12 bytes and a body:
//
//    | seconds 4 | type 2 | subtype 2 | length 4 | body: `length` bytes
//
// A length is believed if a header or the end of the file follows the body. Where neither does, the record is handed out with
// all bytes that follow it: what it holds tells how long it is, and whoever reads it says where it ended (readUpTo). From there
// the next header is looked for, byte by byte, so that a damaged record costs itself and no other. Each fault is told once.
//
// Memory is bounded by the longest record, and so is the search.
// Tested by tests/tools/tables/MrtRecordsTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/tables/ByteSource.h"

namespace Rtrie {

enum MrtType : U16 {
   mrtOspf2 = 11,
   mrtTableDump = 12,
   mrtTableDump2 = 13,
   mrtBgp4mp = 16,
   mrtBgp4mpEt = 17,
   mrtIsis = 32,
   mrtIsisEt = 33,
   mrtOspf3 = 48,
   mrtOspf3Et = 49,
};

struct MrtRecord {
   std::uint64_t number = 0;  // from 1
   std::uint64_t offset = 0;  // of the header, bytes of the file, or of what it unpacks to
   U32 seconds = 0;
   U16 type = 0;
   U16 subtype = 0;
   U32 length = 0;            // of the body, as the header has it
   std::span<const U8> body;  // until the next call
   bool isBelieved = true;    // false: the body has more bytes than the record, or fewer
};

struct MrtLimits {
   std::size_t recordBytes = std::size_t{1} << 24;
   std::size_t windowBytes = std::size_t{1} << 20;  // of a record whose length is not believed
   std::uint64_t search = std::uint64_t{64} << 20;  // bytes in which no header is found: this is no MRT
};

class MrtRecords {
  public:
   // Called for what is wrong with the file itself: "record 3 at byte 120: ...".
   using Tell = std::function<void(const std::string& what)>;

   // The source must outlive the reader. isLive: what follows a record may come much later, and every length is believed.
   MrtRecords(ByteSource& source, Tell tell, bool isLive = false, MrtLimits limits = {});

   // Nothing at the end of the file. What the source raises ends the file and is told. Raises DataError if what follows
   // is no MRT.
   std::optional<MrtRecord> next();

   // How many bytes of the body of the record handed out last were read, where its length is not believed.
   void readUpTo(std::size_t bodyBytes);

   std::uint64_t count() const { return number_; }

  private:
   struct Header {
      U32 seconds;
      U16 type;
      U16 subtype;
      U32 length;
   };

   bool ensure(std::size_t bytes);
   Header headerAt(std::size_t at) const;
   bool isRecordAt(std::size_t at);
   bool isFollowed(std::size_t at, U32 length);
   bool findRecord();
   std::uint64_t offset() const { return offset_ + begin_; }

   ByteSource& source_;
   Tell tell_;
   bool isLive_;
   MrtLimits limits_;
   std::vector<U8> buffer_;
   std::size_t begin_ = 0;  // of the bytes in the buffer that are not used yet
   std::size_t end_ = 0;
   std::uint64_t offset_ = 0;  // of the buffer's first byte in the file
   bool atEnd_ = false;
   std::uint64_t number_ = 0;
   std::size_t taken_ = 0;  // bytes of the record handed out last, if its length is believed
   bool isDoubted_ = false;
   U32 doubtedLength_ = 0;
   std::size_t doubtedBytes_ = 0;
   std::optional<U32> seconds_;  // of the last record that was read
};

// Whether a file that starts with these bytes is MRT, a damaged one too.
bool isMrt(std::string_view firstBytes);

}  // namespace Rtrie
