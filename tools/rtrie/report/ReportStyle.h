// ReportStyle: how a report looks: one column that a phone shows whole, colours for light and dark, and for paper.
//
// Contrast is 4.5 at least for all text, which tests/tools/rtrie/map/PaletteTest.cpp holds for the colours that maps have, too.
// Tested by tests/tools/report-in-browser.sh.
#pragma once

#include <string_view>

namespace Rtrie {

// Of the colours --page, --text, --faint and --line there is a light value and a dark one, which the page puts before this.
inline constexpr std::string_view reportStyle = R"(
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body { margin: 0 auto; max-width: 64rem; padding: 1rem clamp(0.75rem, 4vw, 2.5rem) 3rem; background: var(--page);
  color: var(--text); font: 1rem/1.5 system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; }
h1 { font-size: clamp(1.5rem, 5vw, 2.1rem); line-height: 1.2; margin: 0.5rem 0; overflow-wrap: anywhere; }
h2 { font-size: 1.45rem; line-height: 1.25; margin: 2.75rem 0 0.75rem; padding-top: 0.75rem; border-top: 1px solid var(--line); }
h3 { font-size: 1.1rem; margin: 2rem 0 0.5rem; }
p { max-width: 42rem; }
a { color: inherit; text-underline-offset: 0.2em; }
a:focus-visible { outline: 3px solid var(--bar); outline-offset: 2px; }
.skip { position: absolute; left: -100vw; }
.skip:focus { position: static; }
.faint, footer, figcaption { color: var(--faint); }
nav ul { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; list-style: none; margin: 1rem 0 0; padding: 0; }
nav a { display: inline-block; padding: 0.35rem 0; }
dl.cards { display: grid; grid-template-columns: repeat(auto-fit, minmax(9.5rem, 1fr)); gap: 0.75rem; margin: 1rem 0; }
dl.cards div { border: 1px solid var(--line); border-radius: 0.5rem; padding: 0.6rem 0.8rem; }
dt { color: var(--faint); font-size: 0.9rem; }
dd { margin: 0; font-size: 1.3rem; font-variant-numeric: tabular-nums; overflow-wrap: anywhere; }
dd small { display: block; font-size: 0.85rem; color: var(--faint); }
table { border-collapse: collapse; width: 100%; margin: 0.5rem 0 1.25rem; font-variant-numeric: tabular-nums; }
caption { text-align: left; color: var(--faint); padding-bottom: 0.35rem; }
th, td { text-align: left; vertical-align: top; padding: 0.3rem 0.75rem 0.3rem 0; border-bottom: 1px solid var(--line); }
thead th { font-weight: 600; vertical-align: bottom; }
tbody th { font-weight: 500; }
th.number, td.number { text-align: right; }
td.number { white-space: nowrap; }
td.text, th.text { overflow-wrap: anywhere; min-width: 6rem; }
td.prefix, th.prefix { overflow-wrap: anywhere; min-width: 8rem; }
.what { display: block; color: var(--faint); font-weight: 400; }
.faint { white-space: nowrap; }
td.bar { width: 40%; min-width: 3.5rem; padding-right: 0; }
td.bar span { display: block; height: 0.85rem; margin-top: 0.35rem; min-width: 2px; background: var(--bar); border-radius: 2px; }
figure { margin: 1rem 0; }
svg.map { display: block; width: 100%; height: auto; border: 1px solid var(--line); }
svg.map text { font: 600 11px system-ui, "DejaVu Sans", sans-serif; fill: var(--text); stroke: var(--page); stroke-width: 3px;
  paint-order: stroke; stroke-linejoin: round; }
svg.map .coarse text { font-size: 40px; stroke-width: 8px; }
svg.map path { fill: none; stroke: var(--line); stroke-width: 1px; opacity: 0.6; }
svg.map .coarse, svg.map .dark { display: none; }
.swatch { display: inline-block; width: 1rem; height: 1rem; margin-right: 0.5rem; vertical-align: -0.15rem;
  border: 1px solid var(--faint); background: var(--light); }
.sign { display: inline-block; width: 1.2em; font-weight: 700; }
@media (max-width: 40rem) {
  svg.map .fine { display: none; }
  svg.map .coarse { display: block; }
  th, td { padding-right: 0.5rem; }
  th.prefix { min-width: 6rem; }
  td.text, th.text { min-width: 4.5rem; }
  td.bar { width: 22%; min-width: 3rem; }
}
@media (max-width: 24rem) {
  table { font-size: 0.92rem; }
  td.bar { display: none; }
}
@media screen and (prefers-color-scheme: dark) {
  svg.map .light { display: none; }
  svg.map .dark { display: block; }
  .swatch { background: var(--dark); }
}
@media print {
  body { max-width: none; padding: 0; font-size: 10pt; }
  nav, .skip { display: none; }
  h2, h3, caption { break-after: avoid; }
  tr, figure, dl.cards div { break-inside: avoid; }
  thead { display: table-header-group; }
  svg.map { max-width: 15cm; }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
}
)";

}  // namespace Rtrie
