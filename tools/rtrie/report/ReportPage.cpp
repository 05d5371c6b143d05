#include "tools/rtrie/report/ReportPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

#include "tools/rtrie/map/Base64.h"
#include "tools/rtrie/map/HilbertCurve.h"
#include "tools/rtrie/map/MapPicture.h"
#include "tools/rtrie/map/MarkupText.h"
#include "tools/rtrie/map/Palette.h"
#include "tools/rtrie/report/ReportStyle.h"
#include "tools/tables/Numbers.h"
#include "tools/tables/PrefixText.h"

namespace Rtrie {
namespace {

constexpr std::size_t reportTextCharacters = 160;
// The sides of the grids of names on a map, of a wide page and of a phone's.
constexpr unsigned fineLevels = 4;
constexpr unsigned coarseLevels = 2;

std::string sharePercent(double part, double whole) { return percentText(whole > 0 ? part / whole : 0); }

std::string bytesText(std::uint64_t bytes) {
   constexpr std::string_view units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
   auto size = static_cast<double>(bytes);
   std::size_t unit = 0;
   while (size >= 1024 && unit + 1 < std::size(units)) {
      size /= 1024;
      ++unit;
   }
   return unit == 0 ? fmt::format("{} bytes", bytes) : fmt::format("{:.1f} {}", size, units[unit]);
}

// As many addresses as a share of the family's is: of IPv6, in networks of 64 bits, which people count.
std::string addressesText(const TableFacts& facts) {
   const bool isIpv6 = facts.af == Corenet::AddressFamily::ipv6;
   const double count = std::ldexp(facts.addresses, isIpv6 ? 64 : 32);
   if (isIpv6 && count < 1) {
      return "less than a network of /64";
   }
   if (isIpv6) {
      return fmt::format("{} networks of /64", count < 1e9 ? grouped(static_cast<std::uint64_t>(std::llround(count)))
                                                           : fmt::format("{:.3g}", count));
   }
   return fmt::format("{} addresses", grouped(static_cast<std::uint64_t>(std::llround(count))));
}

// The page as it grows.
class Page {
  public:
   template <class... Args>
   void add(fmt::format_string<Args...> format, Args&&... args) {
      fmt::format_to(std::back_inserter(html_), format, std::forward<Args>(args)...);
   }
   std::string take() { return std::move(html_); }

   // A heading within a section; ids are the sections'.
   void heading(unsigned level, std::string_view text) { add("<h{0}>{1}</h{0}>\n", level, text); }

   struct Column {
      std::string_view title;
      std::string_view kind = "";  // "number", "text", "prefix" or "bar"
   };
   void beginTable(std::string_view caption, std::initializer_list<Column> columns) {
      add("<table>\n<caption>{}</caption>\n<thead><tr>", caption);
      for (const Column& each : columns) {
         if (each.kind == "bar") {
            add("<td class=\"bar\"></td>");  // what it shows stands in numbers beside it
         } else {
            add("<th scope=\"col\"{}>{}</th>", classOf(each.kind), each.title);
         }
      }
      add("</tr></thead>\n<tbody>\n");
   }
   // The cell that a row goes by.
   void rowHead(std::string_view content, std::string_view kind = "") {
      add("<tr><th scope=\"row\"{}>{}</th>", classOf(kind), content);
   }
   void cell(std::string_view content, std::string_view kind = "") { add("<td{}>{}</td>", classOf(kind), content); }
   void bar(double part) {
      add("<td class=\"bar\" aria-hidden=\"true\"><span style=\"width:{:.2f}%\"></span></td>", part * 100);
   }
   void endRow() { add("</tr>\n"); }
   void endTable() { add("</tbody>\n</table>\n"); }

   void beginCards() { add("<dl class=\"cards\">\n"); }
   void card(std::string_view name, std::string_view value, std::string_view note = "") {
      add("<div><dt>{}</dt><dd>{}{}</dd></div>\n", name, value,
          note.empty() ? std::string() : fmt::format(" <small>{}</small>", note));
   }
   void endCards() { add("</dl>\n"); }

  private:
   static std::string classOf(std::string_view kind) {
      return kind.empty() ? std::string() : fmt::format(" class=\"{}\"", kind);
   }

