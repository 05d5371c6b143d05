// Keel: arrays of counted pointers.
#pragma once

#include "platform/Keel/HeapChecker.h"
#include "platform/Keel/PtrInterfaceArray.h"
