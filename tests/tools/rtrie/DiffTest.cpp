// DiffCommand: the program, comparing two tables.
#include "tools/rtrie/commands/DiffCommand.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <map>
#include <random>

#include "Support.h"
#include "tools/tables/AddressNumber.h"

namespace Rtrie {
namespace DiffTest {

using Support::Ran;
using Support::rtrie;
using testing::HasSubstr;

class Diff : public testing::Test {
  protected:
   Ran diff(std::vector<std::string> arguments, std::string_view input = "") const {
      arguments.insert(arguments.begin(), "diff");
      return rtrie(arguments, input);
   }

   Support::Folder folder_;
   std::string a_ = folder_.file("a",
                                 "0.0.0.0/0 up\n10.0.0.0/8 old\n10.1.0.0/16\n10.2.0.0/16 same\n"
                                 "2001:db8::/32 docs\n");
   std::string b_ = folder_.file("b",
                                 "10.2.0.0/16 same\n10.0.0.0/8 new\n0.0.0.0/0 up\n10.3.0.0/16\n"
                                 "2001:db8::/32 docs\n2001:db8:1::/48 a, b\n");
};

TEST_F(Diff, tellsWhatIsInOneAloneAndWhatHasAnotherPayload) {
   const Ran ran = diff({a_, b_});
   EXPECT_EQ("", ran.err);
   EXPECT_EQ(
      "- 10.0.0.0/8 old\n"
      "+ 10.0.0.0/8 new\n"
      "- 10.1.0.0/16\n"
      "+ 10.3.0.0/16\n"
      "+ 2001:db8:1::/48 a, b\n",
      ran.out);
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(
      "replace\t10.0.0.0/8\told\tnew\n"
      "delete\t10.1.0.0/16\t\t\n"
      "add\t10.3.0.0/16\t\t\n"
      "add\t2001:db8:1::/48\t\ta, b\n",
      diff({a_, b_, "--format", "tsv"}).out);
   EXPECT_EQ(
      "change,prefix,old,new\n"
      "replace,10.0.0.0/8,old,new\n"
      "delete,10.1.0.0/16,,\n"
      "add,10.3.0.0/16,,\n"
      "add,2001:db8:1::/48,,\"a, b\"\n",
      diff({a_, b_, "--format", "csv"}).out);
   EXPECT_EQ(
      "{\"change\":\"replace\",\"prefix\":\"10.0.0.0/8\",\"old\":\"old\",\"new\":\"new\"}\n"
      "{\"change\":\"delete\",\"prefix\":\"10.1.0.0/16\",\"old\":\"\",\"new\":null}\n"
      "{\"change\":\"add\",\"prefix\":\"10.3.0.0/16\",\"old\":null,\"new\":\"\"}\n"
      "{\"change\":\"add\",\"prefix\":\"2001:db8:1::/48\",\"old\":null,\"new\":\"a, b\"}\n",
      diff({a_, b_, "--format", "json"}).out);
}

TEST_F(Diff, theSameTableIsNoDifference) {
   const Ran ran = diff({a_, a_});
   EXPECT_EQ("", ran.out + ran.err);
   EXPECT_EQ(0, ran.status);
   const Ran input = diff({a_, "-"}, Support::contentOf(a_));
   EXPECT_EQ("", input.out + input.err);
   EXPECT_EQ(0, input.status);
}

TEST_F(Diff, payloadsMayBeLeftAside) {
   const Ran ran = diff({"--prefixes-only", a_, b_});
   EXPECT_EQ("- 10.1.0.0/16\n+ 10.3.0.0/16\n+ 2001:db8:1::/48 a, b\n", ran.out);
   EXPECT_EQ(1, ran.status);
   EXPECT_EQ(
      0, diff({"--prefixes-only", folder_.file("c", "10.0.0.0/8 x\n"), folder_.file("d", "10.0.0.0/8 y\n")}).status);
}

TEST_F(Diff, troubleIsTwo) {
   const Ran none = diff({a_, folder_.path("none")});
   EXPECT_EQ("", none.out);
   EXPECT_THAT(none.err, HasSubstr("none: "));
   EXPECT_EQ(2, none.status);
   const Ran empty = diff({a_, folder_.file("empty", "")});
   EXPECT_THAT(empty.err, HasSubstr("empty: the table has no routes\n"));
   EXPECT_EQ(2, empty.status);
   // What could not be read might have been the same.
   const Ran bad = diff({a_, folder_.file("bad", Support::contentOf(a_) + "10.0.0.0/33\n")});
   EXPECT_EQ("", bad.out);
   EXPECT_THAT(bad.err, HasSubstr("bad:6: prefix length 33 exceeds 32: \"10.0.0.0/33\"\n"));
   EXPECT_EQ(2, bad.status);
   for (const auto& arguments :
        std::vector<std::vector<std::string>>{{a_}, {a_, b_, a_}, {"-", "-"}, {a_, b_, "--format", "xml"}}) {
      const Ran usage = diff(arguments);
      EXPECT_EQ("", usage.out);
      EXPECT_EQ(1, std::count(usage.err.begin(), usage.err.end(), '\n')) << usage.err;
      EXPECT_EQ(2, usage.status);
   }
   const Ran help = diff({"--help"});
   EXPECT_THAT(help.out, HasSubstr("Exit status:\n  0                 the tables have the same routes\n"));
   EXPECT_EQ(0, help.status);
}

// What diff prints, watch takes: A becomes B.
TEST_F(Diff, isAStreamOfUpdates) {
   std::mt19937 random(5);
   std::map<std::string, std::string> tables[2];
   for (auto& table : tables) {
      for (unsigned i = 0; i < 400; ++i) {
         const auto length = static_cast<U8>(random() % 9);
         const U32 bits = length == 0 ? 0 : static_cast<U32>(random()) >> (32 - length) << (32 - length);
         const auto prefix = random() % 2 == 0 ? prefixOf(bits, length) : prefixOf(Corenet::U128{bits} << 96, length);
         table[prefix.stringValue()] = random() % 3 == 0 ? "" : fmt::format("p{}", random() % 4);
      }
   }
   std::string files[2];
   for (int i = 0; i < 2; ++i) {
      std::string text;
      for (const auto& [prefix, payload] : tables[i]) {
         text += prefix + " " + payload + "\n";
      }
      files[i] = folder_.file(fmt::format("table{}", i), text);
   }
   const Ran json = diff({files[0], files[1], "--format", "json"});
   auto applied = tables[0];
   std::istringstream lines(json.out);
   for (std::string line; std::getline(lines, line);) {
      const auto change = nlohmann::json::parse(line);
      const std::string prefix = change["prefix"];
      ASSERT_EQ(change["old"].is_null(), !applied.contains(prefix));
      if (change["new"].is_null()) {
         applied.erase(prefix);
      } else {
         ASSERT_NE(change["old"], change["new"]);
         applied[prefix] = change["new"];
      }
   }
   EXPECT_EQ(tables[1], applied);
   EXPECT_EQ(1, json.status);

   const Ran text = diff({files[0], files[1]});
   const Ran watch = rtrie({"watch", "--table", files[0]}, text.out);
   EXPECT_EQ("", watch.err);
   EXPECT_EQ(0, watch.status);
   EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'),
             std::count(watch.out.begin(), watch.out.end(), '\n'));
   EXPECT_THAT(watch.out, testing::Not(HasSubstr("absent")));
}

// What it prints on a terminal.
std::string onATerminal(const std::string& a, const std::string& b, const char* noColour, const char* kind) {
   int terminal = -1;
   const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
   if (child == 0) {
      setenv("NO_COLOR", noColour, 1);
      setenv("TERM", kind, 1);
      execl(RTRIE_PROGRAM, "rtrie", "diff", a.c_str(), b.c_str(), nullptr);
      _exit(127);
   }
   std::string seen;
   std::string part(4096, '\0');
   for (ssize_t got = 1; got > 0;) {
      got = read(terminal, part.data(), part.size());
      seen.append(part, 0, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
   }
   waitpid(child, nullptr, 0);
   close(terminal);
   return seen;
}

TEST_F(Diff, coloursOnATerminalAlone) {
   const auto c = folder_.file("c", "10.0.0.0/8 x\n");
   const auto d = folder_.file("d", "10.0.0.0/8 y\n");
   EXPECT_EQ("\x1b[31m- 10.0.0.0/8 x\x1b[m\r\n\x1b[32m+ 10.0.0.0/8 y\x1b[m\r\n", onATerminal(c, d, "", "xterm"));
   EXPECT_EQ("- 10.0.0.0/8 x\r\n+ 10.0.0.0/8 y\r\n", onATerminal(c, d, "1", "xterm"));
   EXPECT_EQ("- 10.0.0.0/8 x\r\n+ 10.0.0.0/8 y\r\n", onATerminal(c, d, "", "dumb"));
   EXPECT_EQ("- 10.0.0.0/8 x\n+ 10.0.0.0/8 y\n", diff({c, d}).out);
}

}  // namespace DiffTest
}  // namespace Rtrie
