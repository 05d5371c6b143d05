// Tesk: allocation tracking, tracing, hash maps, and values as text.
#pragma once

#include "platform/Tesk/AllocTrack.h"
#include "platform/Tesk/CharRange.h"
#include "platform/Tesk/GenericIfImpl.h"
#include "platform/Tesk/HashHelper.h"
#include "platform/Tesk/HashMap2018.h"
#include "platform/Tesk/Module.h"
#include "platform/Tesk/Strep.h"
#include "platform/Tesk/Trace.h"
