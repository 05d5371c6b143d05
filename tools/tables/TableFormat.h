// TableFormat: a kind of text that routes come in. Which one a table has is told from its lines, never from its
// name. To add a format, write its parser under formats/ and give it a row in TableFormat.cpp.
//
// Tested by tests/tools/tables/TableFormatTest.cpp; each format by tests/tools/rtrie/<Format>Test.cpp.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "tools/tables/RouteSet.h"
#include "tools/tables/Selection.h"

namespace Rtrie {

// Reads the lines of one table. Lines come trimmed; blank ones and whole-line comments are left out.
class LineParser {
  public:
   virtual ~LineParser() = default;

   // Puts what the line says into the set. Raises BadText and leaves the set alone if it says nothing sensible.
   virtual void line(std::string_view text, RouteSet& routes) = 0;

   // Called after the last line, for what could not be decided before.
   virtual void end(RouteSet&) {}

   // Lines that were left out because they are not of what was selected.
   const LeftOut& leftOut() const { return leftOut_; }

  protected:
   void leaveOut(std::string_view name) { leftOut_.add(name); }

  private:
   LeftOut leftOut_;
};

// What a table of some format can be selected by.
enum class SelectedBy : U8 { nothing, peer, routeTable };

// One that is no text is here for the help, and has neither of the two functions.
struct TableFormat {
   std::string_view name;
   std::string_view summary;
   bool (*looksLike)(std::string_view line);  // a guess for one line
   std::unique_ptr<LineParser> (*parser)(const Selection& selection);
   SelectedBy selectedBy = SelectedBy::nothing;
};

// In the order in which they are preferred when as many lines look like one as like the other.
std::span<const TableFormat> tableFormats();

// The format that most of the lines look like; a prefix a line if they look like nothing.
const TableFormat& formatOf(std::span<const std::string> lines);

}  // namespace Rtrie
