// The module record of Ipv6TrieRoute.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"

namespace Sprig {
class Ipv6TrieRoute;
}  // namespace Sprig

ROUTETRIE_MODULE(_Ipv6TrieRoute_a7017bad99aaa188_teskModule, Sprig::Ipv6TrieRoute)
