// CompletionScripts: what bash and zsh complete the command with: its commands, their options, and what those take. Written from the
// manuals, so that they know what the command knows.
//
// Tested by tests/tools/rtrie/ManualTest.cpp, and by house.completion in both shells.
#pragma once

#include <span>
#include <string>

#include "tools/rtrie/manual/Manual.h"

namespace Rtrie {

// program: of all; commands: of each, in the order of the help.
std::string bashCompletion(const Manual& program, std::span<const Manual> commands);
std::string zshCompletion(const Manual& program, std::span<const Manual> commands);

}  // namespace Rtrie
