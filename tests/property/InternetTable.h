// InternetTable: the routes of a whole Internet table, from the file that the build names, one prefix a line, plain or
// compressed; or, where the file is not there, made up with as many routes of each length as such a table has.
// Tested by tests/property/InternetTableTest.cpp.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>

#include "tests/property/SlowTable.h"

namespace Property {

// How many routes there are of a length.
struct LengthCount {
   U32 length;
   U32 routes;
};

// As counted in a table of November 2025.
inline constexpr LengthCount ipv4Lengths[] = {{8, 16},     {9, 13},      {10, 38},    {11, 103},   {12, 299},
                                              {13, 581},   {14, 1203},   {15, 2100},  {16, 13490}, {17, 8235},
                                              {18, 13798}, {19, 24870},  {20, 42611}, {21, 50750}, {22, 108623},
                                              {23, 96510}, {24, 537698}, {25, 20},    {26, 3},     {27, 11},
                                              {28, 18},    {29, 17},     {30, 3},     {31, 3},     {32, 886}};
inline constexpr LengthCount ipv6Lengths[] = {
   {16, 1},    {19, 1},    {20, 16},    {21, 3},    {22, 7},    {23, 8},    {24, 30},    {25, 8},
   {26, 15},   {27, 20},   {28, 193},   {29, 4371}, {30, 650},  {31, 284},  {32, 22548}, {33, 2926},
   {34, 2603}, {35, 1043}, {36, 5996},  {37, 880},  {38, 1617}, {39, 1377}, {40, 13418}, {41, 903},
   {42, 2301}, {43, 1001}, {44, 14365}, {45, 1553}, {46, 3039}, {47, 3153}, {48, 75488}, {49, 11},
   {50, 3},    {52, 1},    {55, 1},     {56, 24},   {58, 20},   {60, 2},    {64, 184},   {112, 2},
   {122, 1},   {124, 4},   {125, 9},    {126, 19},  {127, 42},  {128, 6}};

// A made-up table: of each length a share of one in `scale` (but at least one route), most of them beneath other routes.
inline PrefixList syntheticTable(Corenet::AddressFamily family, U32 scale, std::uint64_t seed) {
   std::mt19937_64 random(seed);
   std::unordered_set<IpGenPrefix> known;
   PrefixList routes;
   const auto add = [&](const LengthCount& count) {
      const U32 wanted = std::max(1U, count.routes / scale);
      for (U32 made = 0; made < wanted;) {
         std::array<U8, 16> bytes{};
         for (U8& byte : bytes) {
            byte = static_cast<U8>(random());
         }
         // Beneath a shorter route three times out of four.
         if (!routes.empty() && random() % 4 != 0) {
            const IpGenPrefix above = routes[random() % routes.size()];
            for (U32 n = 0; n < above.len(); ++n) {
               const U32 mask = 0x80U >> n % 8;
               bytes[n / 8] = static_cast<U8>(bitOf(above, n) ? bytes[n / 8] | mask : bytes[n / 8] & ~mask);
            }
         }
         const IpGenPrefix p = prefixOf(family, bytes, count.length);
         if (known.insert(p).second) {
            routes.push_back(p);
            ++made;
         }
      }
   };
   if (family == Corenet::ipv4) {
      std::for_each(std::begin(ipv4Lengths), std::end(ipv4Lengths), add);
   } else {
      std::for_each(std::begin(ipv6Lengths), std::end(ipv6Lengths), add);
   }
   return routes;
}

// The routes of that family in the file. Raises std::runtime_error if it can't be read, and what a bad line of the family raises.
inline PrefixList tableFromFile(const std::string& path, Corenet::AddressFamily family) {
   const std::unique_ptr<gzFile_s, decltype(&gzclose)> file(gzopen(path.c_str(), "rb"), &gzclose);
   if (file == nullptr) {
      throw std::runtime_error("can't read " + path);
   }
   PrefixList routes;
   char line[256];
   while (gzgets(file.get(), line, sizeof line) != nullptr) {
      const std::string_view text(line);
      if ((text.find(':') != text.npos) != (family == Corenet::ipv6)) {
         continue;
      }
      const auto p = IpGenPrefix::fromString(text.substr(0, text.find_first_of(" \t\r\n")));
      if (p.af() == family) {
         routes.push_back(p);
      }
   }
   return routes;
}

inline PrefixList internetTable(const std::string& path, Corenet::AddressFamily family) {
   return std::filesystem::exists(path) ? tableFromFile(path, family) : syntheticTable(family, 1, 1);
}

}  // namespace Property
