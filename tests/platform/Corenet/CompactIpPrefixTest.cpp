#include "routetrie/platform/Corenet/CompactIpPrefix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <map>
#include <optional>
#include <type_traits>
#include <vector>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "tests/platform/Corenet/RandomValues.h"
#include "tests/property/LiveCounts.h"
#include "tests/property/Scale.h"

namespace CompactIpPrefixTest {

using namespace Corenet;
using Property::LiveCounts;
using TestSupport::RandomValues;

constexpr std::uint64_t nullCompactWord = 3;

std::uint64_t wordOf(const CompactIpPrefixImpl& value) {
   std::uint64_t word;
   std::memcpy(&word, &value, sizeof word);
   return word;
}
std::array<U8, 8> bytesOf(const CompactIpPrefix& value) { return std::bit_cast<std::array<U8, 8>>(wordOf(value)); }
std::uint64_t tagOf(const CompactIpPrefix& value) { return wordOf(value) & 3; }

CompactIpPrefix compact(std::string_view text) { return CompactIpPrefix::fromString(text); }

// --- the word ---

TEST(CompactIpPrefix, isOneWordThatIsNotPlain) {
   static_assert(sizeof(CompactIpPrefix) == 8 && alignof(CompactIpPrefix) == 8);
   static_assert(sizeof(CompactIpPrefixImpl) == 8);
   static_assert(!std::is_trivially_copyable_v<CompactIpPrefix>);
   static_assert(!std::is_trivially_destructible_v<CompactIpPrefix>);
   static_assert(std::is_base_of_v<CompactIpPrefixImpl, CompactIpPrefix>);
}

// The marker alone tells: whatever stands in the length bits and behind it, the value is the IPv4 null prefix.
TEST(CompactIpPrefix, theMarkerMakesTheIpv4NullPrefix) {
   for (const U64 length : {0u, 8u, 32u, 63u}) {
      for (const U64 behind : {U64{0}, U64{0x0a}, ~U64{0}}) {
         const U64 word = 2 | length << 2 | 1u << 8 | behind << 16;
         CompactIpPrefix value;
         std::memcpy(static_cast<void*>(&value), &word, sizeof word);
         EXPECT_EQ(Prefix::nullPrefix(), value.ipv4()) << std::hex << word;
         EXPECT_EQ(Ip6Prefix::nullPrefix(), value.ipv6()) << std::hex << word;
         EXPECT_EQ(IpGenPrefix(Prefix::nullPrefix()), value.genPrefix()) << std::hex << word;
         EXPECT_EQ(length, value.len()) << std::hex << word;
      }
   }
   for (const U64 marker : {0u, 2u, 3u, 0x80u}) {
      const U64 word = 2 | 8u << 2 | marker << 8 | 10u << 16;
      CompactIpPrefix value;
      std::memcpy(static_cast<void*>(&value), &word, sizeof word);
      EXPECT_EQ("10.0.0.0/8", value.ipv4().stringValue()) << "only 1 is the marker";
   }
}

TEST(CompactIpPrefix, bytesOfTheWord) {
   using Bytes = std::array<U8, 8>;
   EXPECT_EQ((Bytes{3}), bytesOf(CompactIpPrefix()));
   EXPECT_EQ((Bytes{2}), bytesOf(Prefix()));
   EXPECT_EQ((Bytes{1}), bytesOf(Ip6Prefix()));
   EXPECT_EQ((Bytes{8 << 2 | 2, 0, 10}), bytesOf(compact("10.0.0.0/8")));
   EXPECT_EQ((Bytes{32 << 2 | 2, 0, 10, 1, 2, 3}), bytesOf(compact("10.1.2.3/32")));
   EXPECT_EQ((Bytes{9 << 2 | 2, 0, 10, 128}), bytesOf(compact("10.128.0.0/9")));
   EXPECT_EQ((Bytes{32 << 2 | 1, 0x20, 0x01, 0x0d, 0xb8}), bytesOf(compact("2001:db8::/32")));
   EXPECT_EQ((Bytes{56 << 2 | 1, 0x20, 0x01, 0x0d, 0xb8, 1, 2, 3}), bytesOf(compact("2001:db8:102:300::/56")));
   EXPECT_EQ(2u, tagOf(Prefix::nullPrefix()));
   EXPECT_EQ(1, bytesOf(Prefix::nullPrefix())[1]) << "the marker of the IPv4 null prefix";
   EXPECT_EQ(0u, tagOf(Ip6Prefix::nullPrefix()));
   EXPECT_EQ(0u, tagOf(compact("2001:db8:102:300::/57")));
}

// One prefix has one word, wherever it comes from; the word's tag and unused bytes are as told.
template <class P>
void expectOneWordFor(const P& prefix) {
   const std::uint64_t word = wordOf(CompactIpPrefix(prefix));
   const CompactIpPrefix first(prefix);
   const CompactIpPrefix second(P(prefix.address(), prefix.len()));
   const CompactIpPrefix fromGen((IpGenPrefix(prefix)));
   const CompactIpPrefix fromText = CompactIpPrefix::fromString(prefix.stringValue());
   CompactIpPrefixImpl set;
   set.genPrefixIs(prefix);
   CompactIpPrefix overwritten = compact("2001:db8:1:2:3::/80");
   overwritten = CompactIpPrefix(prefix);
   CompactIpPrefix decoded(fromGen.genPrefix());
   for (const CompactIpPrefixImpl* value :
        {&second, &fromGen, &fromText, &std::as_const(overwritten), &std::as_const(decoded)}) {
      ASSERT_EQ(wordOf(first), wordOf(*value)) << prefix;
      ASSERT_TRUE(first == *value) << prefix;
   }
   ASSERT_EQ(wordOf(first), wordOf(set)) << prefix;
   ASSERT_EQ(IpGenPrefix(prefix), first.genPrefix()) << prefix;
   ASSERT_EQ(prefix.isNullPrefix() && P::family == Corenet::ipv4 ? 0 : prefix.len(), first.len()) << prefix;
   ASSERT_EQ(P::family, first.af()) << prefix;
   ASSERT_EQ(prefix.bits(), first.template bits<P::width>()) << prefix;
   ASSERT_EQ(prefix.stringValue(), first.stringValue());
   if (tagOf(first) != 0) {
      ASSERT_EQ(word, wordOf(first)) << "a word without a record depends on the prefix alone: " << prefix;
      const std::size_t used = (P::family == Corenet::ipv4 ? 2u : 1u) + (first.len() + 7u) / 8;
      const auto bytes = bytesOf(first);
      if (!prefix.isNullPrefix()) {
         ASSERT_TRUE(std::all_of(bytes.begin() + used, bytes.end(), [](U8 b) { return b == 0; })) << prefix;
      }
   }
}

TEST(CompactIpPrefix, everyIpv4LengthHasOneWord) {
   for (U32 length = 0; length <= 32; ++length) {
      for (const U32 address : {0u, 0xffffffffu, 0xaaaaaaaau, 0x0a010203u}) {
         const auto prefix = Prefix::cut(AddressBits<32>(address), length);
         expectOneWordFor(prefix);
         EXPECT_EQ(2u, tagOf(prefix));
      }
   }
   expectOneWordFor(Prefix::nullPrefix());
}

TEST(CompactIpPrefix, everyIpv6LengthHasOneWord) {
   const LiveCounts before;
   for (U32 length = 0; length <= 128; ++length) {
      for (const char* address : {"::", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "2001:db8:1:2:3:4:5:6"}) {
         const auto prefix = Ip6Prefix::cut(Ip6Addr::fromString(address).bits(), length);
         expectOneWordFor(prefix);
         EXPECT_EQ(length > 56 ? 0u : 1u, tagOf(prefix)) << prefix;
      }
   }
   expectOneWordFor(Ip6Prefix::nullPrefix());
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefix, wordsAreEqualExactlyIfPrefixesAre) {
   const LiveCounts before;
   RandomValues random(Property::seed());
   {
      std::map<IpGenPrefix, std::uint64_t> words;
      std::map<std::uint64_t, IpGenPrefix> prefixes;
      std::vector<CompactIpPrefix> held;
      for (int round = 0; round < Property::sized(3000, 12'000, 300'000); ++round) {
         const auto prefix = random.genPrefix();
         const auto& value = held.emplace_back(prefix);
         const auto [word, isNew] = words.try_emplace(prefix, wordOf(value));
         ASSERT_EQ(word->second, wordOf(value)) << prefix;
         ASSERT_EQ(isNew, prefixes.try_emplace(wordOf(value), prefix).second) << prefix;
         ASSERT_EQ(prefix, value.genPrefix());
      }
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefix, neighboursHaveOtherWords) {
   for (U32 length = 0; length < 128; ++length) {
      const auto bits = Ip6Addr::fromString("2001:db8:1:2:3:4:5:6").bits();
      const CompactIpPrefix shorter(Ip6Prefix::cut(AddressBits<128>(bits.cut(length)), length));
      const CompactIpPrefix longer(Ip6Prefix::cut(AddressBits<128>(bits.cut(length)), length + 1));
      const CompactIpPrefix sibling(
         Ip6Prefix::cut(AddressBits<128>(bits.cut(length).word() | Corenet::U128{1} << (127 - length)), length + 1));
      ASSERT_FALSE(shorter == longer) << length;
      ASSERT_FALSE(longer == sibling) << length;
      ASSERT_FALSE(shorter == sibling) << length;
      ASSERT_NE(wordOf(shorter), wordOf(longer));
   }
}

// --- decoding, row by row ---

TEST(CompactIpPrefix, nullCompactValueDecodesAsTheZeroLengthPrefix) {
   const CompactIpPrefix null;
   EXPECT_EQ(nullCompactWord, wordOf(null));
   EXPECT_TRUE(null.isNull());
   EXPECT_EQ(AddressFamily::none, null.af());
   EXPECT_EQ(0, null.len());
   EXPECT_EQ(Prefix::fromString("0.0.0.0/0"), null.ipv4());
   EXPECT_EQ(Ip6Prefix::fromString("::/0"), null.ipv6());
   EXPECT_NE(Prefix::nullPrefix(), null.ipv4());
   EXPECT_NE(Ip6Prefix::nullPrefix(), null.ipv6());
   EXPECT_EQ(IpGenPrefix(), null.genPrefix());
   EXPECT_EQ(AddressFamily::none, null.genPrefix().af());
   EXPECT_EQ(AddressBits<32>(), null.bits<32>());
   EXPECT_EQ(AddressBits<128>(), null.bits<128>());
   EXPECT_EQ("none", null.stringValue());
   EXPECT_EQ(null, compact("none"));
}

TEST(CompactIpPrefix, ipv4NullPrefix) {
   const CompactIpPrefix null(Prefix::nullPrefix());
   EXPECT_EQ(Corenet::ipv4(), null.af());
   EXPECT_EQ(Prefix::nullPrefix(), null.ipv4());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), null.ipv6());
   EXPECT_EQ(IpGenPrefix(Prefix::nullPrefix()), null.genPrefix());
   EXPECT_EQ(0, null.len()) << "it has no length bits: a search for it is one of length 0";
   EXPECT_FALSE(null.isNull());
   EXPECT_FALSE(null == CompactIpPrefix(Prefix()));
   EXPECT_FALSE(null == CompactIpPrefix());
   EXPECT_EQ("0.0.0.0/255", null.stringValue());
}

