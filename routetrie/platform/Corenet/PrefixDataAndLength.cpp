#include "routetrie/platform/Corenet/PrefixDataAndLength.h"

#include <array>

#include "routetrie/platform/Corenet/BasicPrefix.h"
#include "routetrie/platform/Corvid/Assert.h"

namespace Corenet {

namespace {

template <U32 width>
Corvid::String textOf(const PrefixDataAndLength& prefix) {
   std::array<U8, width / 8> bytes{};
   if (prefix.length != 0) {
      std::memcpy(bytes.data(), prefix.data, (prefix.length + 7) / 8);
   }
   const auto bits = AddressBits<width>::load(bytes.data()).cut(prefix.length);
   return Impl::prefixText(Impl::addressText(bits), prefix.length);
}

}  // namespace

Corvid::String PrefixDataAndLength::formatIpv6() const {
   ROUTETRIE_ASSERT(length <= 128);
   return textOf<128>(*this);
}

Corvid::String PrefixDataAndLength::formatIpv4() const {
   ROUTETRIE_ASSERT(length <= 32);
   return textOf<32>(*this);
}

}  // namespace Corenet
