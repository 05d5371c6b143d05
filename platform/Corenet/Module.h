// The record of the address and prefix values, for the modules whose fields are of these types.
#pragma once

#include "platform/Corenet/AddressFamily.h"
#include "platform/Corenet/CompactIpPrefix.h"
#include "platform/Corenet/Ip6Prefix.h"
#include "platform/Corenet/IpGenPrefix.h"
#include "platform/Corenet/Prefix.h"
#include "platform/Corenet/PrefixDataAndLength.h"
#include "platform/Corvid/ModulePlace.h"

ROUTETRIE_MODULE(_Corenet_2f6c1f5a0d7be943_teskModule, Corenet::AddressFamily, Corenet::V4V6, Corenet::Prefix,
                 Corenet::Ip6Prefix, Corenet::IpGenPrefix, Corenet::CompactIpPrefix, Corenet::PrefixDataAndLength)