TEST(CompactIpPrefix, ipv4NullPrefixesOfAnyAddressAreOne) {
   EXPECT_EQ(CompactIpPrefix(Prefix::nullPrefix()), CompactIpPrefix(Prefix(IpAddr(0x0a000001), 255)));
   EXPECT_EQ(Prefix::nullPrefix(), CompactIpPrefix(Prefix(IpAddr(0x0a000001), 255)).ipv4());
}

TEST(CompactIpPrefix, ipv4Prefix) {
   const auto value = compact("10.1.0.0/16");
   EXPECT_EQ(Prefix::fromString("10.1.0.0/16"), value.ipv4());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), value.ipv6());
   EXPECT_EQ(255, value.ipv6().len());
   EXPECT_EQ(16, value.len());
   EXPECT_EQ(AddressBits<128>(), value.bits<128>());
}

TEST(CompactIpPrefix, ipv4DefaultRouteStoresNoAddress) {
   const CompactIpPrefix value{Prefix()};
   EXPECT_EQ(2u, wordOf(value));
   EXPECT_FALSE(value == CompactIpPrefix());
   EXPECT_EQ(Corenet::ipv4(), value.genPrefix().af());
   EXPECT_EQ(0, value.len());
   EXPECT_EQ(Prefix(), value.ipv4());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), value.ipv6());
}

