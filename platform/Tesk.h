// Tesk: allocation tracking, and text that is being read.
#pragma once

#include "platform/Tesk/AllocTrack.h"
#include "platform/Tesk/CharRange.h"
