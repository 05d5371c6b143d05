// TraceCapture: the lines that a facility traces while this lives, without their places in the source: "8 visit: text".
// It switches on the levels that it is told, and everything off again at its end.
#pragma once

#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Tesk/Trace.h"

namespace TestSupport {

class TraceCapture {
  public:
   TraceCapture(std::string_view facility, std::initializer_list<U32> levels)
      : handle_(Tesk::TraceHandle::find(facility).value()) {
      Tesk::TraceHandle::sinkIs(&sink_);
      for (const U32 level : levels) {
         handle_.levelIs(level, true);
      }
   }
   TraceCapture(const TraceCapture&) = delete;
   TraceCapture& operator=(const TraceCapture&) = delete;
   ~TraceCapture() {
      handle_.maskIs(0);
      Tesk::TraceHandle::sinkIs(nullptr);
   }

   // What was traced since the last call: "LEVEL FUNCTION: TEXT" each.
   std::vector<std::string> lines() {
      std::vector<std::string> result;
      std::istringstream in(sink_.str());
      sink_.str("");
      for (std::string line; std::getline(in, line);) {
         // "Trie/8 visit Trie.cpp:120: text": the place is the word before the first ": ".
         const std::size_t levelAt = line.find('/') + 1;
         const std::size_t textAt = line.find(": ");
         const std::size_t placeAt = line.rfind(' ', textAt - 1);
         result.push_back(line.substr(levelAt, placeAt - levelAt) + line.substr(textAt));
      }
      return result;
   }

  private:
   Tesk::TraceHandle handle_;
   std::ostringstream sink_;
};

}  // namespace TestSupport
