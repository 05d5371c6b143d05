// BriskTrace: how long hot calls take.
#pragma once

#include "platform/BriskTrace/BriskTrace.h"
#include "platform/BriskTrace/TraceFile.h"
#include "platform/BriskTrace/TraceHandle.h"