TEST(CompactIpPrefix, ipv6DefaultRouteStoresNoAddress) {
   const CompactIpPrefix value{Ip6Prefix()};
   EXPECT_EQ(1u, wordOf(value));
   EXPECT_EQ(Corenet::ipv6(), value.genPrefix().af());
   EXPECT_EQ(0, value.len());
   EXPECT_EQ(Ip6Prefix(), value.ipv6());
   EXPECT_EQ(Prefix::nullPrefix(), value.ipv4());
}

TEST(CompactIpPrefix, shortIpv6Prefix) {
   const auto value = compact("2001:db8::/32");
   EXPECT_EQ(Ip6Prefix::fromString("2001:db8::/32"), value.ipv6());
   EXPECT_EQ(Prefix::nullPrefix(), value.ipv4());
   EXPECT_EQ(255, value.ipv4().len());
   EXPECT_EQ(32, value.len());
   EXPECT_EQ(AddressBits<32>(), value.bits<32>());
}

TEST(CompactIpPrefix, longIpv6Prefix) {
   const auto value = compact("2001:db8:1:2::/64");
   EXPECT_EQ(0u, tagOf(value));
   EXPECT_EQ(Ip6Prefix::fromString("2001:db8:1:2::/64"), value.ipv6());
   EXPECT_EQ(Ip6Prefix::fromString("2001:db8:1:2::/64"), value.ipv6DedupedPrefix());
   EXPECT_EQ(64, value.ipv6DedupedLength());
   EXPECT_EQ(64, value.len());
   EXPECT_EQ(Corenet::ipv6(), value.af());
   EXPECT_EQ(Prefix::nullPrefix(), value.ipv4());
   EXPECT_EQ(AddressBits<32>(), value.bits<32>());
}

