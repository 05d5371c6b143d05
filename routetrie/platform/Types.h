// Types: the unsigned integers of fixed width that the interfaces of the engines are written in. Values and the table do without.
#pragma once

#include <cstdint>

#include "routetrie/platform/Language.h"

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
