// Tesk: allocation tracking.
#pragma once

#include "platform/Tesk/AllocTrack.h"
