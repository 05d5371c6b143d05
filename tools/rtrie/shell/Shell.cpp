#include "tools/rtrie/shell/Shell.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "tools/rtrie/CommandLine.h"
#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Output.h"
#include "tools/rtrie/shell/Redirection.h"
#include "tools/rtrie/shell/ShellCommands.h"
#include "tools/rtrie/shell/ShellLine.h"
#include "tools/tables/Interrupt.h"
#include "tools/tables/Messages.h"

namespace Rtrie {

bool Shell::run(std::string_view line, std::string_view where) {
   const auto failed = [&](std::string_view what) {
      say(fmt::format("{}{}", where, what));
      return false;
   };
   try {
      return runWords(line);
   } catch (const Interrupted&) {
      return false;  // whoever did it knows
   } catch (const std::bad_alloc&) {
      return failed("out of memory");
   } catch (const std::exception& error) {
      return failed(error.what());
   }
}

bool Shell::runWords(std::string_view text) {
   const ShellLine line = ShellLine::of(text);
   if (!line.fault.empty()) {
      throw UsageError(line.fault);
   }
   auto words = line.texts();
   if (words.empty()) {
      if (!line.file.empty() || !line.pipe.empty()) {
         throw UsageError("no command whose output could go there");
      }
      return true;
   }
   const auto called = commandCalled(words.front());
   if (!called) {
      throw UsageError(fmt::format("unknown command \"{}\": help tells those that there are", words.front()));
   }
   words.erase(words.begin());
   words.insert(words.begin(), called->arguments.begin(), called->arguments.end());

   const CommandAlone command = commandInShell(*called->command);
   Redirection redirection(line);
   ExitStatus status = ExitStatus::ok;
   try {
      if (parse(*command.app, words)) {
         status = command.run(session_);
      }
   } catch (const ReaderGone&) {  // had enough, or ends with a status of its own
   }
   // Help is printed by way of the standard library.
   std::cout.flush();
   std::fflush(stdout);
   return redirection.end() &&
          (status == ExitStatus::ok || (status == ExitStatus::badData && called->command->answersByStatus));
}

}  // namespace Rtrie
