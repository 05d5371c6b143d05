#include "routetrie/platform/Corenet/HashKeys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "routetrie/platform/Corenet/IpAddr.h"

namespace HashKeysTest {

using namespace Corenet;

AddressBits<128> host(U64 i) { return AddressBits<128>(Ip6Addr::fromString("2001:db8::").bits().word() | i); }

bool noRandom(void*, std::size_t) noexcept { return false; }
bool sevens(void* memory, std::size_t bytes) noexcept {
   std::memset(memory, 7, bytes);
   return true;
}

TEST(HashKeys, areTheSources) {
   for (const U64 word : HashKeys::draw(sevens).words()) {
      EXPECT_EQ(0x0707070707070707u, word);
   }
}

TEST(HashKeys, differAtEachDraw) {
   for (const auto source : {HashKeys::RandomSource(HashKeys::systemRandom), HashKeys::RandomSource(noRandom)}) {
      std::set<U64> words;
      for (int i = 0; i < 20; ++i) {
         for (const U64 word : HashKeys::draw(source).words()) {
            words.insert(word);
         }
      }
      EXPECT_EQ(80u, words.size()) << (source == noRandom ? "without random numbers" : "");
   }
}

TEST(HashKeys, hashDependsOnEveryBitAndOnTheLength) {
   const HashKeys keys = HashKeys::draw(HashKeys::systemRandom);
   std::set<U32> hashes;
   for (U32 n = 0; n < 128; ++n) {
      hashes.insert(keys.hash(AddressBits<128>(U128{1} << n), 128));
   }
   for (U32 length = 57; length <= 128; ++length) {
      hashes.insert(keys.hash(AddressBits<128>(), static_cast<U8>(length)));
   }
   EXPECT_GE(hashes.size(), 198u) << "200 values; two that meet among 2^32 may happen";
   EXPECT_EQ(keys.hash(host(5), 128), keys.hash(host(5), 128));
}

// Addresses in a row, as the hosts of a subnet are, and addresses with a gap: each way to cut bits out of the hash spreads
// them over 1024 places, under whatever keys.
TEST(HashKeys, spreadsHostsOfASubnet) {
   for (int draw = 0; draw < 10; ++draw) {
      const HashKeys keys = HashKeys::draw(draw % 2 == 0 ? HashKeys::systemRandom : noRandom);
      for (const U32 gap : {0u, 8u, 32u, 48u}) {
         for (const U32 shift : {0u, 6u, 16u, 22u}) {
            std::vector<U32> places(1024);
            for (U64 i = 0; i < 10'240; ++i) {
               ++places[keys.hash(host(i << gap), 128) >> shift & 1023];
            }
            EXPECT_LT(*std::max_element(places.begin(), places.end()), 50u) << "10 on the average; gap " << gap;
         }
      }
   }
}

}  // namespace HashKeysTest
