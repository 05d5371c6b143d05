// The shell on a terminal in a build that cannot edit lines: it says so, and answers.
#include "Support.h"
#include "Terminal.h"

namespace Rtrie {
namespace LineEditorAbsentTest {

using testing::AllOf;
using testing::HasSubstr;

TEST(LineEditorAbsent, saysSoAndAnswers) {
   const Support::Folder folder;
   Support::Terminal terminal(
      {RTRIE_PROGRAM, "shell", "--no-history", "--table", folder.file("t", "10.0.0.0/8 ten\n")}, {"TERM=xterm"},
      "rtrie> ");
   EXPECT_THAT(terminal.shown(), AllOf(HasSubstr("1 routes of "), HasSubstr("built without libedit")));
   EXPECT_THAT(terminal.type("match 10.1.9.9\n"), HasSubstr("10.1.9.9/32  10.0.0.0/8  ten\r\n"));
   EXPECT_THAT(terminal.type("half a line\x03"), HasSubstr("\r\n")) << "Ctrl-C drops it";
   EXPECT_THAT(terminal.type("match 11.0.0.0\n"), HasSubstr("11.0.0.0/32  -\r\n"));
   terminal.type("\x04", "\r\n");
   EXPECT_EQ(0, terminal.end());
}

}  // namespace LineEditorAbsentTest
}  // namespace Rtrie
