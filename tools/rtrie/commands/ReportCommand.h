// ReportCommand: `rtrie report`: what a table holds, as a page of HTML.
//
// Tested by tests/tools/rtrie/report/ReportCommandTest.cpp.
#pragma once

#include "tools/rtrie/Command.h"

namespace Rtrie {

Run addReport(CLI::App& app);

}  // namespace Rtrie
