#include "tools/tables/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "tools/tables/Interrupt.h"
#include "tools/tables/Numbers.h"

namespace Rtrie {
namespace {

constexpr auto quietStart = std::chrono::milliseconds(250);
constexpr auto drawEvery = std::chrono::milliseconds(100);
constexpr unsigned barMarks = 24;

void draw(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

}  // namespace

std::string progressLine(std::string_view name, std::uint64_t positionBytes, std::uint64_t sizeBytes,
                         std::uint64_t lines, std::string_view unit) {
   if (sizeBytes == 0) {
      return fmt::format("{}  {} {}", name, grouped(lines), unit);
   }
   const double share = std::min(1.0, static_cast<double>(positionBytes) / static_cast<double>(sizeBytes));
   const auto done = static_cast<unsigned>(share * barMarks);
   return fmt::format("{}  [{:#<{}}{:.<{}}]  {:>3}%  {} {}", name, "", done, "", barMarks - done,
                      static_cast<unsigned>(share * 100), grouped(lines), unit);
}

Progress::Progress(bool shown, std::function<Clock::time_point()> now)
   : now_(std::move(now)), shown_(shown), nextDraw_(now_() + quietStart) {}

bool Progress::standardErrorShows() { return isatty(STDERR_FILENO) == 1; }

void Progress::update(std::string_view name, std::uint64_t positionBytes, std::uint64_t sizeBytes,
                      std::uint64_t lines, std::string_view unit) {
   stopIfInterrupted();
   if (!shown_) {
      return;
   }
   const auto now = now_();
   if (now < nextDraw_) {
      return;
   }
   nextDraw_ = now + drawEvery;
   drawn_ = true;
   draw("\r" + progressLine(name, positionBytes, sizeBytes, lines, unit) + "\x1b[K");
}

void Progress::hide() {
   if (drawn_) {
      draw("\r\x1b[K");
   }
   drawn_ = false;
}

}  // namespace Rtrie
