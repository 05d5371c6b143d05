// Tesk: allocation tracking, tracing, and text that is being read.
#pragma once

#include "platform/Tesk/AllocTrack.h"
#include "platform/Tesk/CharRange.h"
#include "platform/Tesk/Trace.h"
