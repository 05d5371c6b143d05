// BriskTrace: how long hot calls take.
#pragma once

#include "routetrie/platform/BriskTrace/BriskTrace.h"
#include "routetrie/platform/BriskTrace/TraceFile.h"
#include "routetrie/platform/BriskTrace/TraceHandle.h"
