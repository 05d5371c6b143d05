#include "routetrie/platform/Corenet/PrefixDedup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <set>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/HashKeys.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/platform/Threads.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace PrefixDedupTest {

using namespace Corenet;
using Property::LiveCounts;
using TestSupport::MultiThreaded;
using TestSupport::RandomValues;
using TestSupport::runThreads;

AddressBits<128> bitsOf(std::string_view text) { return Ip6Addr::fromString(text).bits(); }

// The i-th /64 of 2001:db8::/32.
AddressBits<128> subnet(U32 i) { return AddressBits<128>(bitsOf("2001:db8::").word() | Corenet::U128{i} << 64); }

TEST(PrefixDedup, equalPrefixesShareARecord) {
   const LiveCounts before;
   auto* first = PrefixDedup::acquire(bitsOf("2001:db8:1:2::"), 64);
   auto* second = PrefixDedup::acquire(bitsOf("2001:db8:1:2::"), 64);
   EXPECT_EQ(first, second);
   EXPECT_EQ(bitsOf("2001:db8:1:2::"), first->bits);
   EXPECT_EQ(64, first->length);
   EXPECT_EQ(2u, first->uses.load());
   EXPECT_EQ(1u, PrefixDedup::liveRecords());
   PrefixDedup::retain(first);
   EXPECT_EQ(3u, first->uses.load());
   PrefixDedup::release(first);
   PrefixDedup::release(first);
   EXPECT_EQ(1u, first->uses.load());
   EXPECT_EQ(1u, PrefixDedup::liveRecords());
   PrefixDedup::release(second);
   EXPECT_EQ(0u, PrefixDedup::liveRecords());
   EXPECT_EQ("", before.changes());
}

TEST(PrefixDedup, otherAddressOrLengthIsAnotherRecord) {
   const LiveCounts before;
   std::vector<PrefixDedup::Record*> records;
   for (U32 length = 57; length <= 128; ++length) {
      records.push_back(PrefixDedup::acquire(bitsOf("2001:db8::"), static_cast<U8>(length)));
   }
   records.push_back(PrefixDedup::acquire(bitsOf("2001:db8::"), 255));
   records.push_back(PrefixDedup::acquire(bitsOf("::"), 255));
   for (U32 n = 0; n < 128; ++n) {
      records.push_back(
         PrefixDedup::acquire(AddressBits<128>(bitsOf("2001:db8::").word() ^ Corenet::U128{1} << n), 128));
   }
   EXPECT_EQ(records.size(), (std::set<PrefixDedup::Record*>(records.begin(), records.end()).size()));
   EXPECT_EQ(records.size(), PrefixDedup::liveRecords());
   for (auto* record : records) {
      EXPECT_EQ(0u, std::bit_cast<std::uint64_t>(record) & 3) << "the low bits are the tag of a compact value";
      PrefixDedup::release(record);
   }
   EXPECT_EQ("", before.changes());
}

TEST(PrefixDedup, countsItsAcquisitions) {
   const auto before = PrefixDedup::acquisitions();
   auto* record = PrefixDedup::acquire(subnet(0), 64);
   EXPECT_EQ(before + 1, PrefixDedup::acquisitions());
   PrefixDedup::release(PrefixDedup::acquire(subnet(0), 64));
   EXPECT_EQ(before + 2, PrefixDedup::acquisitions());
   PrefixDedup::retain(record);
   PrefixDedup::release(record);
   PrefixDedup::release(record);
   EXPECT_EQ(before + 2, PrefixDedup::acquisitions()) << "only looking up is counted";
}

TEST(PrefixDedup, copiesOfACompactValueLookNothingUp) {
   const CompactIpPrefix value(Ip6Prefix(Ip6Addr(subnet(1)), 64));
   const auto before = PrefixDedup::acquisitions();
   CompactIpPrefix copy(value);
   CompactIpPrefix moved(std::move(copy));
   copy = moved;
   EXPECT_EQ(value, copy);
   EXPECT_EQ(64, copy.len());
   EXPECT_EQ(before, PrefixDedup::acquisitions());
   const CompactIpPrefix shortOne(Ip6Prefix(Ip6Addr(subnet(0)), 56));
   const CompactIpPrefix ipv4(Prefix::fromString("10.0.0.1/32"));
   EXPECT_EQ(before, PrefixDedup::acquisitions()) << "neither has a record";
}

