#include "routetrie/platform/Corenet/HashKeys.h"

#include <sys/random.h>

#include <bit>
#include <chrono>

#include "routetrie/platform/Corenet/BasicAddr.h"

namespace Corenet {

HashKeys HashKeys::draw(RandomSource source) noexcept {
   Words words{};
   if (!source(words.data(), sizeof words)) {
      // Weaker: a few dozen bits that nobody outside sees. The address of a local, of the library, and two clocks.
      U64 mixed = 0;
      for (const U64 word : {std::bit_cast<U64>(&words), std::bit_cast<U64>(&HashKeys::draw),
                             static_cast<U64>(std::chrono::system_clock::now().time_since_epoch().count()),
                             static_cast<U64>(std::chrono::steady_clock::now().time_since_epoch().count())}) {
         mixed = Impl::hashMix(mixed, word);
      }
      for (U64& word : words) {
         mixed = Impl::hashMix(mixed, 0x9e3779b97f4a7c15);
         word = mixed;
      }
   }
   return HashKeys(words);
}

bool HashKeys::systemRandom(void* memory, std::size_t bytes) noexcept {
   return getrandom(memory, bytes, GRND_NONBLOCK) == static_cast<ssize_t>(bytes);
}

}  // namespace Corenet
