// Progress: the bar on standard error while a long table loads. It shows itself only on a terminal and only once
// loading has taken a while, so that short loads do not flicker.
//
//    geoip6  [###########.............]  46%  127,000 lines
//
// Tested by tests/tools/tables/ProgressTest.cpp (the line) and ProgramTest.cpp (on a terminal).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "routetrie/platform/Types.h"

namespace Rtrie {

// The bar's line. sizeBytes 0: not known, and then there is no bar and no percentage.
std::string progressLine(std::string_view name, std::uint64_t positionBytes, std::uint64_t sizeBytes,
                         std::uint64_t lines, std::string_view unit = "lines");

class Progress {
  public:
   using Clock = std::chrono::steady_clock;

   // A bar that is shown, or that never is. now: tells the time.
   explicit Progress(bool shown, std::function<Clock::time_point()> now = Clock::now);
   Progress(const Progress&) = delete;
   Progress& operator=(const Progress&) = delete;
   ~Progress() { hide(); }

   // Whether standard error is a terminal.
   static bool standardErrorShows();

   // To be called now and then, at most every few thousand lines; draws when it is time to. Raises Interrupted (see Interrupt.h).
   void update(std::string_view name, std::uint64_t positionBytes, std::uint64_t sizeBytes, std::uint64_t lines,
               std::string_view unit = "lines");

   // Wipes the bar, before anything else is printed. The next update draws it again.
   void hide();

  private:
   std::function<Clock::time_point()> now_;
   bool shown_;
   bool drawn_ = false;
   Clock::time_point nextDraw_;
};

}  // namespace Rtrie
