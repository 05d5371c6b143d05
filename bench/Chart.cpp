#include "bench/Chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string_view>

namespace Bench {

namespace {

constexpr std::array<std::string_view, 14> colors = {
   "#0072b2", "#56b4e9", "#1b3a8a", "#d55e00", "#009e73", "#7b3294", "#00a6a6",
   "#cc79a7", "#8c6d1f", "#000000", "#808080", "#b2182b", "#e69f00", "#6b8e23",
};
// gnuplot's numbers of symbols: filled ones for ours, hollow ones for rivals.
constexpr std::array oursPoints = {7, 5, 9, 11, 13};
constexpr std::array rivalsPoints = {6, 4, 8, 10, 12};

// In single quotes nothing but the quote itself means anything.
std::string inQuotes(std::string_view text) {
   std::string out = "'";
   for (const char c : text) {
      out += c == '\n' ? std::string(1, ' ') : std::string(c == '\'' ? 2 : 1, c);
   }
   return out + '\'';
}

// 1000: 1k, 160147: 160k.
std::string shortCount(double routes) {
   return routes < 1000 ? fmt::format("{:.0f}", routes) : fmt::format("{:.0f}k", routes / 1000);
}

struct Axes {
   std::set<double> routes;
   std::set<double> values;
};
Axes axesOf(const Chart& chart) {
   Axes axes;
   for (const ChartLine& line : chart.lines) {
      for (const ChartPoint& point : line.points) {
         axes.routes.insert(point.routes);
         axes.values.insert(point.value);
      }
   }
   return axes;
}

std::string ticsAt(const std::set<double>& sizes) {
   std::string tics;
   for (const double routes : sizes) {
      tics += fmt::format("{}{} {}", tics.empty() ? "" : ", ", inQuotes(shortCount(routes)), routes);
   }
   return tics;
}

// With some room at both ends.
struct Range {
   double least;
   double greatest;
};
Range rangeOf(const std::set<double>& values, double room) {
   return {*values.begin() / room, *values.rbegin() * room};
}
std::string textOf(const Range& range) { return fmt::format("[{:.6g}:{:.6g}]", range.least, range.greatest); }

// At powers of ten; in a range of less than three of them also at twice and five times each.
std::string ticsIn(const Range& range) {
   const bool isWide = range.greatest / range.least >= 1000;
   std::string tics;
   for (double power = 0.001; power <= range.greatest; power *= 10) {
      for (const int times : {1, 2, 5}) {
         const double tic = power * times;
         if (tic >= range.least && tic <= range.greatest && (times == 1 || !isWide)) {
            tics += fmt::format("{}{:.6g}", tics.empty() ? "" : ", ", tic);
         }
      }
   }
   return tics;
}

std::string styleOf(const ChartLine& line) {
   const auto& points = line.isOurs ? oursPoints : rivalsPoints;
   return fmt::format("lc rgb '{}' lw {} dt {} pt {} ps 0.7", colors[line.style % colors.size()],
                      line.isOurs ? 2 : 1.5, line.isOurs ? "1" : "(8,5)", points[line.style % points.size()]);
}

}  // namespace

bool hasPoints(const Chart& chart) {
   return std::any_of(chart.lines.begin(), chart.lines.end(),
                      [](const ChartLine& line) { return !line.points.empty(); });
}

std::string gnuplotScript(const Chart& chart) {
   std::vector<ChartLine> drawn;
   for (const ChartLine& line : chart.lines) {
      if (!line.points.empty()) {
         drawn.push_back(line);
      }
   }
   // By where they end; of those that end early, by there.
   std::stable_sort(drawn.begin(), drawn.end(), [](const ChartLine& a, const ChartLine& b) {
      return a.points.back().value > b.points.back().value;
   });

   const Axes axes = axesOf(chart);
   const Range values = rangeOf(axes.values, 1.4);
   std::string script = fmt::format(
      "set terminal svg size 960,540 dynamic noenhanced font 'Helvetica,Arial,sans-serif,13' background '#ffffff'\n"
      "set encoding utf8\n"
      "set title {} font ',16' offset 0,0.6\n"
      "set label 1 {} at graph 0.5,1.035 center font ',10' textcolor rgb '#606060'\n"
      "set xlabel 'routes in the table'\n"
      "set ylabel {}\n"
      "set logscale xy\n"
      "set xrange {}\n"
      "set yrange {}\n"
      "set xtics ({}) nomirror\n"
      "set ytics ({}) nomirror\n"
      "set border 3 lc rgb '#404040'\n"
      "set grid xtics ytics lc rgb '#d8d8d8' lw 0.6\n"
      "set key outside right center Left reverse samplen 3 spacing 1.25 width 1\n",
      inQuotes(chart.title), inQuotes(chart.subtitle), inQuotes(chart.unit), textOf(rangeOf(axes.routes, 1.3)),
      textOf(values), ticsAt(axes.routes), ticsIn(values));
   for (std::size_t i = 0; i < drawn.size(); ++i) {
      script += fmt::format("$line{} << END\n", i);
      for (const ChartPoint& point : drawn[i].points) {
         script += fmt::format("{} {:.4g}\n", point.routes, point.value);
      }
      script += "END\n";
   }
   script += "plot ";
   for (std::size_t i = 0; i < drawn.size(); ++i) {
      script += fmt::format("{}$line{} using 1:2 with linespoints {} title {}", i == 0 ? "" : ", \\\n   ", i,
                            styleOf(drawn[i]), inQuotes(drawn[i].engine));
   }
   for (const ChartLine& line : chart.lines) {
      if (!line.isBuilt) {
         script += fmt::format(", \\\n   keyentry with lines lc rgb '#ffffff' title {}",
                               inQuotes(line.engine + ": not built"));
      }
   }
   return script + '\n';
}

}  // namespace Bench
