// Corvid: objects, counted pointers, publication, assertions and text.
#pragma once

#include "platform/Corvid/Assert.h"
#include "platform/Corvid/Create.h"
#include "platform/Corvid/FieldId.h"
#include "platform/Corvid/FormatAssert.h"
#include "platform/Corvid/MemTrack.h"
#include "platform/Corvid/Node.h"
#include "platform/Corvid/Ptr.h"
#include "platform/Corvid/Publisher.h"
#include "platform/Corvid/RQueue.h"
#include "platform/Corvid/RangeException.h"
#include "platform/Corvid/String.h"
#include "platform/Corvid/ThreadControl.h"
#include "platform/Corvid/Util.h"
