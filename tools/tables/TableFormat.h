// TableFormat: a kind of text that routes come in. Which one a table has is told from its lines, never from its
// name. To add a format, write its parser under formats/ and give it a row in TableFormat.cpp.
//
// Tested by tests/tools/tables/TableFormatTest.cpp; each format by tests/tools/rtrie/<Format>Test.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "tools/tables/JsonReader.h"
#include "tools/tables/PrefixText.h"
#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

// What the readers of all formats have in common.
class RouteParser {
  public:
   RouteParser() = default;
   RouteParser(const RouteParser&) = delete;
   RouteParser& operator=(const RouteParser&) = delete;
   virtual ~RouteParser() = default;

   // Called after the last line or entry, for what could not be decided before.
   virtual void end(RouteSet&) {}

   // Lines or entries that were left out because they are not of what was selected.
   const LeftOut& leftOut() const { return leftOut_; }

   // What is done with an address that has bits past the length of its prefix; it is refused unless told otherwise.
   virtual void hostBitsAre(HostBits hostBits) { hostBits_ = hostBits; }
   // Prefixes whose bits were cleared.
   virtual std::uint64_t masked() const { return masked_; }

  protected:
   void leaveOut(std::string_view name) { leftOut_.add(name); }
   // As prefixOfText(), with bits past the length treated as told.
   Corenet::IpGenPrefix prefixIn(std::string_view text) {
      return hostBits_ == HostBits::refuse ? prefixOfText(text) : maskedPrefixOfText(text, masked_);
   }

  private:
   LeftOut leftOut_;
   HostBits hostBits_ = HostBits::refuse;
   std::uint64_t masked_ = 0;
};

// Reads the lines of one table. Lines come trimmed; blank ones and whole-line comments are left out.
class LineParser : public RouteParser {
  public:
   // Puts what the line says into the set. Raises BadText and leaves the set alone if it says nothing sensible.
   virtual void line(std::string_view text, RouteSet& routes) = 0;
};

// Reads the entries of one JSON document or several.
class EntryParser : public RouteParser {
  public:
   // As LineParser::line().
   virtual void entry(const JsonEntry& entry, RouteSet& routes) = 0;
};

// What a table of some format can be selected by.
enum class SelectedBy : U8 { nothing, peer, routeTable };

// One of lines, of JSON, or of neither: that one is here for the help.
struct TableFormat {
   std::string_view name;
   std::string_view summary;
   bool (*looksLike)(std::string_view line);  // a guess for one line
   std::unique_ptr<LineParser> (*parser)(const Selection& selection);
   SelectedBy selectedBy = SelectedBy::nothing;
   bool (*opensWith)(std::string_view firstLine) = nullptr;  // no other format has such a first line
   bool (*hasEntry)(const JsonEntry& entry) = nullptr;
   std::unique_ptr<EntryParser> (*entryParser)(const Selection& selection) = nullptr;
};

// In the order in which they are preferred when as many lines look like one as like the other.
std::span<const TableFormat> tableFormats();

// The format that the first line tells, or else that most of the lines look like; a prefix a line if they look like nothing.
const TableFormat& formatOf(std::span<const std::string> lines);

// The format of a JSON document with this as one of its entries; null if none has it.
const TableFormat* formatOf(const JsonEntry& entry);

}  // namespace Rtrie
