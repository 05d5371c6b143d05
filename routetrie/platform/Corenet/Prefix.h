// Prefix: an IPv4 prefix, 5 bytes. Length 255 is the null prefix.
// Tested by tests/platform/Corenet/PrefixTest.cpp.
#pragma once

#include "routetrie/platform/Corenet/BasicPrefix.h"
#include "routetrie/platform/Corenet/IpAddr.h"

namespace Corenet {

class Prefix : public BasicPrefix<Prefix, IpAddr> {
  public:
   using BasicPrefix::BasicPrefix;
};

static_assert(sizeof(Prefix) == 5);

}  // namespace Corenet