TEST(CompactIpPrefix, ipv6NullPrefix) {
   const CompactIpPrefix null(Ip6Prefix::nullPrefix());
   EXPECT_EQ(0u, tagOf(null));
   EXPECT_EQ(255, null.len());
   EXPECT_EQ(255, null.ipv6DedupedLength());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), null.ipv6());
   EXPECT_EQ(Ip6Prefix::nullPrefix(), null.ipv6DedupedPrefix());
   EXPECT_EQ(Prefix::nullPrefix(), null.ipv4());
   EXPECT_EQ("::/255", null.stringValue());
}

// The encoder gives a short prefix no record; a value that has one all the same is read like any other.
TEST(CompactIpPrefix, recordOfAShortPrefixIsRead) {
   struct WithRecord : CompactIpPrefix {
      explicit WithRecord(const Ip6Prefix& prefix) {
         word_ = std::bit_cast<std::uint64_t>(PrefixDedup::acquire(prefix.bits(), prefix.len()));
      }
   };
   const LiveCounts before;
   for (U32 length = 0; length <= 56; ++length) {
      const auto prefix = Ip6Prefix::cut(Ip6Addr::fromString("2001:db8:1:203::").bits(), length);
      const WithRecord value(prefix);
      ASSERT_EQ(0u, tagOf(value));
      ASSERT_EQ(length, value.len());
      ASSERT_EQ(prefix, value.ipv6());
      ASSERT_EQ(IpGenPrefix(prefix), value.genPrefix());
      ASSERT_EQ(Prefix::nullPrefix(), value.ipv4());
      ASSERT_EQ(prefix.bits(), value.bits<128>());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefix, nullOfAFamily) {
   EXPECT_EQ(Prefix::nullPrefix(), CompactIpPrefix::getNull(Corenet::ipv4).ipv4());
   EXPECT_EQ(CompactIpPrefix(Prefix::nullPrefix()), CompactIpPrefix::getNull(Corenet::ipv4()));
   EXPECT_EQ(Ip6Prefix::nullPrefix(), CompactIpPrefix::getNull(Corenet::ipv6).ipv6());
   EXPECT_EQ(255, CompactIpPrefix::getNull(Corenet::ipv6()).len());
   EXPECT_EQ(CompactIpPrefix(), CompactIpPrefix::getNull(AddressFamily::none));
}

TEST(CompactIpPrefix, whatIpv6GivesIsAlwaysValid) {
   RandomValues random(Property::seed());
   for (int round = 0; round < 5000; ++round) {
      const CompactIpPrefix value(random.genPrefix());
      ASSERT_TRUE(value.ipv6().validAsPrefix()) << value;
      ASSERT_TRUE(value.ipv4().validAsPrefix()) << value;
   }
}

// --- setting ---

TEST(CompactIpPrefix, setters) {
   CompactIpPrefix value = compact("2001:db8:1:2::/64");
   value.ipv4Is(Prefix::fromString("10.0.0.0/8"));
   EXPECT_EQ(compact("10.0.0.0/8"), value);
   value.ipv6Is(Ip6Prefix::fromString("2001:db8:1:2::/64"));
   EXPECT_EQ(compact("2001:db8:1:2::/64"), value);
   value.ipv6Is(value.ipv6());
   EXPECT_EQ(compact("2001:db8:1:2::/64"), value);
   value.genPrefixIs(IpGenPrefix());
   EXPECT_EQ(nullCompactWord, wordOf(value));
   value.genPrefixIs(IpGenPrefix::fromString("2001:db8::/32"));
   EXPECT_EQ(compact("2001:db8::/32"), value);
   value.ipv4Is(Prefix::nullPrefix());
   EXPECT_EQ(CompactIpPrefix::getNull(Corenet::ipv4), value);
   value.genPrefixIs(Prefix());
   EXPECT_EQ(2u, wordOf(value));
}

TEST(CompactIpPrefix, aValueWithoutFamilyIsNullWhateverElseItHolds) {
   std::array<U8, sizeof(IpGenPrefix)> bytes{10, 0, 0, 0};
   bytes[16] = 8;
   CompactIpPrefix value = compact("10.0.0.0/8");
   value.genPrefixIs(std::bit_cast<IpGenPrefix>(bytes));
   EXPECT_EQ(nullCompactWord, wordOf(value));
}

// --- ownership of the shared record ---

TEST(CompactIpPrefixOwnership, aCopyGoneLeavesTheFirstReadable) {
   const LiveCounts before;
   {
      const auto first = compact("2001:db8:1:2::/64");
      {
         const CompactIpPrefix copy(first);
         EXPECT_EQ(wordOf(first), wordOf(copy));
      }
      EXPECT_EQ("2001:db8:1:2::/64", first.stringValue());
      EXPECT_EQ(1u, PrefixDedup::liveRecords());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefixOwnership, theFirstGoneLeavesTheCopyReadable) {
   const LiveCounts before;
   {
      std::optional<CompactIpPrefix> first = compact("2001:db8:1:2::/64");
      const CompactIpPrefix copy(*first);
      const CompactIpPrefix fromBase(static_cast<const CompactIpPrefixImpl&>(*first));
      first.reset();
      EXPECT_EQ("2001:db8:1:2::/64", copy.stringValue());
      EXPECT_EQ("2001:db8:1:2::/64", fromBase.stringValue());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefixOwnership, assignmentGivesTheOldRecordUp) {
   const LiveCounts before;
   {
      CompactIpPrefix value = compact("2001:db8:1:2::/64");
      const CompactIpPrefix other = compact("2001:db8:1:3::/64");
      EXPECT_EQ(2u, PrefixDedup::liveRecords());
      value = other;
      EXPECT_EQ(1u, PrefixDedup::liveRecords());
      value = *&value;
      EXPECT_EQ("2001:db8:1:3::/64", value.stringValue());
      value = CompactIpPrefix(Prefix());
      EXPECT_EQ(1u, PrefixDedup::liveRecords());
      EXPECT_EQ("2001:db8:1:3::/64", other.stringValue());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefixOwnership, moveTakesTheRecordAlong) {
   const LiveCounts before;
   {
      CompactIpPrefix from = compact("2001:db8:1:2::/64");
      CompactIpPrefix to(std::move(from));
      EXPECT_TRUE(from.isNull());
      EXPECT_EQ("2001:db8:1:2::/64", to.stringValue());
      CompactIpPrefix last = compact("2001:db8:1:3::/64");
      last = std::move(to);
      EXPECT_TRUE(to.isNull());
      EXPECT_EQ("2001:db8:1:2::/64", last.stringValue());
      EXPECT_EQ(1u, PrefixDedup::liveRecords());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefixOwnership, wordsMayBeSwappedByteByByte) {
   const LiveCounts before;
   {
      CompactIpPrefix a = compact("2001:db8:1:2::/64");
      CompactIpPrefix b = compact("10.0.0.0/8");
      a.swap(b);
      EXPECT_EQ("10.0.0.0/8", a.stringValue());
      EXPECT_EQ("2001:db8:1:2::/64", b.stringValue());
      auto* bytesA = reinterpret_cast<unsigned char*>(&a);
      std::swap_ranges(bytesA, bytesA + sizeof a, reinterpret_cast<unsigned char*>(&b));
      EXPECT_EQ("2001:db8:1:2::/64", a.stringValue());
      EXPECT_EQ("10.0.0.0/8", b.stringValue());
   }
   EXPECT_EQ("", before.changes());
}

TEST(CompactIpPrefixOwnership, aPrefixCanBeBuiltAgainAfterItsRecordWent) {
   const LiveCounts before;
   for (int round = 0; round < 3; ++round) {
      const auto a = compact("2001:db8:1:2::/64");
      const CompactIpPrefix b(Ip6Prefix::fromString("2001:0db8:0001:0002::/64"));
      ASSERT_EQ(wordOf(a), wordOf(b));
      ASSERT_EQ(1u, PrefixDedup::liveRecords());
   }
   EXPECT_EQ("", before.changes());
}

// Copies, assignments, moves and swaps at random, with the counts watched: they end where they began.
TEST(CompactIpPrefixOwnership, randomHandling) {
   const LiveCounts before;
   RandomValues random(Property::seed());
   {
      std::vector<IpGenPrefix> model(20);
      std::vector<CompactIpPrefix> values(20);
      for (int step = 0; step < Property::sized(5000, 20'000, 500'000); ++step) {
         const auto i = random.below(20);
         const auto j = random.below(20);
         switch (random.below(6)) {
            case 0:
               values[i] = values[j];
               model[i] = model[j];
               break;
            case 1:
               values[i] = CompactIpPrefix(values[j]);
               model[i] = model[j];
               break;
            case 2:
               if (i != j) {
                  values[i] = std::move(values[j]);
                  model[i] = std::exchange(model[j], IpGenPrefix());
               }
               break;
            case 3:
               values[i].swap(values[j]);
               std::swap(model[i], model[j]);
               break;
            default: model[i] = random.genPrefix(); values[i].genPrefixIs(model[i]);
         }
         ASSERT_EQ(model[i], values[i].genPrefix()) << step;
         ASSERT_EQ(model[j], values[j].genPrefix()) << step;
      }
   }
   EXPECT_EQ("", before.changes());
}

#ifdef ROUTETRIE_FAULT_INJECTION
TEST(CompactIpPrefixOwnership, withoutMemoryTheValueIsUnchanged) {
   const LiveCounts before;
   {
      CompactIpPrefix value = compact("2001:db8:1:2::/64");
      const auto prefix = Ip6Prefix::fromString("2001:db8:1:3::/64");
      CoreSlab::failAt(1);
      EXPECT_THROW(value.ipv6Is(prefix), std::bad_alloc);
      CoreSlab::failAt(1);
      EXPECT_THROW(value.genPrefixIs(prefix), std::bad_alloc);
      CoreSlab::failAt(1);
      EXPECT_THROW(CompactIpPrefix{prefix}, std::bad_alloc);
      CoreSlab::failAt(1);
      EXPECT_NO_THROW(CompactIpPrefix(value).ipv6Is(value.ipv6())) << "the record is there already";
      CoreSlab::failAt(0);
      EXPECT_EQ("2001:db8:1:2::/64", value.stringValue());
      EXPECT_EQ(1u, PrefixDedup::liveRecords());
   }
   EXPECT_EQ("", before.changes());
}
#endif

}  // namespace CompactIpPrefixTest
