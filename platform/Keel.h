// Keel: arrays of counted pointers, and dumps.
#pragma once

#include "platform/Keel/DisplayPointer.h"
#include "platform/Keel/DumpContext.h"
#include "platform/Keel/DumpList.h"
#include "platform/Keel/HeapChecker.h"
#include "platform/Keel/Module.h"
#include "platform/Keel/PtrInterfaceArray.h"
