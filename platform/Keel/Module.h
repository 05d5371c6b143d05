// The record of the dump contexts.
#pragma once

#include "platform/Corvid/ModulePlace.h"
#include "platform/Keel/DumpContext.h"

ROUTETRIE_MODULE(_Keel_81d3e06a5c94b27f_teskModule, Keel::DumpContext)
