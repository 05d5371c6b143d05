// rtrie-manual FOLDER VERSION DATE: writes what is installed beside the command, and says what the command's own help says: man1/ with a
// page for each command, bash/rtrie and zsh/_rtrie. The build runs it; it is not installed.
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/rtrie/manual/CompletionScripts.h"
#include "tools/rtrie/manual/ManPage.h"
#include "tools/rtrie/manual/Manual.h"

namespace {

void write(const std::filesystem::path& path, const std::string& text) {
   std::filesystem::create_directories(path.parent_path());
   std::ofstream file(path, std::ios::binary);
   file << text;
   file.close();
   if (!file) {
      throw std::runtime_error(fmt::format("cannot write {}", path.string()));
   }
}

void writeAll(const std::filesystem::path& folder, const char* version, const char* date) {
   const Rtrie::Manual program = Rtrie::manualOfProgram();
   std::vector<Rtrie::Manual> commands;
   std::vector<std::string> names = {pageName(program)};
   for (const Rtrie::Command& command : Rtrie::commands()) {
      commands.push_back(Rtrie::manualOf(command));
      names.push_back(pageName(commands.back()));
   }
   // A page of a command that is gone shall not be installed.
   std::filesystem::remove_all(folder / "man1");
   const Rtrie::ManPageOf page{version, date, names};
   write(folder / "man1" / (pageName(program) + ".1"), manPage(program, page));
   for (const Rtrie::Manual& command : commands) {
      Rtrie::ManPageOf its = page;
      its.others = {"rtrie"};
      write(folder / "man1" / (pageName(command) + ".1"), manPage(command, its));
   }
   write(folder / "bash" / "rtrie", bashCompletion(program, commands));
   write(folder / "zsh" / "_rtrie", zshCompletion(program, commands));
}

}  // namespace

int main(int argc, char** argv) {
   if (argc != 4) {
      std::fprintf(stderr, "usage: rtrie-manual FOLDER VERSION DATE\n");
      return 2;
   }
   try {
      writeAll(argv[1], argv[2], argv[3]);
   } catch (const std::exception& fault) {
      std::fprintf(stderr, "rtrie-manual: %s\n", fault.what());
      return 1;
   }
   return 0;
}
