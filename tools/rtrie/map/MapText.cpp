// What a map says in words, with cairo or without.
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "tools/rtrie/map/MapPicture.h"
#include "tools/tables/AddressNumber.h"
#include "tools/tables/Numbers.h"

namespace Rtrie {

std::vector<NamedBlock> blocksOf(const SpaceMap& map, unsigned levels) {
   const HilbertCurve curve(map.order);
   const auto length = static_cast<U8>(map.block.len() + 2 * levels);
   std::vector<NamedBlock> blocks;
   const auto fill = [&]<class Number>(Number first) {
      for (U32 number = 0; number < U32{1} << (2 * levels); ++number) {
         // Of a block of level 0, a number would be moved out of the word.
         const auto within =
            levels == 0 ? Number{0} : static_cast<Number>(Number{number} << (widthBits<Number> - length));
         blocks.push_back({curve.block(2 * levels, number), prefixOf(static_cast<Number>(first | within), length)});
      }
   };
   if (map.block.af() == Corenet::AddressFamily::ipv6) {
      fill(map.block.bits<128>().word());
   } else {
      fill(map.block.bits<32>().word());
   }
   return blocks;
}

std::vector<NamedBlock> namedBlocks(const SpaceMap& map, unsigned levels) {
   const auto blocks = blocksOf(map, levels);
   const std::size_t cells = map.cells.size() / blocks.size();
   std::vector<NamedBlock> named;
   for (std::size_t i = 0; i < blocks.size(); ++i) {
      const auto begin = map.cells.begin() + static_cast<std::ptrdiff_t>(i * cells);
      if (std::any_of(begin, begin + static_cast<std::ptrdiff_t>(cells), [](U8 each) { return each != 0; })) {
         named.push_back(blocks[i]);
      }
   }
   return named.empty() || 2 * named.size() > blocks.size() ? blocks : named;
}

std::string scaleText(const SpaceMap& map) {
   const unsigned curveBits = 2 * map.order;
   if (curveBits <= map.blockBits()) {
      return fmt::format("a pixel is a /{}", map.block.len() + curveBits);
   }
   const std::uint64_t pixels = std::uint64_t{1} << (curveBits - map.blockBits());
   return fmt::format("an address is {} pixels", grouped(pixels));
}

std::string blockLabel(const Corenet::IpGenPrefix& prefix) {
   std::string text(prefix.stringValue());
   if (prefix.af() != Corenet::AddressFamily::ipv4) {
      return text;
   }
   const unsigned octets = prefix.len() == 0 ? 1 : (prefix.len() + 7U) / 8;
   std::size_t end = 0;
   for (unsigned i = 0; i < octets; ++i) {
      end = text.find_first_of("./", end + (i == 0 ? 0 : 1));
   }
   return text.substr(0, end) + text.substr(text.find('/'));
}

}  // namespace Rtrie
