// Manual: what help says by its parts; man pages that say it too, and are valid; completion in bash and zsh.
#include "tools/rtrie/manual/Manual.h"

#include <sys/wait.h>

#include <cstdlib>
#include <regex>

#include "Support.h"
#include "Terminal.h"
#include "tools/rtrie/CommandLine.h"
#include "tools/rtrie/Engine.h"
#include "tools/rtrie/Op.h"
#include "tools/rtrie/Registry.h"
#include "tools/rtrie/manual/CompletionScripts.h"
#include "tools/rtrie/manual/ManPage.h"

namespace Rtrie {
namespace ManualTest {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string manualFolder = RTRIE_MANUAL;

const Command& commandNamed(std::string_view name) { return rowNamed(commands(), "command", name); }

TEST(Manual, partsOfTheHelp) {
   const Manual lookup = manualOf(commandNamed("lookup"));
   EXPECT_EQ("rtrie lookup", lookup.name);
   EXPECT_EQ(commandNamed("lookup").summary, lookup.summary);
   const auto* table = lookup.option("--table");
   ASSERT_NE(nullptr, table);
   EXPECT_EQ("FILE|kernel:[NAME]", table->argument);
   EXPECT_THAT(table->values, ElementsAre("kernel:"));
   EXPECT_TRUE(table->isRequired && table->isRepeated && table->takesFile());
   const auto* vrf = lookup.option("--vrf");
   ASSERT_NE(nullptr, vrf);
   EXPECT_THAT(vrf->names, ElementsAre("--route-table", "--vrf"));
   EXPECT_THAT(vrf->values, ElementsAre("all"));
   EXPECT_FALSE(vrf->isRequired || vrf->isRepeated);
   EXPECT_EQ("refuse|mask", lookup.option("--host-bits")->argument) << "without what checks it";
   EXPECT_THAT(lookup.option("--host-bits")->values, ElementsAre("refuse", "mask"));
   EXPECT_EQ("", lookup.option("--strict")->argument);
   EXPECT_EQ("match", lookup.option("--op")->defaultValue);
   EXPECT_EQ(ops().size(), lookup.option("--op")->values.size());
   EXPECT_EQ(engines().size(), lookup.option("--engine")->values.size());
   EXPECT_THAT(lookup.option("--format")->values, ElementsAre("text", "tsv", "tsv-payload", "csv", "json"));
   EXPECT_EQ(nullptr, lookup.option("--none"));
   ASSERT_EQ(1u, lookup.operands.size());
   EXPECT_TRUE(lookup.operands[0].takesPrefix() && lookup.operands[0].isRepeated && !lookup.operands[0].isRequired);
   EXPECT_THAT(lookup.section("Example")->lines, testing::Each(testing::StartsWith("  rtrie lookup")));
   EXPECT_EQ(4u, lookup.section("Exit status")->lines.size());
   EXPECT_EQ(nullptr, lookup.section("None"));
   EXPECT_EQ(engines().size(), manualOf(commandNamed("verify")).option("--engine")->values.size());
   EXPECT_THAT(manualOf(commandNamed("diff")).operands, testing::SizeIs(2));
   EXPECT_EQ("", manualOf(commandNamed("dump")).sections[0].title) << "a paragraph";
}

TEST(Manual, terms) {
   EXPECT_EQ("a b", termOf("  a b   what it is").name);
   EXPECT_EQ("what it is", termOf("  a b   what it is").text);
   EXPECT_EQ("", termOf("      it goes on").name);
   EXPECT_EQ("it goes on", termOf("      it goes on").text);
   EXPECT_EQ("", termOf("  no gap").name);
   EXPECT_EQ("no gap", termOf("  no gap").text);
   EXPECT_EQ("", termOf("   ").text);
}

// The page's text without what is for roff alone.
std::string plain(std::string page) {
   page = std::regex_replace(page, std::regex(R"(\\f[BIR]|\\&)"), "");
   for (const auto& [escape, text] :
        {std::pair{"\\-", "-"}, {"\\(aq", "'"}, {"\\(ga", "`"}, {"\\(ha", "^"}, {"\\(ti", "~"}, {"\\e", "\\"}}) {
      for (auto at = page.find(escape); at != std::string::npos; at = page.find(escape, at + 1)) {
         page.replace(at, std::string_view(escape).size(), text);
      }
   }
   return page;
}

// Whatever help tells is in the page, word by word.
TEST(Manual, pagesSayWhatHelpSays) {
   for (const Command& command : commands()) {
      const Manual manual = manualOf(command);
      const std::string page = plain(Support::contentOf(manualFolder + "/man1/" + pageName(manual) + ".1"));
      SCOPED_TRACE(manual.name);
      CLI::App app{std::string(command.summary)};
      addCommand(command, app);
      for (const CLI::Option* option : app.get_options()) {
         EXPECT_THAT(page, HasSubstr(option->get_description()));
         for (const auto& name : option->get_lnames()) {
            EXPECT_THAT(page, HasSubstr("--" + name));
         }
      }
      std::istringstream footer(app.get_footer());
      for (std::string line; std::getline(footer, line);) {
         if (line.ends_with(':') && !line.starts_with(' ')) {
            continue;  // a title, in capitals
         }
         const auto term = termOf(line);
         EXPECT_THAT(page, AllOf(HasSubstr(std::string(term.name)), HasSubstr(std::string(term.text))));
      }
   }
   const std::string page = plain(Support::contentOf(manualFolder + "/man1/rtrie.1"));
   for (const Command& command : commands()) {
      EXPECT_THAT(page, AllOf(HasSubstr("\n" + std::string(command.name) + "\n" + std::string(command.summary)),
                              HasSubstr(".BR rtrie-" + std::string(command.name) + " (1)")));
   }
   EXPECT_THAT(page, HasSubstr("prefix-list-json"));
}

TEST(Manual, pagesAreForEachCommandAndNoOther) {
   std::vector<std::string> pages;
   for (const auto& file : std::filesystem::directory_iterator(manualFolder + "/man1")) {
      pages.push_back(file.path().filename());
   }
   EXPECT_EQ(commands().size() + 1, pages.size());
   EXPECT_THAT(pages, AllOf(Contains("rtrie.1"), Contains("rtrie-lookup.1"), Contains("rtrie-shell.1")));
}

bool isThere(const std::string& program) {
   return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

// What the command line prints, in both streams.
std::string printedBy(const std::string& command) {
   const Support::Folder folder;
   const auto out = folder.path("out");
   const int status = std::system((command + " >" + out + " 2>&1").c_str());
   return Support::contentOf(out) + (status == 0 ? "" : fmt::format("(status {})", WEXITSTATUS(status)));
}

// What the build found to read and to complete with: CMakeLists.txt tells of each that is missing.
#if defined(RTRIE_TEST_GROFF)
TEST(Manual, groffFindsNoFaultInThePages) {
   EXPECT_EQ("", printedBy("for page in " + manualFolder + "/man1/*.1; do groff -man -Tutf8 -ww -z \"$page\"; done"));
}
#endif
#if defined(RTRIE_TEST_MANDOC)
TEST(Manual, mandocFindsNoFaultInThePages) {
   EXPECT_EQ("", printedBy("for page in " + manualFolder + "/man1/*.1; do mandoc -Tlint -Wwarning \"$page\"; done"));
}
#endif

TEST(Manual, whatRoffWouldReadAsItsOwnIsPrinted) {
   Manual manual;
   manual.name = "rtrie odd";
   manual.summary = "Prints 'odd' things";
   manual.sections = {{"", {".br is no request", "'nor this \\fBone -- ^ ~ `"}}, {"Examples", {"  .x | y\\n"}}};
   const std::string page = manPage(manual, {"1", "2026-11-22", {"rtrie"}});
   EXPECT_THAT(
      page, AllOf(HasSubstr("\\&.br is no request\n"), HasSubstr("\\(aqnor this \\efBone \\-\\- \\(ha \\(ti \\(ga\n"),
                  HasSubstr("\\&.x | y\\en\n")));
   if (isThere("mandoc")) {
      const Support::Folder folder;
      EXPECT_THAT(
         printedBy("mandoc -Tutf8 " + folder.file("odd.1", page) + " | col -b"),
         AllOf(HasSubstr(".br is no request"), HasSubstr("'nor this \\fBone -- ^ ~ `"), HasSubstr(".x | y\\n")));
   }
}

// Bash and zsh as somebody has them who types.
class Bash : public Support::Terminal {
  public:
   Bash() : Terminal({"bash", "--norc", "--noprofile", "-i"}, {"PS1=ready> ", "TERM=xterm", "HISTFILE="}, "ready> ") {
      shown();
      type(
         "bind 'set bell-style none'; bind 'set enable-bracketed-paste off'; bind 'set show-all-if-ambiguous on'\n");
      type("source " + manualFolder + "/bash/rtrie\n");
   }
};

class Zsh : public Support::Terminal {
  public:
   Zsh() : Terminal({"zsh", "-f", "-i"}, {"PS1=ready> ", "TERM=dumb"}, "ready> ") {
      shown();
      type("unsetopt beep; setopt no_always_last_prompt; fpath=(" + manualFolder +
           "/zsh $fpath); autoload -U compinit; compinit -u -D\n");
   }
};

// The same in both: keys, and what is to be seen then.
template <class Shell>
void completesAll() {
   const Support::Folder folder;
   folder.file("routes.txt", "");
   const auto sees = [](const std::string& keys, const std::string& text, std::string_view instead = "") {
      Shell shell;
      const std::string seen = shell.type(keys, text);
      EXPECT_THAT(seen, HasSubstr(text)) << keys;
      if (!instead.empty()) {
         EXPECT_THAT(seen, Not(HasSubstr(std::string(instead))));
      }
   };
   sees("rtrie expl\t", "rtrie explain ");
   sees("rtrie lookup --engine multi\t", "rtrie lookup --engine multibit ");
   sees("rtrie lookup --engine=multi\t", "rtrie lookup --engine=multibit");
   sees("rtrie lookup --engine patr\t\t", "patricia-compact");
   sees("rtrie walk --format tsv-\t", "rtrie walk --format tsv-payload ");
   sees("rtrie map --by ag\t", "rtrie map --by age");
   sees("rtrie free --wit\t", "rtrie free --within");
   sees("rtrie walk --table " + folder.path("rou") + "\t", folder.path("routes.txt"));
   sees("rtrie diff " + folder.path("rou") + "\t", folder.path("routes.txt"));
   sees("rtrie verify --vers\t --engine inter\t--op\x15 echo done\n", "done", "--version");
   sees("rtrie --vers\t", "rtrie --version ");
}

TEST(Manual, bashCompletes) { completesAll<Bash>(); }

#if defined(RTRIE_TEST_ZSH)
TEST(Manual, zshCompletes) { completesAll<Zsh>(); }
#endif

}  // namespace ManualTest
}  // namespace Rtrie
