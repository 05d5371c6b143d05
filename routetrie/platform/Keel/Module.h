// The record of the dump contexts.
#pragma once

#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Keel/DumpContext.h"

ROUTETRIE_MODULE(_Keel_81d3e06a5c94b27f_teskModule, Keel::DumpContext)