TEST(PrefixDedup, aHundredThousandComeAndGo) {
   const LiveCounts before;
   const U32 count = Property::sized(20'000u, 40'000u, 1'000'000u);
   std::vector<PrefixDedup::Record*> records;
   for (U32 i = 0; i < count; ++i) {
      records.push_back(PrefixDedup::acquire(subnet(i), 64));
   }
   EXPECT_EQ(count, PrefixDedup::liveRecords());
   for (U32 i = 0; i < count; ++i) {
      auto* again = PrefixDedup::acquire(subnet(i), 64);
      ASSERT_EQ(records[i], again) << i;
      PrefixDedup::release(again);
   }
   std::shuffle(records.begin(), records.end(), std::mt19937_64(Property::seed()));
   for (auto* record : records) {
      PrefixDedup::release(record);
   }
   EXPECT_EQ(0u, PrefixDedup::liveRecords());
   EXPECT_EQ("", before.changes());
   PrefixDedup::release(PrefixDedup::acquire(subnet(7), 64));  // the table works on after it was emptied
   EXPECT_EQ("", before.changes());
}

// --- chosen prefixes ---

// The i-th /128 of 2001:db8::/64 of those whose hash under `keys` has zeros where the table looks. A fold is no
// permutation, so they are searched for; the more bits are to be zero, the longer.
std::vector<AddressBits<128>> chosenFor(const HashKeys& keys, std::size_t count, U32 zeroBits) {
   std::vector<AddressBits<128>> chosen;
   const U128 subnetWord = bitsOf("2001:db8::").word();
   for (U64 low = 0; chosen.size() < count; ++low) {
      const AddressBits<128> bits(subnetWord | low);
      if (keys.hash(bits, 128) % (1u << zeroBits) == 0) {
         chosen.push_back(bits);
      }
   }
   return chosen;
}

// Under a hash that multiplies by a constant and begins with 0, as everybody knows it, the addresses that meet in a bucket
// can be computed: 40,000 of one /64.
std::vector<AddressBits<128>> chosenForAPlainHash(std::size_t count) {
   constexpr U64 factor = 0x9e3779b97f4a7c15;
   U64 inverse = factor;  // modulo 2^64, by Newton's method
   for (int i = 0; i < 6; ++i) {
      inverse *= 2 - factor * inverse;
   }
   const U128 subnetWord = bitsOf("2001:db8::").word();
   const U64 begun = Corenet::Impl::hashMix(Corenet::Impl::hashMix(0, 128), static_cast<U64>(subnetWord >> 64));
   std::vector<AddressBits<128>> chosen;
   for (U64 i = 0; i < count; ++i) {
      const U64 mixed = (i & 0xffff) | (i >> 16) << 48;  // the table looked at bits 16 to 47
      const U64 product = mixed ^ mixed >> 32;
      const AddressBits<128> bits(subnetWord | (begun ^ product * inverse));
      EXPECT_EQ(0u, Corenet::Impl::hashBits(0, bits, 128) & 0x3fffff);
      chosen.push_back(bits);
   }
   return chosen;
}

void expectSpread(const std::vector<AddressBits<128>>& chosen) {
   ASSERT_EQ(chosen.size(), std::set(chosen.begin(), chosen.end()).size());
   const LiveCounts before;
   std::vector<PrefixDedup::Record*> records;
   for (const auto bits : chosen) {
      records.push_back(PrefixDedup::acquire(bits, 128));
   }
   EXPECT_EQ(chosen.size(), PrefixDedup::liveRecords());
   // One record a bucket on the average at most: that any holds 32 happens in one run of 10^30.
   EXPECT_LT(PrefixDedup::longestBucket(), 32u);
   EXPECT_GT(PrefixDedup::longestBucket(), 0u);
   for (auto* record : records) {
      PrefixDedup::release(record);
   }
   EXPECT_EQ(0u, PrefixDedup::longestBucket());
   EXPECT_EQ("", before.changes());
}

