// Keel: arrays of counted pointers, and dumps.
#pragma once

#include "routetrie/platform/Keel/DisplayPointer.h"
#include "routetrie/platform/Keel/DumpContext.h"
#include "routetrie/platform/Keel/DumpList.h"
#include "routetrie/platform/Keel/HeapChecker.h"
#include "routetrie/platform/Keel/Module.h"
#include "routetrie/platform/Keel/PtrInterfaceArray.h"
