// Ip6Prefix: an IPv6 prefix, 17 bytes. Length 255 is the null prefix.
// Tested by tests/platform/Corenet/PrefixTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/BasicPrefix.h"
#include "routetrie/platform/Corenet/IpAddr.h"

namespace Corenet {

class Ip6Prefix : public BasicPrefix<Ip6Prefix, Ip6Addr> {
  public:
   using BasicPrefix::BasicPrefix;
};

static_assert(sizeof(Ip6Prefix) == 17);

}  // namespace Corenet
