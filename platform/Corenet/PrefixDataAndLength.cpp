#include "platform/Corenet/PrefixDataAndLength.h"

#include <array>

#include "platform/Corenet/BasicPrefix.h"
#include "platform/Corvid/Assert.h"

namespace Corenet {

Corvid::String PrefixDataAndLength::formatIpv6() const {
   ROUTETRIE_ASSERT(length <= 128);
   std::array<U8, 16> bytes{};
   if (length != 0) {
      std::memcpy(bytes.data(), data, (length + 7) / 8);
   }
   return Impl::prefixText(Impl::addressText(AddressBits<128>::load(bytes.data()).cut(length)), length);
}

}  // namespace Corenet
