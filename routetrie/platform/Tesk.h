// Tesk: allocation tracking, tracing, hash maps, and values as text.
#pragma once

#include "routetrie/platform/Tesk/AllocTrack.h"
#include "routetrie/platform/Tesk/CharRange.h"
#include "routetrie/platform/Tesk/GenericIfImpl.h"
#include "routetrie/platform/Tesk/HashHelper.h"
#include "routetrie/platform/Tesk/HashMap2018.h"
#include "routetrie/platform/Tesk/Module.h"
#include "routetrie/platform/Tesk/Strep.h"
#include "routetrie/platform/Tesk/Trace.h"
