// HistoryFile: where it lies, what it keeps, and that it does without.
#include "tools/rtrie/shell/HistoryFile.h"

#include <sys/stat.h>

#include <cstdlib>

#include "Support.h"

namespace Rtrie {
namespace HistoryFileTest {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A variable of the environment for a while.
class Variable {
  public:
   Variable(const char* name, const char* value) : name_(name), had_(std::getenv(name) != nullptr) {
      before_ = had_ ? std::getenv(name) : "";
      if (value != nullptr) {
         setenv(name, value, 1);
      } else {
         unsetenv(name);
      }
   }
   ~Variable() {
      if (had_) {
         setenv(name_, before_.c_str(), 1);
      } else {
         unsetenv(name_);
      }
   }

  private:
   const char* name_;
   bool had_;
   std::string before_;
};

TEST(HistoryFile, liesWhereTheStateOfProgramsLies) {
   const Variable home("HOME", "/home/me");
   {
      const Variable state("XDG_STATE_HOME", "/state");
      EXPECT_EQ("/state/rtrie/history", HistoryFile::defaultPath());
   }
   {
      const Variable state("XDG_STATE_HOME", "relative");
      EXPECT_EQ("/home/me/.local/state/rtrie/history", HistoryFile::defaultPath());
   }
   const Variable state("XDG_STATE_HOME", nullptr);
   EXPECT_EQ("/home/me/.local/state/rtrie/history", HistoryFile::defaultPath());
   const Variable homeless("HOME", nullptr);
   EXPECT_EQ("", HistoryFile::defaultPath());
}

TEST(HistoryFile, keepsLinesForTheOwnerAlone) {
   const Support::Folder folder;
   const auto path = folder.path("new/folders/history");
   {
      HistoryFile history(path);
      EXPECT_THAT(history.lines(), IsEmpty());
      history.add("match 10.0.0.1");
      HistoryFile beside(path);
      beside.add("walk");
      history.add("explain 10.0.0.1");
      EXPECT_EQ("", history.fault());
   }
   EXPECT_THAT(HistoryFile(path).lines(), ElementsAre("match 10.0.0.1", "walk", "explain 10.0.0.1"));
   struct stat found {};
   ASSERT_EQ(0, stat(path.c_str(), &found));
   EXPECT_EQ(0600u, found.st_mode & 0777u);
   ASSERT_EQ(0, stat(folder.path("new").c_str(), &found));
   EXPECT_EQ(0700u, found.st_mode & 0777u);
}

TEST(HistoryFile, keepsTheNewestLines) {
   const Support::Folder folder;
   std::string text;
   for (std::size_t i = 0; i < 2 * HistoryFile::mostLines + 1; ++i) {
      text += "line " + std::to_string(i) + "\n";
   }
   const auto path = folder.file("history", text);
   const HistoryFile history(path);
   EXPECT_EQ(HistoryFile::mostLines, history.lines().size());
   EXPECT_EQ("line 2000", history.lines().back());
   EXPECT_EQ(HistoryFile::mostLines, HistoryFile(path).lines().size());
   EXPECT_EQ(0, Support::contentOf(path).rfind("line 1001\n", 0)) << "the file was cut";
   EXPECT_FALSE(std::filesystem::exists(path + "." + std::to_string(getpid())));
}

TEST(HistoryFile, doesWithoutWhereItMayNotWrite) {
   HistoryFile none("");
   none.add("walk");
   EXPECT_THAT(none.fault(), HasSubstr("neither XDG_STATE_HOME nor HOME"));
   const Support::Folder folder;
   HistoryFile blocked(folder.file("file", "") + "/rtrie/history");
   blocked.add("walk");
   EXPECT_THAT(blocked.fault(), HasSubstr("cannot write "));
   EXPECT_THAT(blocked.lines(), IsEmpty());
}

}  // namespace HistoryFileTest
}  // namespace Rtrie
