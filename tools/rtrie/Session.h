// Session: what commands run in, and where they get their tables. A command that was started by itself has a session of its own,
// reads the tables that its options name, and standard input is its own. Within a shell all commands share one, that has tables
// which are read already, by name; standard input is the shell's.
//
// Tested by tests/tools/rtrie/SessionTest.cpp and ShellTest.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "routetrie/platform/Types.h"
#include "tools/rtrie/LoadedTables.h"
#include "tools/tables/TableLoader.h"

namespace Rtrie {

// What a command reads of standard input, beside a table.
enum class StandardInput : U8 { free, queries, updates };

class Session {
  public:
   enum class Kind : U8 { command, shell };

   // Tables with the name that a shell has them by.
   struct Named {
      std::string name;
      std::vector<std::string> files;
      std::shared_ptr<LoadedTables> tables;
   };
   // What a command asks. faults: of reading it for this command; of what was read before it was told then.
   struct Asked {
      std::shared_ptr<LoadedTables> tables;
      std::uint64_t faults = 0;

      LoadedTables* operator->() const { return tables.get(); }
   };

   explicit Session(Kind kind) : kind_(kind) {}
   Session(const Session&) = delete;
   Session& operator=(const Session&) = delete;

   bool isShell() const { return kind_ == Kind::shell; }

   // The tables that the options name, read for this command, or that a shell has by that name; without a name those that it
   // uses. Raises UsageError if there are none, and what LoadedTables raises.
   Asked tables(const LoadOptions& options, Candidates candidates = Candidates::dropped) const;

   // Raises UsageError if standard input is to be a table more than once, or a table and what the command reads of it; in a
   // shell, if it is to be anything.
   void checkStandardInput(const LoadOptions& options, StandardInput use = StandardInput::free) const;
   // The same of one file that a command reads.
   void checkFile(std::string_view path) const;

   //--- of a shell ---

   // In the order of their names.
   const std::vector<Named>& all() const { return all_; }
   // Those that commands ask; null if there are none.
   const Named* used() const;
   // Reads tables, with all routes of each prefix, and uses them from now on; they take the place of those of that name. An
   // empty name: the files'.
   const Named& load(std::string name, const LoadOptions& options);
   // Each raises UsageError if there are none of that name.
   void use(std::string_view name);
   void unload(std::string_view name);

   // The shell is to end.
   void end() { isOver_ = true; }
   bool isOver() const { return isOver_; }

  private:
   std::vector<Named>::iterator named(std::string_view name);

   const Kind kind_;
   std::vector<Named> all_;
   std::string used_;  // empty: none
   bool isOver_ = false;
};

}  // namespace Rtrie
