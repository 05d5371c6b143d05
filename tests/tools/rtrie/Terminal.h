// Terminal: a program in a terminal of its own, whose keys a test presses.
#pragma once

#include <sys/types.h>
#include <string>
#include <string_view>
#include <vector>

namespace Rtrie::Support {

class Terminal {
  public:
   // words: the program, found by PATH, and its arguments. environment: NAME=VALUE, beside what the test has. prompt: what it shows
   // when it waits.
   Terminal(std::vector<std::string> words, const std::vector<std::string>& environment, std::string prompt);
   Terminal(const Terminal&) = delete;
   Terminal& operator=(const Terminal&) = delete;
   ~Terminal();

   // Presses the keys, and returns what was shown until the prompt was, or `until`; what was shown so far, if that takes too long.
   std::string type(std::string_view keys) { return type(keys, prompt_); }
   std::string type(std::string_view keys, std::string_view until);
   std::string shown() { return shown(prompt_); }
   std::string shown(std::string_view until);
   // Sends it a signal.
   void signal(int number) const;
   // Waits for it to end, and returns its exit status, 128 and the number if a signal ended it.
   int end();

  private:
   const std::string prompt_;
   pid_t child_ = 0;
   int terminal_ = -1;
};

}  // namespace Rtrie::Support
