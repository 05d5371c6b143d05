// CoreFmt: formatting by the rules of fmt.
#pragma once

#include "routetrie/platform/CoreFmt/Format.h"
