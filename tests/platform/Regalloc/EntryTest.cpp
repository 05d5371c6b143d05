// Entry: what the environment says is read at load time, so the tests run this program anew and ask its exit status.
#include "routetrie/platform/Regalloc/Entry.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

#include "routetrie/platform/Corvid/Util.h"

namespace EntryTest {

using Regalloc::Entry;

struct Ran {
   int status;
   std::string output;
};

// Runs the test that compares the environment with what was settled at load, with the variable set to `value`.
Ran runWith(const std::string& value) {
   const std::string command = fmt::format(
      "REGALLOC_BUFFER_ALIGNMENT_OVERRIDE='{}' /proc/{}/exe --gtest_filter=Entry.isSettledAtLoadByTheEnvironment "
      "2>&1",
      value, getpid());
   std::FILE* const pipe = popen(command.c_str(), "r");
   std::string output;
   std::array<char, 256> piece;
   while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), pipe)) {
      output.append(piece.data(), count);
   }
   return {pclose(pipe), output};
}

U32 byMachine() { return Corvid::Util::isLargeMemorySystem() ? 16 : 8; }

TEST(Entry, isByTheMachine) {
   EXPECT_EQ(byMachine(), U32{1} << Entry::bufferAlignmentLog2);
   EXPECT_EQ(byMachine(), Entry::runtimeBufferAlignment());
}

TEST(Entry, isSettledAtLoadByTheEnvironment) {
   const char* const text = getenv("REGALLOC_BUFFER_ALIGNMENT_OVERRIDE");
   const std::string value = text != nullptr ? text : "";
   EXPECT_EQ(value == "8" ? 8 : value == "16" ? 16 : byMachine(), Entry::BUFFER_ALIGNMENT);
}

TEST(Entry, theEnvironmentMayPickEitherAndAnythingNotANumberIsIgnored) {
   for (const char* value : {"8", "16", "", "0", "x", "00"}) {
      const Ran ran = runWith(value);
      EXPECT_EQ(0, ran.status) << value << ": " << ran.output;
      EXPECT_NE(std::string::npos, ran.output.find("1 test from 1 test suite ran")) << ran.output;
   }
}

TEST(Entry, anyOtherNumberEndsTheProcessAtLoad) {
   for (const char* value : {"12", "-8", "1", "32"}) {
      const Ran ran = runWith(value);
      // The shell tells of the signal by its number and 128.
      ASSERT_TRUE(WIFEXITED(ran.status) || WIFSIGNALED(ran.status));
      EXPECT_EQ(SIGABRT, WIFSIGNALED(ran.status) ? WTERMSIG(ran.status) : WEXITSTATUS(ran.status) - 128) << value;
      EXPECT_NE(std::string::npos,
                ran.output.find("Unsupported buffer alignment override value: " + std::string(value)))
         << ran.output;
      EXPECT_EQ(std::string::npos, ran.output.find("Running main()")) << "the program came to run";
   }
}

}  // namespace EntryTest
