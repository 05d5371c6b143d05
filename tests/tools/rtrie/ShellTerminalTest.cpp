// The shell on a terminal: prompt, completion, lines of before, Ctrl-C and Ctrl-D.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include <poll.h>

#include "Support.h"
#include "tools/rtrie/shell/LineEditor.h"

namespace Rtrie {
namespace ShellTerminalTests {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// The shell in a terminal of its own, with its history under a folder of the test's.
class Terminal {
  public:
   Terminal(const Support::Folder& folder, const std::vector<std::string>& arguments, bool hasColours = true) {
      std::vector<std::string> words = {"rtrie", "shell"};
      words.insert(words.end(), arguments.begin(), arguments.end());
      const auto state = folder.path("state");
      const auto home = folder.path("");
      std::vector<char*> pointers;
      for (auto& word : words) {
         pointers.push_back(word.data());
      }
      pointers.push_back(nullptr);
      child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
      if (child_ == 0) {
         setenv("TERM", "xterm", 1);
         setenv("XDG_STATE_HOME", state.c_str(), 1);
         setenv("HOME", home.c_str(), 1);
         setenv("NO_COLOR", hasColours ? "" : "1", 1);
         execv(RTRIE_PROGRAM, pointers.data());
         _exit(127);
      }
   }
   Terminal(const Terminal&) = delete;
   Terminal& operator=(const Terminal&) = delete;
   ~Terminal() {
      if (child_ != 0) {
         kill(child_, SIGKILL);
         end();
      }
   }

   // Types it, and returns what was shown until `until` was, or for some seconds.
   std::string type(std::string_view keys, std::string_view until = prompt) {
      EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(terminal_, keys.data(), keys.size()));
      return shown(until);
   }
   std::string shown(std::string_view until = prompt) {
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
   // Its exit status.
   int end() {
      shown("\x01");  // to the end
      int status = 0;
      waitpid(child_, &status, 0);
      close(terminal_);
      child_ = 0;
      return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
   }

   static constexpr std::string_view prompt = "rtrie> ";

  private:
   pid_t child_ = 0;
   int terminal_ = -1;
};

class ShellTerminalTest : public testing::Test {
  protected:
   const Support::Folder folder_;
   const std::string table_ =
      folder_.file("table", "10.0.0.0/8 ten\n10.1.0.0/16 lan\n10.1.2.0/24\n2001:db8::/32 doc\n");
};

TEST_F(ShellTerminalTest, promptAnswersAndEnd) {
   Terminal terminal(folder_, {"--table", table_});
   EXPECT_THAT(terminal.shown(), AllOf(HasSubstr("4 routes of " + table_),
                                       HasSubstr("History is kept in " + folder_.path("state/rtrie/history"))));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan\r\n"));
   EXPECT_THAT(terminal.type("nothing\n"), HasSubstr("rtrie: unknown command \"nothing\""));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("lan\r\n")) << "a fault does not end it";
   terminal.type("\x04", "\r\n");
   EXPECT_EQ(0, terminal.end());
}

TEST_F(ShellTerminalTest, tabCompletes) {
   Terminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("expl\t10.1.2\t--form\tjs\t\n"), HasSubstr("\"query\":\"10.1.2.0/24\""));
   EXPECT_THAT(terminal.type("lookup --engine patr\t\t"),
               HasSubstr("patricia          patricia-compact  patricia-data\r\n"));
   EXPECT_THAT(terminal.type("\x03"), HasSubstr("^C"));
   EXPECT_THAT(terminal.type("zzz\t\x03"), HasSubstr("\x07")) << "a bell where nothing fits";
}

TEST_F(ShellTerminalTest, linesOfBeforeComeBack) {
   {
      Terminal terminal(folder_, {"--table", table_});
      terminal.shown();
      terminal.type("match 10.1.9.9\n");
      terminal.type("quit\n", "\n");
      EXPECT_EQ(0, terminal.end());
   }
   EXPECT_EQ("match 10.1.9.9\nquit\n", Support::contentOf(folder_.path("state/rtrie/history")));
   Terminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("\x1b[A\x1b[A\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan"));
   Terminal without(folder_, {"--table", table_, "--no-history"});
   EXPECT_THAT(without.shown(), Not(HasSubstr("istory")));
   without.type("walk 10.1.2.0/24\n");
   EXPECT_THAT(Support::contentOf(folder_.path("state/rtrie/history")), Not(HasSubstr("walk")));
}

TEST_F(ShellTerminalTest, historyThatCannotBeKeptIsTold) {
   folder_.file("state", "a file, and no folder");
   Terminal terminal(folder_, {"--table", table_});
   EXPECT_THAT(terminal.shown(), HasSubstr("History is not kept: cannot write "));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("lan\r\n"));
}

TEST_F(ShellTerminalTest, ctrlCDropsTheLine) {
   Terminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("unload ta\x03"), HasSubstr("^C"));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan\r\n"));
}

TEST_F(ShellTerminalTest, ctrlCEndsWhatACommandPrints) {
   std::string routes;
   for (int i = 0; i < 65'536; ++i) {
      routes += fmt::format("10.{}.{}.0/24 {}\n", i / 256, i % 256, i);
   }
   Terminal terminal(folder_, {"--table", folder_.file("large", routes)});
   terminal.shown();
   terminal.type("walk\n", "10.0.9.0/24");
   const auto rest = terminal.type("\x03");
   EXPECT_THAT(rest, HasSubstr("rtrie> "));
   EXPECT_THAT(rest, Not(HasSubstr("10.255.255.0/24"))) << "it was not cut short";
   EXPECT_THAT(terminal.type("match 10.255.255.1\n"), HasSubstr("10.255.255.1/32  10.255.255.0/24"));
   EXPECT_THAT(terminal.type("verify\x0a", "engine"), HasSubstr("engine"));
   EXPECT_THAT(terminal.type("\x03"), HasSubstr("rtrie> "));
   terminal.type("quit\n", "\n");
   EXPECT_EQ(0, terminal.end());
}

TEST_F(ShellTerminalTest, coloursOnATerminalAndNotInAPipe) {
   const auto other = folder_.file("other", "10.0.0.0/8 eleven\n");
   {
      Terminal terminal(folder_, {"--table", table_});
      terminal.shown();
      EXPECT_THAT(terminal.type("diff " + other + "\n"), HasSubstr("\x1b[31m- 10.0.0.0/8 ten"));
      EXPECT_THAT(terminal.type("diff " + other + " | cat\n"), Not(HasSubstr("\x1b[31m")));
   }
   Terminal plain(folder_, {"--table", table_}, false);
   plain.shown();
   EXPECT_THAT(plain.type("diff " + other + "\n"), AllOf(HasSubstr("- 10.0.0.0/8 ten"), Not(HasSubstr("\x1b[31m"))));
}

TEST_F(ShellTerminalTest, loadsOnceAndAnswersAtOnce) {
   std::string routes;
   for (int i = 0; i < 65'536; ++i) {
      routes += fmt::format("10.{}.{}.0/24\n", i / 256, i % 256);
   }
   const auto large = folder_.file("large", routes);
   Terminal terminal(folder_, {"--table", large});
   terminal.shown();
   terminal.type("match 10.0.0.1\n");
   std::filesystem::remove(large);
   const auto start = std::chrono::steady_clock::now();
   EXPECT_THAT(terminal.type("match 10.9.9.9\n"), HasSubstr("10.9.9.0/24"));
   EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.5);
}

}  // namespace ShellTerminalTests
}  // namespace Rtrie