TEST(PrefixDedup, chosenPrefixesAreSpread) { expectSpread(chosenForAPlainHash(40'000)); }

// Whoever knows the way of hashing, and the keys of another process.
TEST(PrefixDedup, prefixesThatMeetUnderOtherKeysAreSpread) {
   expectSpread(chosenFor(HashKeys({1, 2, 3, 4}), 5'000, 8));
   expectSpread(chosenFor(HashKeys::draw(HashKeys::systemRandom), 5'000, 8));
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(PrefixDedup, withoutMemoryNothingIsLeftBehind) {
   auto* held = PrefixDedup::acquire(subnet(0), 64);
   const LiveCounts before;
   CoreSlab::failAt(1);
   EXPECT_THROW(PrefixDedup::acquire(subnet(1), 64), std::bad_alloc);
   CoreSlab::failAt(1);
   EXPECT_EQ(held, PrefixDedup::acquire(subnet(0), 64)) << "a record that is there needs no memory";
   CoreSlab::failAt(0);
   PrefixDedup::release(held);
   EXPECT_EQ("", before.changes());
   PrefixDedup::release(held);
}
#endif

// --- threads ---

// Each thread takes, copies and drops values of a few prefixes that all threads use, so that a last reference is given
// up while another thread looks the same prefix up. Every value must read as its prefix at every moment.
void handleFromManyThreads(U32 distinct, int rounds) {
   runThreads(8, [=](int thread) {
      RandomValues random(static_cast<std::uint64_t>(thread));
      std::vector<CompactIpPrefix> held(4);
      for (int round = 0; round < rounds; ++round) {
         const U32 i = random.below(distinct);
         const U32 length = 64 + i % 8;
         CompactIpPrefix& place = held[random.below(4)];
         switch (random.below(4)) {
            case 0: place = held[random.below(4)]; break;
            case 1: place = CompactIpPrefix(); break;
            default:
               place.ipv6Is(Ip6Prefix(Ip6Addr(subnet(i)), length));
               if (place.bits<128>() != subnet(i) || place.len() != length) {
                  ADD_FAILURE() << "read " << place << " as prefix " << i;
                  return;
               }
         }
      }
   });
}

class PrefixDedupThreads : public testing::TestWithParam<bool> {};

// Without the flag of ThreadControl, too: records are shared by tries that know nothing of each other. Only the
// allocation trackers may then miscount.
TEST_P(PrefixDedupThreads, fightOverAFewPrefixes) {
   const LiveCounts before;
   {
      const MultiThreaded multiThreaded(GetParam());
      handleFromManyThreads(3, Property::sized(5'000, 20'000, 500'000));
   }
   EXPECT_EQ(0u, PrefixDedup::liveRecords());
   if (GetParam()) {
      EXPECT_EQ("", before.changes());
   }
}

TEST_P(PrefixDedupThreads, fillAndEmptyTheTable) {
   const LiveCounts before;
   {
      const MultiThreaded multiThreaded(GetParam());
      const U32 count = Property::sized(2'000u, 10'000u, 100'000u);
      std::vector<std::vector<PrefixDedup::Record*>> held(8);
      runThreads(8, [&](int thread) {
         auto& records = held[static_cast<std::size_t>(thread)];
         for (U32 i = 0; i < count; ++i) {
            records.push_back(PrefixDedup::acquire(subnet(i), 64));
         }
      });
      ASSERT_EQ(count, PrefixDedup::liveRecords());
      for (const auto& records : held) {
         ASSERT_EQ(held[0], records) << "all threads have the same records";
      }
      ASSERT_TRUE(std::all_of(held[0].begin(), held[0].end(), [](auto* r) { return r->uses.load() == 8; }));
      runThreads(8, [&](int thread) {
         for (auto* record : held[static_cast<std::size_t>(7 - thread)]) {  // another thread's references
            PrefixDedup::release(record);
         }
      });
   }
   EXPECT_EQ(0u, PrefixDedup::liveRecords());
   if (GetParam()) {
      EXPECT_EQ("", before.changes());
   }
}

INSTANTIATE_TEST_SUITE_P(ThreadControl, PrefixDedupThreads, testing::Bool(),
                         [](const auto& flag) { return flag.param ? "on" : "off"; });

}  // namespace PrefixDedupTest
