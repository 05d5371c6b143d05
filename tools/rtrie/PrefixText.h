// PrefixText: the text of a query or of a table's first column. A prefix of either family, or a bare address,
// which stands for itself: /32 or /128.
//
// Tested by tests/tools/rtrie/PrefixTextTest.cpp.
#pragma once

#include <string_view>

#include "routetrie/platform/Corenet.h"

namespace Rtrie {

// Raises BadText, whose text quotes the bad one: prefix length 33 exceeds 32: "10.0.0.0/33"
Corenet::IpGenPrefix prefixOfText(std::string_view text);

// Whether prefixOfText would succeed.
bool isPrefixText(std::string_view text);

// "IPv4" or "IPv6".
std::string_view familyName(Corenet::AddressFamily af);

}  // namespace Rtrie
