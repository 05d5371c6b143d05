// Integers: the unsigned integers that addresses are computed in, under the names that the engines have for them, but within
// the namespace: who wants values alone meets no name outside it.
#pragma once

#include <cstdint>

#include "routetrie/platform/Language.h"

namespace Corenet {

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
__extension__ using U128 = unsigned __int128;

}  // namespace Corenet
