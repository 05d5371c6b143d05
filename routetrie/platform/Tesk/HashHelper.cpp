#include "routetrie/platform/Tesk/HashHelper.h"

#include <sys/random.h>

#include "routetrie/platform/Corenet/BasicAddr.h"

namespace Tesk {

U32 HashHelper::hashSeed32() noexcept {
   static const U32 seed = [] {
      U32 value = 0;
      if (getrandom(&value, sizeof value, GRND_NONBLOCK) != sizeof value) {
         value = 0x9e3779b9;  // too early in the machine's life for a random one
      }
      return value;
   }();
   return seed;
}

U32 hashSingleAttr(U32 seed, U32 attr) noexcept {
   return static_cast<U32>(Corenet::Impl::hashMix(Corenet::Impl::hashMix(seed, attr), attr) >> 16);
}

}  // namespace Tesk
