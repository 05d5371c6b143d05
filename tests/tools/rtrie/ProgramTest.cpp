// Program: help, version, bad usage, a full output, and the progress bar on a terminal.
#include "tools/rtrie/Program.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "Support.h"

namespace Rtrie {
namespace ProgramTest {

using Support::Ran;
using Support::rtrie;
using testing::AllOf;
using testing::HasSubstr;

TEST(Program, version) {
   const Ran ran = rtrie({"--version"});
   EXPECT_EQ("rtrie " RTRIE_VERSION "\n", ran.out);
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(0, ran.status);
}

TEST(Program, helpHasAnExample) {
   const Ran program = rtrie({"--help"});
   EXPECT_THAT(program.out, AllOf(HasSubstr("lookup"), HasSubstr("stats"), HasSubstr("bgpdump"),
                                  HasSubstr("Example:\n  rtrie lookup --table")));
   EXPECT_THAT(program.out,
               HasSubstr("Exit status:\n  0                 all was answered\n  1                 some input was "
                         "bad, and the rest was answered\n  2  "));
   EXPECT_EQ(0, program.status);
   const Ran lookup = rtrie({"lookup", "--help"});
   EXPECT_THAT(lookup.out,
               AllOf(HasSubstr("--table FILE"), HasSubstr("--engine ENGINE=auto"), HasSubstr("--op OP=match"),
                     HasSubstr("--format"), HasSubstr("--strict"), HasSubstr("QUERY"), HasSubstr("patricia-compact"),
                     HasSubstr("Example:\n  rtrie lookup --table")));
   EXPECT_THAT(lookup.out, HasSubstr("\n\nExit status:\n  0                 all was answered\n"));
   EXPECT_EQ(0, lookup.status);
   const Ran stats = rtrie({"stats", "--help"});
   EXPECT_THAT(stats.out, AllOf(HasSubstr("--table FILE"), HasSubstr("Example:\n  rtrie stats --table")));
   EXPECT_EQ(0, stats.status);
   EXPECT_EQ("", program.err + lookup.err + stats.err);
}

TEST(Program, badUsageIsOneLine) {
   const Ran none = rtrie({});
   EXPECT_THAT(none.err, testing::StartsWith("rtrie: a command is required: known are lookup, explain, "));
   EXPECT_EQ(2, none.status);
   const Ran unknown = rtrie({"look"});
   EXPECT_THAT(unknown.err, testing::StartsWith("rtrie: unknown command \"look\": known are lookup, explain, "));
   EXPECT_EQ(2, unknown.status);
   for (const auto& arguments :
        std::vector<std::vector<std::string>>{{"look", "--loud"}, {"--loud"}, {"lookup", "stats"}, {"stats"}}) {
      const Ran ran = rtrie(arguments);
      EXPECT_EQ("", ran.out);
      EXPECT_EQ(1, std::count(ran.err.begin(), ran.err.end(), '\n')) << ran.err;
      EXPECT_THAT(ran.err, testing::StartsWith("rtrie: "));
      EXPECT_EQ(2, ran.status);
   }
}

// Runs the program in a terminal of its own with a table from a pipe that takes its time; returns all that it
// wrote to the terminal.
std::string onATerminal(bool slow) {
   int table[2];
   if (pipe2(table, O_CLOEXEC) != 0) {
      return "no pipe";
   }
   int terminal = -1;
   const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
   if (child == 0) {
      dup2(table[0], STDIN_FILENO);
      execl(RTRIE_PROGRAM, "rtrie", "lookup", "--table", "-", "--format", "tsv", "10.0.0.1", nullptr);
      _exit(127);
   }
   close(table[0]);
   std::thread writer([&] {
      std::string lines = "10.0.0.0/8\n";
      for (int i = 0; i < (slow ? 2048 : 10); ++i) {
         lines += "# a line\n";
      }
      for (int i = 0; i < (slow ? 60 : 1); ++i) {
         if (write(table[1], lines.data(), lines.size()) < 0) {
            break;
         }
         if (i == 0) {
            lines.erase(0, lines.find('\n') + 1);  // the one route was told
         }
         if (slow) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
         }
      }
      close(table[1]);
   });
   std::string seen;
   std::string part(4096, '\0');
   for (;;) {
      const ssize_t got = read(terminal, part.data(), part.size());
      if (got <= 0) {
         break;  // EIO once the program has gone
      }
      seen.append(part, 0, static_cast<std::size_t>(got));
   }
   writer.join();
   int status = -1;
   waitpid(child, &status, 0);
   close(terminal);
   return status == 0 ? seen : "failed";
}

TEST(Program, aBarWhileALongTableLoadsOnATerminal) {
   const std::string seen = onATerminal(true);
   EXPECT_THAT(seen, testing::ContainsRegex("\r<stdin>  [0-9]+,[0-9]+ lines"));
   EXPECT_THAT(seen, testing::EndsWith("\r\x1b[K10.0.0.1/32\t10.0.0.0/8\r\n"));
}

TEST(Program, noBarForAShortTable) { EXPECT_EQ("10.0.0.1/32\t10.0.0.0/8\r\n", onATerminal(false)); }

TEST(Program, aFullOutputIsAFault) {
   const Support::Folder folder;
   const auto table = folder.file("table", "10.0.0.0/8\n");
   const auto errors = folder.file("errors", "");
   const std::string command =
      std::string(RTRIE_PROGRAM) + " lookup --table " + table + " 10.0.0.1 >/dev/full 2>" + errors;
   const int status = std::system(command.c_str());
   EXPECT_EQ(3, WEXITSTATUS(status));
   EXPECT_EQ("rtrie: cannot write the output: No space left on device\n", Support::contentOf(errors));
}

}  // namespace ProgramTest
}  // namespace Rtrie
