#include "routetrie/platform/Keel/DumpContext.h"

#include <cstdarg>
#include <cstdio>
#include <ostream>
#include <string>

#include "routetrie/platform/Keel/DumpList.h"

namespace Keel {

Tesk::AllocTrackTypeInfo* DumpContext::memAllocationTracker_ = nullptr;

DumpContext::~DumpContext() { nodeFlagSet(Corvid::nodeFlagAlive, false); }

void DumpContext::write(std::string_view text) const {
   out_->write(text.data(), static_cast<std::streamsize>(text.size()));
}

Corvid::Ptr<DumpContext> dumpContextFactory(std::ostream& out) { return Corvid::ptrIsImpl<DumpContext>(out); }

namespace {

using ContextPtr = Corvid::Ptr<const DumpContext>;

void write(const ContextPtr& context, std::string_view text) {
   if (context) {
      context->write(text);
   } else {
      std::fwrite(text.data(), 1, text.size(), stdout);
   }
}

__attribute__((format(printf, 2, 0))) void writeFormatted(const ContextPtr& context, const char* format,
                                                          std::va_list arguments) {
   std::va_list again;
   va_copy(again, arguments);
   char line[256];
   const int length = std::vsnprintf(line, sizeof line, format, arguments);
   if (length >= 0 && static_cast<std::size_t>(length) < sizeof line) {
      write(context, {line, static_cast<std::size_t>(length)});
   } else if (length >= 0) {
      std::string text(static_cast<std::size_t>(length) + 1, '\0');
      std::vsnprintf(text.data(), text.size(), format, again);
      text.pop_back();
      write(context, text);
   }
   va_end(again);
}

}  // namespace

void _objDumpPrintf(const ContextPtr& context, const char* format, ...) {
   std::va_list arguments;
   va_start(arguments, format);
   writeFormatted(context, format, arguments);
   va_end(arguments);
}

void dumpLine(const ContextPtr& context, U32 indent, const char* format, ...) {
   // A width of 0 would still write one blank.
   if (indent != 0) {
      _objDumpPrintf(context, "%*c", static_cast<int>(indent), ' ');
   }
   std::va_list arguments;
   va_start(arguments, format);
   writeFormatted(context, format, arguments);
   va_end(arguments);
}

bool isListTruncated(const ContextPtr& context, U32 entries) noexcept {
   return context && !context->isVerbose() && entries > context->listLimit();
}

void dumpListBegin(const ContextPtr& context, U32 indent, U32 entries) {
   if (isListTruncated(context, entries)) {
      context->truncatedIs(true);
      dumpLine(context, indent,
               "-- The following list will be truncated, use verbose option to display all %u entries --\n", entries);
   }
}

bool isListEntryShown(const ContextPtr& context, U32 shown) noexcept { return !isListTruncated(context, shown + 1); }

void dumpListEnd(const ContextPtr& context, U32 indent, U32 entries) {
   if (isListTruncated(context, entries)) {
      dumpLine(context, indent, "-- This list has been truncated, use verbose option to display all %u entries --\n",
               entries);
   }
}

}  // namespace Keel
