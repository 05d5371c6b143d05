// The shell on a terminal: prompt, completion, lines of before, Ctrl-C and Ctrl-D.
#include <chrono>
#include <csignal>

#include "Support.h"
#include "Terminal.h"
#include "tools/rtrie/shell/LineEditor.h"

namespace Rtrie {
namespace ShellTerminalTests {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// The shell in a terminal of its own, with its history under a folder of the test's.
class ShellTerminal : public Support::Terminal {
  public:
   ShellTerminal(const Support::Folder& folder, const std::vector<std::string>& arguments, bool hasColours = true)
      : Terminal(wordsOf(arguments),
                 {"TERM=xterm", "XDG_STATE_HOME=" + folder.path("state"), "HOME=" + folder.path(""),
                  std::string("NO_COLOR=") + (hasColours ? "" : "1")},
                 "rtrie> ") {}

  private:
   static std::vector<std::string> wordsOf(const std::vector<std::string>& arguments) {
      std::vector<std::string> words = {RTRIE_PROGRAM, "shell"};
      words.insert(words.end(), arguments.begin(), arguments.end());
      return words;
   }
};

class ShellTerminalTest : public testing::Test {
  protected:
   const Support::Folder folder_;
   const std::string table_ =
      folder_.file("table", "10.0.0.0/8 ten\n10.1.0.0/16 lan\n10.1.2.0/24\n2001:db8::/32 doc\n");
};

TEST_F(ShellTerminalTest, promptAnswersAndEnd) {
   ShellTerminal terminal(folder_, {"--table", table_});
   EXPECT_THAT(terminal.shown(), AllOf(HasSubstr("4 routes of " + table_),
                                       HasSubstr("History is kept in " + folder_.path("state/rtrie/history"))));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan\r\n"));
   EXPECT_THAT(terminal.type("nothing\n"), HasSubstr("rtrie: unknown command \"nothing\""));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("lan\r\n")) << "a fault does not end it";
   terminal.type("\x04", "\r\n");
   EXPECT_EQ(0, terminal.end());
}

TEST_F(ShellTerminalTest, tabCompletes) {
   ShellTerminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("expl\t10.1.2\t--form\tjs\t\n"), HasSubstr("\"query\":\"10.1.2.0/24\""));
   EXPECT_THAT(terminal.type("lookup --engine patr\t\t"),
               HasSubstr("patricia          patricia-compact  patricia-data\r\n"));
   EXPECT_THAT(terminal.type("\x03"), HasSubstr("^C"));
   EXPECT_THAT(terminal.type("zzz\t\x03"), HasSubstr("\x07")) << "a bell where nothing fits";
}

TEST_F(ShellTerminalTest, linesOfBeforeComeBack) {
   {
      ShellTerminal terminal(folder_, {"--table", table_});
      terminal.shown();
      terminal.type("match 10.1.9.9\n");
      terminal.type("quit\n", "\n");
      EXPECT_EQ(0, terminal.end());
   }
   EXPECT_EQ("match 10.1.9.9\nquit\n", Support::contentOf(folder_.path("state/rtrie/history")));
   ShellTerminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("\x1b[A\x1b[A\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan"));
   ShellTerminal without(folder_, {"--table", table_, "--no-history"});
   EXPECT_THAT(without.shown(), Not(HasSubstr("istory")));
   without.type("walk 10.1.2.0/24\n");
   EXPECT_THAT(Support::contentOf(folder_.path("state/rtrie/history")), Not(HasSubstr("walk")));
}

TEST_F(ShellTerminalTest, historyThatCannotBeKeptIsTold) {
   folder_.file("state", "a file, and no folder");
   ShellTerminal terminal(folder_, {"--table", table_});
   EXPECT_THAT(terminal.shown(), HasSubstr("History is not kept: cannot write "));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("lan\r\n"));
}

TEST_F(ShellTerminalTest, ctrlCDropsTheLine) {
   ShellTerminal terminal(folder_, {"--table", table_});
   terminal.shown();
   EXPECT_THAT(terminal.type("unload ta\x03"), HasSubstr("^C"));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("10.1.9.9/32  10.1.0.0/16  lan\r\n"));
}

// Between a command and the next line the terminal makes a signal of Ctrl-C, and so does who sends one.
TEST_F(ShellTerminalTest, anInterruptAtThePromptEndsNothing) {
   ShellTerminal terminal(folder_, {"--table", table_});
   terminal.shown();
   for (int i = 0; i < 20; ++i) {
      ASSERT_THAT(terminal.type("match 10.1.9.9\n", "lan\r\n"), HasSubstr("lan\r\n"));
      terminal.signal(SIGINT);
   }
   ASSERT_THAT(terminal.type("match 10.1.9.9\n", "lan\r\n"), HasSubstr("lan\r\n"));
   terminal.shown();
   EXPECT_THAT(terminal.type("\x03", "^C"), HasSubstr("^C"));
   EXPECT_THAT(terminal.type("match 10.0.9.9\n", "10.0.0.0/8"), HasSubstr("10.0.0.0/8"));
}

TEST_F(ShellTerminalTest, ctrlCEndsWhatACommandPrints) {
   std::string routes;
   for (int i = 0; i < 65'536; ++i) {
      routes += fmt::format("10.{}.{}.0/24 {}\n", i / 256, i % 256, i);
   }
   ShellTerminal terminal(folder_, {"--table", folder_.file("large", routes)});
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
      ShellTerminal terminal(folder_, {"--table", table_});
      terminal.shown();
      EXPECT_THAT(terminal.type("diff " + other + "\n"), HasSubstr("\x1b[31m- 10.0.0.0/8 ten"));
      EXPECT_THAT(terminal.type("diff " + other + " | cat\n"), Not(HasSubstr("\x1b[31m")));
   }
   ShellTerminal plain(folder_, {"--table", table_}, false);
   plain.shown();
   EXPECT_THAT(plain.type("diff " + other + "\n"), AllOf(HasSubstr("- 10.0.0.0/8 ten"), Not(HasSubstr("\x1b[31m"))));
}

TEST_F(ShellTerminalTest, loadsOnceAndAnswersAtOnce) {
   std::string routes;
   for (int i = 0; i < 65'536; ++i) {
      routes += fmt::format("10.{}.{}.0/24\n", i / 256, i % 256);
   }
   const auto large = folder_.file("large", routes);
   ShellTerminal terminal(folder_, {"--table", large});
   terminal.shown();
   terminal.type("match 10.0.0.1\n");
   std::filesystem::remove(large);
   const auto start = std::chrono::steady_clock::now();
   EXPECT_THAT(terminal.type("match 10.9.9.9\n"), HasSubstr("10.9.9.0/24"));
   EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.5);
}

}  // namespace ShellTerminalTests
}  // namespace Rtrie
