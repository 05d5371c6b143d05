#include "routetrie/digest.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "routetrie/route_set.h"
#include "routetrie/tracked_table.h"

namespace routetrie {
namespace DigestTest {

std::string hashOf(std::initializer_list<std::uint64_t> words) {
   digest_stream out({0x0706050403020100, 0x0f0e0d0c0b0a0908});
   for (const std::uint64_t word : words) {
      out.number(word);
   }
   const auto [low, high] = out.result();
   std::string text;
   for (const std::uint64_t word : {low, high}) {
      for (int byte = 0; byte < 8; ++byte) {
         text += fmt::format("{:02x}", word >> 8 * byte & 255);
      }
   }
   return text;
}
template <class T>
std::string digestOf(const T& value) {
   digest_stream out;
   digest_value(out, value);
   const auto [low, high] = out.result();
   return table_digest{high, low}.text();
}

// As OpenSSL has them: openssl mac -macopt hexkey:000102030405060708090a0b0c0d0e0f -macopt size:16 SIPHASH
TEST(DigestStream, isSipHash) {
   EXPECT_EQ("a3817f04ba25a8e66df67214c7550293", hashOf({}));
   EXPECT_EQ("3b62a9ba6258f5610f83e264f31497b4", hashOf({0x0706050403020100}));
   EXPECT_EQ("6ee2a4ca67b054bbfd3315bf85230577", hashOf({0x0706050403020100, 0x0f0e0d0c0b0a0908}));
}

enum class colour : short { red = 1 };
struct next_hop {
   address via;
   int metric;
   friend void digest_append(digest_stream& out, const next_hop& h) {
      digest_value(out, h.via);
      digest_value(out, h.metric);
   }
};

TEST(DigestValue, isWhatAValueSays) {
   EXPECT_EQ(digestOf(1), digestOf(std::int8_t{1}));
   EXPECT_EQ(digestOf(-1), digestOf(-1L));
   EXPECT_EQ(digestOf(colour::red), digestOf(1u));
   EXPECT_EQ(digestOf(0.0), digestOf(-0.0f));
   EXPECT_EQ(digestOf("text"), digestOf(std::string("text")));
   EXPECT_EQ(digestOf(prefix("10.0.0.0/8"_prefix)), digestOf("10.0.0.0/8"_prefix));
   EXPECT_EQ(digestOf(std::pair(1, 2)), digestOf(std::tuple(1, 2)));
   EXPECT_EQ(digestOf(std::vector{1, 2}), digestOf(std::array{1, 2}));
   EXPECT_EQ(digestOf(std::optional<int>()), digestOf(false));
   EXPECT_EQ(digestOf(address()), digestOf(0)) << "of no family";
   EXPECT_EQ(digestOf(next_hop{"10.0.0.1"_address, 5}), digestOf(next_hop{"10.0.0.1"_address, 5}));

   const std::set<std::string> different{digestOf(1),
                                         digestOf(2),
                                         digestOf(-1),
                                         digestOf(0.5),
                                         digestOf(std::string()),
                                         digestOf(std::string("a")),
                                         digestOf(std::string("a\0", 2)),
                                         digestOf(std::string("12345678")),
                                         digestOf(std::string("123456789")),
                                         digestOf(std::optional<int>(1)),
                                         digestOf(std::vector<std::string>{"a", "b"}),
                                         digestOf(std::vector<std::string>{"ab", ""}),
                                         digestOf(std::vector<std::string>{"", "ab"}),
                                         digestOf(std::map<int, int>{{1, 2}}),
                                         digestOf("10.0.0.0/8"_prefix),
                                         digestOf("10.0.0.0/9"_prefix),
                                         digestOf("a00::/8"_prefix),
                                         digestOf("::/8"_prefix),
                                         digestOf("10.0.0.0"_address),
                                         digestOf(address("10.0.0.0"_address)),
                                         digestOf(address("::"_address)),
                                         digestOf(next_hop{"10.0.0.1"_address, 5}),
                                         digestOf(next_hop{"10.0.0.2"_address, 5}),
                                         digestOf(next_hop{"10.0.0.1"_address, 6})};
   EXPECT_EQ(24u, different.size());
}

TEST(Digest, isThatOfTheRoutes) {
   table4<std::string> a{{"10.0.0.0/8"_prefix, "x"}, {"10.1.0.0/16"_prefix, "y"}};
   const table4<std::string> b{{"10.1.0.0/16"_prefix, "y"}, {"10.0.0.0/8"_prefix, "x"}};
   EXPECT_EQ(digest(a), digest(b)) << "in any order";
   EXPECT_NE(digest(a), digest(a, {1, 2})) << "with one key";
   a.insert_or_assign("10.0.0.0/8"_prefix, "y");
   a.insert_or_assign("10.1.0.0/16"_prefix, "x");
   EXPECT_NE(digest(a), digest(b)) << "each value at its prefix";
   EXPECT_EQ(table_digest(), digest(table4<int>()));
   const table<int> both{{"10.0.0.0/8"_prefix, 1}, {"::/0"_prefix, 2}};
   table_digest sum = digest(both.v4());
   sum += digest(both.v6());
   EXPECT_EQ(sum, digest(both));
   EXPECT_NE(digest(route_set{"10.0.0.0/8"_prefix}), digest(route_set{"10.0.0.0/9"_prefix}));
}

// Written down, as it has to be the same in other builds and on other machines.
TEST(Digest, isTheSameEverywhere) {
   const table<std::string> t{{"10.0.0.0/8"_prefix, "ten"}, {"2001:db8::/32"_prefix, "doc"}};
   EXPECT_EQ("0d002adc60cb49cfa361c4fca14d4417", digest(t).text());
   std::ostringstream out;
   out << digest(t);
   EXPECT_EQ(digest(t).text(), out.str());
   EXPECT_EQ(digest(t).text(), fmt::format("{}", digest(t)));
}

TEST(Digest, isASum) {
   const table_digest one{0, ~0ull};
   table_digest sum = one;
   sum += table_digest{0, 1};
   EXPECT_EQ((table_digest{1, 0}), sum);
   sum -= table_digest{0, 1};
   EXPECT_EQ(one, sum);
   sum -= table_digest{1, 0};
   EXPECT_EQ((table_digest{~0ull, ~0ull}), sum);
}

TEST(DigestTracker, followsItsTable) {
   tracked_table<table<std::string>, digest_tracker> t;
   EXPECT_EQ(table_digest(), t.digest());
   t.insert({"10.0.0.0/8"_prefix, "ten"});
   t.insert({"10.0.0.0/8"_prefix, "not taken"});
   const auto one = t.digest();
   t.insert_or_assign("2001:db8::/32"_prefix, "doc");
   t.insert_or_assign("2001:db8::/32"_prefix, "other");
   EXPECT_EQ(digest(t.table()), t.digest());
   t.erase("2001:db8::/32"_prefix);
   EXPECT_EQ(one, t.digest());
   t.key_is({1, 2});
   EXPECT_EQ(digest(t.table(), {1, 2}), t.digest());
   EXPECT_EQ((digest_key{1, 2}), t.key());
   t.update("::/0"_prefix, [](std::string& s) { s = "all"; });
   EXPECT_EQ(digest(t.table(), {1, 2}), t.digest());
   t.erase_covered("::/0"_prefix);
   t.erase_covered("0.0.0.0/0"_prefix);
   EXPECT_EQ(table_digest(), t.digest());
}

}  // namespace DigestTest
}  // namespace routetrie
