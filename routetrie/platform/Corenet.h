// Corenet: address and prefix values, all of them.
#pragma once

#include "routetrie/platform/Corenet/AddrWithMask.h"
#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corenet/AddressFamily.h"
#include "routetrie/platform/Corenet/AddressText.h"
#include "routetrie/platform/Corenet/BasicAddr.h"
#include "routetrie/platform/Corenet/BasicPrefix.h"
#include "routetrie/platform/Corenet/CompactIpPrefix.h"
#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Corenet/Ip6Prefix.h"
#include "routetrie/platform/Corenet/IpAddr.h"
#include "routetrie/platform/Corenet/IpGenAddr.h"
#include "routetrie/platform/Corenet/IpGenPrefix.h"
#include "routetrie/platform/Corenet/Prefix.h"
#include "routetrie/platform/Corenet/PrefixDataAndLength.h"
#include "routetrie/platform/Corenet/PrefixDedup.h"
#include "routetrie/platform/Corenet/Text.h"
