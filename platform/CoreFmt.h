// CoreFmt: formatting by the rules of fmt.
#pragma once

#include "platform/CoreFmt/Format.h"
