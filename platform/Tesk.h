// Tesk: allocation tracking, tracing, and values as text.
#pragma once

#include "platform/Tesk/AllocTrack.h"
#include "platform/Tesk/CharRange.h"
#include "platform/Tesk/Strep.h"
#include "platform/Tesk/Trace.h"
