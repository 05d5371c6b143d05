// DumpList: the two rules that every dump of the library follows, for margins and for long lists.
//
// A line stands behind `indent` blanks, none if that is 0. A list of more entries than the context's listLimit is cut, unless
// the context is null or verbose: a message with the full count stands before it and after it, and the context's `truncated`
// is set. The count is the whole list's, and is known before it begins.
//
//    Keel::dumpListBegin(context, indent, routes);
//    ... for each route: if (Keel::isListEntryShown(context, shown)) { Keel::dumpLine(...); ++shown; }
//    Keel::dumpListEnd(context, indent, routes);
//
// Tested by tests/platform/Keel/DumpContextTest.cpp.
#pragma once

#include "routetrie/platform/Keel/DumpContext.h"

namespace Keel {

// `indent` blanks and what printf would make of format and arguments.
__attribute__((format(printf, 3, 4))) ROUTETRIE_EXPORT void dumpLine(const Corvid::Ptr<const DumpContext>& context,
                                                                     U32 indent, const char* format, ...);

ROUTETRIE_EXPORT bool isListTruncated(const Corvid::Ptr<const DumpContext>& context, U32 entries) noexcept;

// If a list of `entries` will be cut, sets `truncated` and writes the message that stands before it.
ROUTETRIE_EXPORT void dumpListBegin(const Corvid::Ptr<const DumpContext>& context, U32 indent, U32 entries);
// Whether one more entry may be shown after `shown` of them.
ROUTETRIE_EXPORT bool isListEntryShown(const Corvid::Ptr<const DumpContext>& context, U32 shown) noexcept;
// If a list of `entries` was cut, writes the message that stands after it.
ROUTETRIE_EXPORT void dumpListEnd(const Corvid::Ptr<const DumpContext>& context, U32 indent, U32 entries);

}  // namespace Keel
