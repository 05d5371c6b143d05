// The record of the address and prefix values, for the modules whose fields are of these types.
#pragma once

#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Corvid/ModulePlace.h"

ROUTETRIE_MODULE(_Corenet_2f6c1f5a0d7be943_teskModule, Corenet::AddressFamily, Corenet::V4V6, Corenet::Prefix,
                 Corenet::Ip6Prefix, Corenet::IpGenPrefix, Corenet::CompactIpPrefix, Corenet::PrefixDataAndLength)
