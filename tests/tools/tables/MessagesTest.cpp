// Messages: one line, whatever the text.
#include "tools/tables/Messages.h"

#include "Support.h"

namespace Rtrie {
namespace MessagesTest {

TEST(Messages, oneLineWithTheProgramsName) {
   EXPECT_EQ("rtrie: a:12: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n",
             messageLine("a:12: prefix length 33 exceeds 32: \"10.0.0.0/33\""));
}

TEST(Messages, anotherProgramSpeaksUnderItsOwnName) {
   speakerIs("routetrie-bench");
   const auto line = messageLine("table: the table has no routes");
   speakerIs("rtrie");
   EXPECT_EQ("routetrie-bench: table: the table has no routes\n", line);
   EXPECT_EQ("rtrie: x\n", messageLine("x"));
}

TEST(Messages, controlCharactersAreSpelledOut) {
   EXPECT_EQ("rtrie: a\\x0ab\\x1b[31m\\x7f\\x00\n", messageLine(std::string_view("a\nb\x1b[31m\x7f\0", 10)));
   EXPECT_EQ("rtrie: caf\xc3\xa9\n", messageLine("caf\xc3\xa9"));
}

TEST(Messages, longTextIsCut) {
   EXPECT_EQ("rtrie: " + std::string(400, 'x') + "...\n", messageLine(std::string(401, 'x')));
   EXPECT_EQ("rtrie: " + std::string(400, 'x') + "\n", messageLine(std::string(400, 'x')));
}

}  // namespace MessagesTest
}  // namespace Rtrie
