#include "tools/rtrie/RouteFormat.h"

#include <string>

#include "tools/rtrie/JsonLine.h"
#include "tools/rtrie/Rows.h"

namespace Rtrie {
namespace {

void nothingFirst(Output&) {}

constexpr RouteFormat routeFormatRows[] = {
   {"text", "the route, and behind a blank its payload: a table of routes again", nothingFirst,
    [](const Corenet::IpGenPrefix& route, std::string_view payload, Output& output) {
       output.text(route.stringValue());
       output.text(payload.empty() ? "" : " ");
       output.text(payload);
       output.text("\n");
       output.lineDone();
    }},
   {"tsv", "the route alone", nothingFirst,
    [](const Corenet::IpGenPrefix& route, std::string_view, Output& output) {
       row(output, RowForm::tsv, {route.stringValue()});
    }},
   {"tsv-payload", "route, tab, payload", nothingFirst,
    [](const Corenet::IpGenPrefix& route, std::string_view payload, Output& output) {
       row(output, RowForm::tsv, {route.stringValue(), payload});
    }},
   {"csv", "prefix and payload with a comma between, and their names first",
    [](Output& output) {
       rowNames(output, RowForm::csv, {"prefix", "payload"});
    },
    [](const Corenet::IpGenPrefix& route, std::string_view payload, Output& output) {
       row(output, RowForm::csv, {route.stringValue(), payload});
    }},
   {"json", "one object a line: prefix, length, payload", nothingFirst,
    [](const Corenet::IpGenPrefix& route, std::string_view payload, Output& output) {
       jsonLine(output,
                {{"prefix", std::string(route.stringValue())}, {"length", route.len()}, {"payload", payload}});
    }},
};

}  // namespace

std::span<const RouteFormat> routeFormats() { return routeFormatRows; }

}  // namespace Rtrie
