// Corenet: address and prefix values, all of them.
#pragma once

#include "platform/Corenet/AddrWithMask.h"
#include "platform/Corenet/AddressBits.h"
#include "platform/Corenet/AddressFamily.h"
#include "platform/Corenet/BasicAddr.h"
#include "platform/Corenet/BasicPrefix.h"
#include "platform/Corenet/CompactIpPrefix.h"
#include "platform/Corenet/Ip6Prefix.h"
#include "platform/Corenet/IpAddr.h"
#include "platform/Corenet/IpGenAddr.h"
#include "platform/Corenet/IpGenPrefix.h"
#include "platform/Corenet/Module.h"
#include "platform/Corenet/Prefix.h"
#include "platform/Corenet/PrefixDataAndLength.h"
#include "platform/Corenet/PrefixDedup.h"
#include "platform/Corenet/Text.h"
