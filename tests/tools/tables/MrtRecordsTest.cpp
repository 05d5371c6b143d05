// MrtRecords: records one after the other, and what is left of a file that is damaged.
#include "tools/tables/mrt/MrtRecords.h"

#include <fmt/format.h>

#include "Support.h"
#include "tests/tools/tables/MrtBytes.h"
#include "tools/tables/TableErrors.h"
#include "tools/tables/mrt/MrtRoutes.h"

namespace Rtrie {
namespace MrtRecordsTest {

using namespace Mrt;
using testing::ElementsAre;

// Hands out a text some bytes at a time, and fails at its end if it is told to.
class TextSource final : public ByteSource {
  public:
   explicit TextSource(std::string text, std::size_t atATime = 100'000, std::string failure = "")
      : text_(std::move(text)), atATime_(atATime), failure_(std::move(failure)) {}
   std::size_t read(char* to, std::size_t room) override {
      const std::size_t got = text_.copy(to, std::min(room, atATime_), at_);
      at_ += got;
      if (got == 0 && !failure_.empty()) {
         throw DataError(failure_);
      }
      return got;
   }

  private:
   std::string text_;
   std::size_t atATime_;
   std::string failure_;
   std::size_t at_ = 0;
};

struct Read {
   std::vector<std::string> prefixes;  // of the records, "10.0.0.0/8 @120" with the offset of the record
   std::vector<std::string> faults;
   bool operator==(const Read&) const = default;
   friend void PrintTo(const Read& read, std::ostream* out) {
      *out << testing::PrintToString(read.prefixes) << ' ' << testing::PrintToString(read.faults);
   }
};

// Reads the routes too, as they tell where a record ends.
Read readFrom(ByteSource& source, MrtLimits limits = {}) {
   struct Sink final : MrtSink {
      Read result;
      std::uint64_t offset = 0;
      void entry(const Corenet::IpGenPrefix& prefix, const RibEntry&) override {
         result.prefixes.push_back(fmt::format("{} @{}", prefix.stringValue(), offset));
      }
      void announced(const Corenet::IpGenPrefix&, const OfferText&) override {}
      void withdrawn(const Corenet::IpGenPrefix&, std::string_view) override {}
      void lost(std::string_view) override {}
   } sink;
   const auto tell = [&](const std::string& what) { sink.result.faults.push_back(what); };
   MrtRecords records(source, tell, false, limits);
   MrtRoutes routes({}, sink, tell);
   while (const auto record = records.next()) {
      sink.offset = record->offset;
      records.readUpTo(routes.read(*record));
   }
   return sink.result;
}

Read read(const std::string& bytes) {
   TextSource source(bytes);
   Read whole = readFrom(source);
   // Whatever comes in one piece.
   for (const std::size_t atATime : {1U, 7U, 64U}) {
      TextSource slow(bytes, atATime);
      EXPECT_EQ(whole, readFrom(slow)) << atATime;
   }
   return whole;
}

const std::string index4 = peerIndex({{"192.0.2.1", 65000}});
std::string route(std::string_view prefix, unsigned paths = 1) {
   return rib(2, prefix, std::vector<std::string>(paths, entry(0, path({65000, 1}) + nextHop("192.0.2.1"))));
}

TEST(MrtRecords, oneAfterTheOther) {
   const auto result = read(index4 + route("10.0.0.0/8") + route("11.0.0.0/8"));
   const auto first = index4.size();
   EXPECT_THAT(result.prefixes, ElementsAre(fmt::format("10.0.0.0/8 @{}", first),
                                            fmt::format("11.0.0.0/8 @{}", first + route("10.0.0.0/8").size())));
   EXPECT_THAT(result.faults, ElementsAre());
   EXPECT_EQ(Read(), read(""));
}

TEST(MrtRecords, aRecordMayBeLong) {
   const auto result = read(index4 + route("10.0.0.0/8", 30'000) + route("11.0.0.0/8"));
   EXPECT_EQ(30'001U, result.prefixes.size());
   EXPECT_THAT(result.faults, ElementsAre());
}

// Wherever the file is cut, what is there whole is read, and the cut is told.
TEST(MrtRecords, cutAnywhere) {
   const auto bytes = index4 + route("10.0.0.0/8", 2) + route("11.0.0.0/8");
   const auto first = index4.size();
   const auto second = first + route("10.0.0.0/8", 2).size();
   for (std::size_t size = first + 1; size < bytes.size(); ++size) {
      if (size == second) {
         continue;
      }
      TextSource source(bytes.substr(0, size));
      const auto result = readFrom(source);
      ASSERT_EQ(1U, result.faults.size()) << size << ": " << testing::PrintToString(result.faults);
      const auto start = size < second ? first : second;
      EXPECT_THAT(result.faults[0],
                  testing::StartsWith(fmt::format("record {} at byte {}: cut: ", size < second ? 2 : 3, start)));
      EXPECT_GE(result.prefixes.size(), size > second ? 2U : 0U) << size;
   }
   // One of the two entries is whole.
   TextSource source(bytes.substr(0, second - 3));
   EXPECT_THAT(readFrom(source).prefixes, ElementsAre(fmt::format("10.0.0.0/8 @{}", first)));
}

TEST(MrtRecords, anUnknownKindIsToldAndTheRestRead) {
   const auto result = read(index4 + record(99, 7, "what is this") + route("10.0.0.0/8") +
                            record(13, 99, "and this") + route("11.0.0.0/8"));
   EXPECT_EQ(2U, result.prefixes.size());
   const auto first = index4.size();
   EXPECT_THAT(result.faults, ElementsAre(fmt::format("record 2 at byte {}: unknown kind: type 99, subtype 7", first),
                                          fmt::format("record 4 at byte {}: unknown kind: type 13, subtype 99",
                                                      first + 24 + route("10.0.0.0/8").size())));
}

// A length that is too great, or too small, costs no other record.
TEST(MrtRecords, aLengthThatLies) {
   const auto wrong = [](std::string bytes, int by) {
      const auto length = static_cast<std::uint32_t>(static_cast<int>(bytes.size()) - 12 + by);
      return bytes.replace(8, 4, u32(length));
   };
   for (const int by : {-60, -20, -1, 1, 5, 100, 1'000'000, 2'000'000'000}) {
      const auto lie = wrong(route("10.0.0.0/8", 3), by);
      const auto result = read(index4 + lie + route("11.0.0.0/8") + route("12.0.0.0/8") + route("13.0.0.0/8"));
      EXPECT_EQ(6U, result.prefixes.size()) << by << testing::PrintToString(result.faults);
      ASSERT_EQ(1U, result.faults.size()) << by << testing::PrintToString(result.faults);
      EXPECT_THAT(result.faults[0], testing::StartsWith(fmt::format("record 2 at byte {}: ", index4.size()))) << by;
   }
}

TEST(MrtRecords, whatIsDamagedBetweenIsPassedOver) {
   const auto result =
      read(index4 + route("10.0.0.0/8") + std::string(1000, 'x') + route("11.0.0.0/8") + route("12.0.0.0/8"));
   EXPECT_EQ(3U, result.prefixes.size());
   EXPECT_THAT(result.faults,
               ElementsAre(testing::StartsWith(fmt::format("record 3 at byte {}: no record starts here",
                                                           index4.size() + route("10.0.0.0/8").size()))));
   // At the end, too.
   EXPECT_EQ(1U, read(index4 + route("10.0.0.0/8") + std::string(1000, '\0')).prefixes.size());
}

TEST(MrtRecords, aSourceThatFailsEndsTheFile) {
   TextSource source(index4 + route("10.0.0.0/8") + route("11.0.0.0/8").substr(0, 20), 64, "x.gz: corrupt");
   const auto result = readFrom(source);
   EXPECT_EQ(1U, result.prefixes.size());
   EXPECT_THAT(result.faults, ElementsAre("x.gz: corrupt", testing::HasSubstr("cut")));
}

TEST(MrtRecords, whatIsNoMrtIsGivenUp) {
   TextSource source(index4 + std::string(100'000, 'x'));
   MrtLimits limits;
   limits.search = 50'000;
   try {
      readFrom(source, limits);
      FAIL();
   } catch (const DataError& fault) {
      EXPECT_STREQ("<input>: no record within 50,000 bytes: this is no MRT", fault.what());
   }
}

// Every byte of a file turned, one at a time: nothing but what the record of that byte holds is lost.
TEST(MrtRecords, aDamagedByteCostsOneRecord) {
   const auto bytes =
      index4 + route("10.0.0.0/8") + route("11.0.0.0/8", 2) + route("12.0.0.0/8") + route("13.0.0.0/8");
   const std::size_t first = index4.size();
   for (std::size_t at = first; at < bytes.size(); ++at) {
      for (const unsigned mask : {0x01U, 0x80U, 0xffU}) {
         std::string damaged = bytes;
         damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ mask);
         TextSource source(damaged);
         const auto result = readFrom(source);
         EXPECT_GE(result.prefixes.size(), 3U) << at << " " << mask << testing::PrintToString(result);
      }
   }
}

TEST(MrtRecords, isTold) {
   EXPECT_TRUE(isMrt(index4));
   EXPECT_TRUE(isMrt(record(99, 0, "x") + index4 + route("10.0.0.0/8")));
   EXPECT_FALSE(isMrt(""));
   EXPECT_FALSE(isMrt("10.0.0.0/8 a\n11.0.0.0/8 b\n"));
   EXPECT_FALSE(isMrt(std::string(1000, '\0')));
   EXPECT_FALSE(isMrt("[{\"dst\":\"default\"}]"));
}

}  // namespace MrtRecordsTest
}  // namespace Rtrie
