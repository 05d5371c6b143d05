// SurfaceFormat: the reflected surface of types, as text for people or as one JSON value:
//
//    [{"module": .., "name": .., "kind": "class" | "abstract class" | "value", "base": .. | null,
//      "constructor": [ARGUMENT..] | null,
//      "fields": [{"id": .., "name": .., "kind": .., "type": .., "access": [..], "published": ..,
//                  "key": .. | null, "keyAttribute": .. | null, "arguments": [ARGUMENT..]}]}]
//    ARGUMENT: {"name": .., "type": ..}
//
// or a field a line, as rows: module, class, id, name, kind, type and ways of access.
//
// Tested by tests/tools/rtrie/InspectTest.cpp.
#pragma once

#include <span>

#include "routetrie/platform/Corvid/Inspect.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/Rows.h"

namespace Rtrie {

void printSurfaceText(std::span<const Corvid::Inspect::Type> types, Output& output);
void printSurface(std::span<const Corvid::Inspect::Type> types, RowForm form, Output& output);
void printSurfaceJson(std::span<const Corvid::Inspect::Type> types, Output& output);

}  // namespace Rtrie
