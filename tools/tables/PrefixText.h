// PrefixText: the text of a query or of a table's first column. A prefix of either family, or a bare address,
// which stands for itself: /32 or /128.
//
// Tested by tests/tools/tables/PrefixTextTest.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "routetrie/platform/Corenet.h"
#include "routetrie/platform/Types.h"

namespace Rtrie {

// Raises BadText, whose text quotes the bad one: prefix length 33 exceeds 32: "10.0.0.0/33"
Corenet::IpGenPrefix prefixOfText(std::string_view text);

// What to do with bits past the length of a prefix: 10.1.2.3/8.
enum class HostBits : U8 { refuse, mask };

// The same, but such bits are cleared, and counted.
Corenet::IpGenPrefix maskedPrefixOfText(std::string_view text, std::uint64_t& masked);

// Whether prefixOfText would succeed.
bool isPrefixText(std::string_view text);

// Whether it is an address without a length.
bool isAddressText(std::string_view text);

// The length of a netmask, such as 255.255.0.0; nullopt if it is none.
std::optional<U8> netmaskLength(std::string_view text);

// The IPv4 prefix of an address and a netmask's length. Raises BadText.
Corenet::IpGenPrefix prefixOfMask(std::string_view address, U8 lengthBits);

// "IPv4" or "IPv6".
std::string_view familyName(Corenet::AddressFamily af);

}  // namespace Rtrie
