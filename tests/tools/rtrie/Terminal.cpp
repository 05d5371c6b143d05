#include "Terminal.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>

namespace Rtrie::Support {

Terminal::Terminal(std::vector<std::string> words, const std::vector<std::string>& environment, std::string prompt)
   : prompt_(std::move(prompt)) {
   std::vector<char*> pointers;
   for (auto& word : words) {
      pointers.push_back(word.data());
   }
   pointers.push_back(nullptr);
   std::vector<std::string> variables = environment;
   winsize size{};
   size.ws_row = 24;
   size.ws_col = 200;  // no line is broken that a test looks for
   child_ = forkpty(&terminal_, nullptr, nullptr, &size);
   if (child_ == 0) {
      for (auto& variable : variables) {
         putenv(variable.data());
      }
      execvp(pointers.front(), pointers.data());
      _exit(127);
   }
}

Terminal::~Terminal() {
   if (child_ != 0) {
      kill(child_, SIGKILL);
      end();
   }
}

std::string Terminal::type(std::string_view keys, std::string_view until) {
   EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(terminal_, keys.data(), keys.size()));
   return shown(until);
}

std::string Terminal::shown(std::string_view until) {
   constexpr auto patience = std::chrono::seconds(20);
   const auto end = std::chrono::steady_clock::now() + patience;
   std::string text;
   std::string part(4096, '\0');
   while (text.find(until) == std::string::npos && std::chrono::steady_clock::now() < end) {
      pollfd ready{terminal_, POLLIN, 0};
      if (poll(&ready, 1, 100) == 1) {
         const ssize_t got = read(terminal_, part.data(), part.size());
         if (got <= 0) {
            break;  // it has gone
         }
         text.append(part, 0, static_cast<std::size_t>(got));
      }
   }
   return text;
}

void Terminal::signal(int number) const { kill(child_, number); }

int Terminal::end() {
   shown("\x01");  // which is never shown
   int status = 0;
   waitpid(child_, &status, 0);
   close(terminal_);
   child_ = 0;
   return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace Rtrie::Support