   std::string html_;
};

// A prefix, which may be wrapped behind its colons.
std::string prefixMarkup(const Corenet::IpGenPrefix& prefix) {
   std::string markup;
   for (const char c : std::string(prefix.stringValue())) {
      markup += c;
      markup += c == ':' ? "<wbr>" : "";
   }
   return markup;
}

std::string payloadMarkup(std::string_view payload) {
   return payload.empty() ? "<span class=\"faint\">none</span>" : markupText(payload, reportTextCharacters);
}

// --- maps ---

void addNames(Page& page, const SpaceMap& map, unsigned levels, std::string_view kind) {
   // In a picture of 1024 whatever its own size, so that the letters have theirs.
   const double unit = 1024.0 / HilbertCurve(map.order).side();
   const double fontSize = kind == "fine" ? 11 : 40;
   // A letter is about six tenths as wide as it is high.
   const auto fits = [&](const NamedBlock& each) {
      return static_cast<double>(blockLabel(each.prefix).size()) * fontSize * 0.62 < each.place.width * unit;
   };
   unsigned most = std::min({levels, map.blockBits() / 2, map.order});
   std::vector<NamedBlock> named;
   for (; most > 0; --most) {
      named = namedBlocks(map, most);
      if (std::all_of(named.begin(), named.end(), fits)) {
         break;
      }
   }
   if (most == 0) {
      return;
   }
   page.add("<g class=\"{}\"><path d=\"", kind);
   for (unsigned i = 1; i < 1U << most; ++i) {
      const double at = 1024.0 / (1U << most) * i;
      page.add("M{0} 0V1024M0 {0}H1024", at);
   }
   page.add("\"/>");
   for (const auto& [place, prefix] : named) {
      page.add("<text x=\"{}\" y=\"{}\">{}</text>", place.x * unit + fontSize * 0.3, place.y * unit + fontSize * 1.1,
               markupText(blockLabel(prefix)));
   }
   page.add("</g>\n");
}

// What the picture shows, for who doesn't see it: the classes in order of what they have.
std::string inWords(const SpaceMap& map) {
   std::vector<const MapClass*> classes;
   for (const MapClass& each : map.classes) {
      classes.push_back(&each);
   }
   std::stable_sort(classes.begin(), classes.end(),
                    [](const auto* a, const auto* b) { return a->addresses > b->addresses; });
   std::string words = fmt::format(
      "A square that stands for {}, from its first address at the top left along a Hilbert "
      "curve to its last at the top right; {}. Of its addresses",
      map.block.stringValue(), scaleText(map));
   for (std::size_t i = 0; i < std::min<std::size_t>(classes.size(), 4); ++i) {
      words +=
         fmt::format("{} {} have {}", i == 0 ? "" : ",", percentText(map.shareOf(*classes[i])), classes[i]->label);
   }
   return words + ".";
}

void addMap(Page& page, const SpaceMap& map, std::string_view id, std::string_view caption) {
   page.add(
      "<figure>\n<svg class=\"map\" viewBox=\"0 0 1024 1024\" role=\"img\" aria-labelledby=\"{0}-title {0}-words\">\n"
      "<title id=\"{0}-title\">{1} by {2}</title>\n<desc id=\"{0}-words\">{3}</desc>\n",
      id, markupText(map.block.stringValue()), markupText(map.subject), markupText(inWords(map)));
   for (const auto& [theme, name] : {std::pair(Theme::light, "light"), std::pair(Theme::dark, "dark")}) {
      page.add("<image class=\"{}\" width=\"1024\" height=\"1024\" href=\"data:image/png;base64,{}\"/>\n", name,
               base64Of(curvePng(map, theme)));
   }
   addNames(page, map, fineLevels, "fine");
   addNames(page, map, coarseLevels, "coarse");
   page.add(
      "</svg>\n<figcaption>{} {}, from the top left to the top right along a Hilbert curve: a prefix is a square or "
      "half of one.</figcaption>\n</figure>\n",
      caption, markupText(scaleText(map)));
   page.beginTable("What the colours of the map stand for", {{"Colour"}, {"Addresses", "number"}});
   const auto row = [&](const MapClass& each) {
      page.rowHead(fmt::format("<span class=\"swatch\" style=\"--light:{};--dark:{}\"></span>{}",
                               hexOf(colourOf(each.tint, Theme::light)), hexOf(colourOf(each.tint, Theme::dark)),
                               markupText(each.label, reportTextCharacters)),
                   "text");
      page.cell(markupText(percentText(map.shareOf(each))), "number");
      page.endRow();
   };
   std::for_each(map.classes.begin() + 1, map.classes.end(), row);
   row(map.classes.front());
   page.endTable();
}

// --- sections ---

void addFamily(Page& page, const FamilyReport& family) {
   const TableFacts& facts = family.facts;
   const auto name = familyName(facts.af);
   const bool isIpv6 = facts.af == Corenet::AddressFamily::ipv6;
   const std::string id = isIpv6 ? "ipv6" : "ipv4";
   const auto routes = static_cast<double>(facts.routes);
   // Of IPv6 everything is next to nothing of all there is.
   double answered = 0;
   for (const auto& each : facts.byLength) {
      answered += each.addresses;
   }
   page.add("<section aria-labelledby=\"{0}\">\n<h2 id=\"{0}\">{1}</h2>\n", id, name);
   if (facts.routes == 0) {
      page.add("<p>There are no {} routes any more.</p>\n</section>\n", name);
      return;
   }
   page.beginCards();
   page.card("Routes", grouped(facts.routes), facts.hasDefault ? "the default route among them" : "no default route");
   page.card("Answered", markupText(percentText(facts.addresses)),
             addressesText(facts) + (facts.hasDefault ? ", the default route aside" : ""));
   page.card("Different payloads", grouped(facts.payloads));
   page.card("Nested at most", grouped(facts.byDepth.size() - 1), "routes over one address");
   page.card("In memory", bytesText(family.bytes),
             fmt::format("{:.2f} bytes a route", static_cast<double>(family.bytes) / routes));
   page.endCards();

   if (family.map) {
      page.heading(3, "Map");
      addMap(page, *family.map, id + "-map", fmt::format("{} by the length of the route that answers;", name));
   }

   page.heading(3, "Lengths");
   std::uint64_t most = 0;
   for (const auto& each : facts.byLength) {
      most = std::max(most, each.routes);
   }
   page.beginTable(
      fmt::format("{} routes by the length of their prefixes, and their shares of the addresses that have an answer",
                  name),
      {{"Length"}, {"Routes", "number"}, {"Share", "number"}, {"Addresses", "number"}, {"", "bar"}});
   for (std::size_t length = 0; length < facts.byLength.size(); ++length) {
      const auto& each = facts.byLength[length];
      if (each.routes != 0) {
         page.rowHead(fmt::format("/{}", length));
         page.cell(grouped(each.routes), "number");
         page.cell(markupText(sharePercent(static_cast<double>(each.routes), routes)), "number");
         page.cell(markupText(sharePercent(each.addresses, answered)), "number");
         page.bar(static_cast<double>(each.routes) / static_cast<double>(most));
         page.endRow();
      }
   }
   page.endTable();

   page.heading(3, "Depth");
   const auto deepest = *std::max_element(facts.byDepth.begin(), facts.byDepth.end());
   page.beginTable(fmt::format("{} routes by how many routes lie over them, each counting itself", name),
                   {{"Depth"}, {"Routes", "number"}, {"Share", "number"}, {"", "bar"}});
   for (std::size_t depth = 1; depth < facts.byDepth.size(); ++depth) {
      page.rowHead(std::to_string(depth));
      page.cell(grouped(facts.byDepth[depth]), "number");
      page.cell(markupText(sharePercent(static_cast<double>(facts.byDepth[depth]), routes)), "number");
      page.bar(static_cast<double>(facts.byDepth[depth]) / static_cast<double>(deepest));
      page.endRow();
   }
   page.endTable();

   page.heading(3, "Payloads");
   if (facts.payloads == 0) {
      page.add("<p>No {} route has a payload.</p>\n", name);
   } else {
      page.beginTable(
         fmt::format("The {} of {} that most {} routes have, and their shares of the addresses that have an answer",
                     facts.topPayloads.size(),
                     grouped(std::max<std::uint64_t>(facts.payloads, facts.topPayloads.size())), name),
         {{"Payload"}, {"Routes", "number"}, {"Share", "number"}, {"Addresses", "number"}});
      for (const auto& each : facts.topPayloads) {
         page.rowHead(payloadMarkup(each.payload), "text");
         page.cell(grouped(each.routes), "number");
         page.cell(markupText(sharePercent(static_cast<double>(each.routes), routes)), "number");
         page.cell(markupText(sharePercent(each.addresses, answered)), "number");
         page.endRow();
      }
      page.endTable();
   }

   page.heading(3, "Largest blocks");
   const std::string blocksCaption =
      fmt::format("The {} shortest {} prefixes, and the routes within them", facts.largest.size(), name);
   if (facts.payloads == 0) {
      page.beginTable(blocksCaption, {{"Prefix", "prefix"}, {"Routes within", "number"}});
   } else {
      page.beginTable(blocksCaption, {{"Prefix", "prefix"}, {"Routes within", "number"}, {"Payload"}});
   }
   for (const auto& each : facts.largest) {
      page.rowHead(prefixMarkup(each.prefix), "prefix");
      page.cell(grouped(each.longer), "number");
      if (facts.payloads != 0) {
         page.cell(payloadMarkup(each.payload), "text");
      }
      page.endRow();
   }
   page.endTable();
   page.add("</section>\n");
}

void addDifference(Page& page, const Report& report) {
   const DifferenceReport& difference = *report.difference;
   const std::string against = markupText(difference.against, reportTextCharacters);
   page.add("<section aria-labelledby=\"changes\">\n<h2 id=\"changes\">What changed</h2>\n<p>Since {}.</p>\n",
            against);
   page.beginCards();
   page.card("Routes added", grouped(difference.added));
   page.card("Routes gone", grouped(difference.removed));
   page.card("Other payload", grouped(difference.replaced));
   page.card("As before", grouped(difference.same));
   page.endCards();
   const std::uint64_t all = difference.added + difference.removed + difference.replaced;
   if (all == 0) {
      page.add("<p>The tables have the same routes.</p>\n</section>\n");
      return;
   }
   for (const FamilyReport& family : report.families) {
      if (family.difference) {
         const auto name = familyName(family.facts.af);
         page.heading(3, fmt::format("{} map of changes", name));
         addMap(page, *family.difference,
                family.facts.af == Corenet::AddressFamily::ipv6 ? "ipv6-changes" : "ipv4-changes",
                fmt::format("{} by what became of the answer;", name));
      }
   }
   page.heading(3, "Changed routes");
   const std::string caption = difference.first.size() == all
                                  ? fmt::format("All {} changes", grouped(all))
                                  : fmt::format("The first {} of {} changes; <code>rtrie diff</code> prints all",
                                                difference.first.size(), grouped(all));
   const bool hasPayloads = std::any_of(difference.first.begin(), difference.first.end(), [](const Effect& each) {
      return !each.before.value_or("").empty() || !each.after.value_or("").empty();
   });
   if (hasPayloads) {
      page.beginTable(caption, {{"Prefix", "prefix"}, {"Payload before"}, {"Payload now"}});
   } else {
      page.beginTable(caption, {{"Prefix", "prefix"}, {"Change"}});
   }
   for (const Effect& each : difference.first) {
      const std::string_view what = each.kind == ChangeKind::add      ? "+</span>added"
                                    : each.kind == ChangeKind::remove ? "−</span>gone"
                                                                      : "±</span>other payload";
      const std::string change = fmt::format("<span class=\"sign\" aria-hidden=\"true\">{}", what);
      if (hasPayloads) {
         const auto side = [](const std::optional<std::string>& payload) {
            return payload ? payloadMarkup(*payload) : std::string("<span class=\"faint\">no route</span>");
         };
         page.rowHead(fmt::format("{} <span class=\"what\">{}</span>", prefixMarkup(each.prefix), change), "prefix");
         page.cell(side(each.before), "text");
         page.cell(side(each.after), "text");
      } else {
         page.rowHead(prefixMarkup(each.prefix), "prefix");
         page.cell(change);
      }
      page.endRow();
   }
   page.endTable();
   page.add("</section>\n");
}

std::string paperStyle(Theme theme, std::string_view barColour) {
   const Paper& paper = paperOf(theme);
   return fmt::format(":root {{ --page: {}; --text: {}; --faint: {}; --line: {}; --bar: {}; color-scheme: {}; }}",
                      hexOf(paper.page), hexOf(paper.text), hexOf(paper.faint), hexOf(paper.line), barColour,
                      theme == Theme::dark ? "dark" : "light");
}

}  // namespace

std::string reportPage(const Report& report) {
   Page page;
   const std::string title = markupText(report.title, reportTextCharacters);
   page.add(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
      "style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n"
      "<meta name=\"generator\" content=\"rtrie {}\">\n<title>{}</title>\n",
      markupText(report.version), title);
   // Without an icon of its own a browser would ask a server for one.
   page.add(
      "<link rel=\"icon\" href=\"data:,\">\n<style>\n{}\n@media screen and (prefers-color-scheme: dark) {{ {} "
      "}}{}</style>\n"
      "</head>\n<body>\n<a class=\"skip\" href=\"#main\">Skip to the figures</a>\n",
      paperStyle(Theme::light, hexOf(colourOf({Tint::Kind::choice, 0, choices}, Theme::light))),
      paperStyle(Theme::dark, hexOf(colourOf({Tint::Kind::choice, 0, choices}, Theme::dark))), reportStyle);
   page.add("<header>\n<h1>{}</h1>\n<p class=\"faint\">Made <time datetime=\"{}\">{}</time> by rtrie {}</p>\n", title,
            markupText(report.time), markupText(report.time.substr(0, 10)), markupText(report.version));
   page.add("<nav aria-label=\"Contents\">\n<ul>\n<li><a href=\"#glance\">At a glance</a></li>\n");
   if (report.difference) {
      page.add("<li><a href=\"#changes\">What changed</a></li>\n");
   }
   for (const FamilyReport& family : report.families) {
      const bool isIpv6 = family.facts.af == Corenet::AddressFamily::ipv6;
      page.add("<li><a href=\"#{}\">{}</a></li>\n", isIpv6 ? "ipv6" : "ipv4", familyName(family.facts.af));
   }
   page.add(
      "</ul>\n</nav>\n</header>\n<main id=\"main\">\n"
      "<section aria-labelledby=\"glance\">\n<h2 id=\"glance\">At a glance</h2>\n");
   std::uint64_t routes = 0;
   std::uint64_t bytes = 0;
   for (const FamilyReport& family : report.families) {
      routes += family.facts.routes;
      bytes += family.bytes;
   }
   page.beginCards();
   page.card("Routes", grouped(routes));
   for (const FamilyReport& family : report.families) {
      page.card(fmt::format("{} routes", familyName(family.facts.af)), grouped(family.facts.routes),
                fmt::format("{} of the addresses answered", markupText(percentText(family.facts.addresses))));
   }
   page.card("In memory", bytesText(bytes));
   page.endCards();
   page.beginTable("What was read", {{"What"}, {"How much", "text"}});
   const auto line = [&](std::string_view name, const std::string& value) {
      page.rowHead(name);
      page.cell(value, "text");
      page.endRow();
   };
   std::string names;
   for (const std::string& each : report.tables) {
      names += (names.empty() ? "" : ", ") + markupText(each, reportTextCharacters);
   }
   line(report.tables.size() == 1 ? "Table" : "Tables", names);
   line("Lines or records", grouped(report.load.lines));
   const auto lineIfAny = [&](std::string_view name, std::uint64_t count) {
      if (count != 0) {
         line(name, grouped(count));
      }
   };
   lineIfAny("Bad ones, left out", report.load.faults);
   lineIfAny("Of other peers or routing tables, left out", report.load.leftOut);
   lineIfAny("Routes that lost to another of their prefix", report.load.lost.count());
   lineIfAny("Routes for some packets alone", report.load.bound);
   page.endTable();
   if (!canDraw()) {
      page.add("<p>There is no map, since this rtrie was built without cairo, which draws it.</p>\n");
   }
   page.add("</section>\n");
   if (report.difference) {
      addDifference(page, report);
   }
   for (const FamilyReport& family : report.families) {
      addFamily(page, family);
   }
   page.add(
      "</main>\n<footer>\n<p>This page is whole in itself: it loads nothing and runs "
      "nothing.</p>\n</footer>\n</body>\n"
      "</html>\n");
   return page.take();
}

}  // namespace Rtrie
