#include "tools/rtrie/shell/Completion.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/rtrie/manual/Manual.h"
#include "tools/rtrie/shell/ShellCommands.h"
#include "tools/rtrie/shell/ShellLine.h"

namespace Rtrie {
namespace {

void addThat(std::vector<CompletedWord>& words, std::string_view begin, std::string_view text) {
   if (text.starts_with(begin)) {
      words.push_back({std::string(text), true});
   }
}

void addFiles(std::vector<CompletedWord>& words, const std::string& begin) {
   const auto slash = begin.rfind('/');
   const std::string folder = slash == std::string::npos ? "" : begin.substr(0, slash + 1);
   const std::string name = begin.substr(folder.size());
   std::error_code fault;  // a folder that can't be read has nothing to offer
   std::vector<CompletedWord> found;
   for (std::filesystem::directory_iterator at(folder.empty() ? "." : folder, fault), end; !fault && at != end;
        at.increment(fault)) {
      const std::string file = at->path().filename().string();
      const bool isHidden = file.starts_with('.') && !name.starts_with('.');
      if (file.starts_with(name) && !isHidden) {
         std::error_code unknown;
         const bool isFolder = at->is_directory(unknown);
         found.push_back({folder + file + (isFolder ? "/" : ""), !isFolder});
      }
   }
   std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.text < b.text; });
   words.insert(words.end(), found.begin(), found.end());
}

void addTables(std::vector<CompletedWord>& words, const std::string& begin, const Session& session) {
   for (const auto& each : session.all()) {
      addThat(words, begin, each.name);
   }
}

void addPrefixes(std::vector<CompletedWord>& words, const std::string& begin, const Session& session) {
   if (const auto* used = session.used()) {
      const auto prefixes = completedPrefixes(begin, used->tables->payloads().routes());
      words.insert(words.end(), prefixes.begin(), prefixes.end());
   }
}

// What an option or an operand takes.
void addArguments(std::vector<CompletedWord>& words, const ManualOption& option, const std::string& begin,
                  const Session& session) {
   for (const std::string& value : option.values) {
      addThat(words, begin, value);
   }
   if (option.takesPrefix()) {
      addPrefixes(words, begin, session);
   }
   if (option.takesTable()) {
      addTables(words, begin, session);
   }
   if (option.takesFile()) {
      addFiles(words, begin);
      std::sort(words.begin(), words.end(), [](const auto& a, const auto& b) { return a.text < b.text; });
      words.erase(std::unique(words.begin(), words.end()), words.end());  // tables go by the name of their file
   }
   if (option.argument == "COMMAND") {
      for (const std::string& name : shellWords()) {
         addThat(words, begin, name);
      }
   }
}

void addToCommand(Completion& completion, const std::vector<std::string>& before, const std::string& begin,
                  const Session& session) {
   const auto called = commandCalled(before.front());
   if (!called) {
      return;
   }
   auto& words = completion.words;
   const Manual manual = manualOf(*called->command);
   const auto* last = manual.option(before.back());
   if (before.size() > 1 && last != nullptr && !last->argument.empty()) {
      addArguments(words, *last, begin, session);
      return;
   }
   if (const auto equals = begin.find('='); begin.starts_with("--") && equals != std::string::npos) {
      if (const auto* option = manual.option(begin.substr(0, equals)); option != nullptr) {
         addArguments(words, *option, begin.substr(equals + 1), session);
         completion.begin += equals + 1;
      }
      return;
   }
   if (begin.starts_with('-')) {
      for (const ManualOption& option : manual.options) {
         for (const std::string& name : option.names) {
            addThat(words, begin, name);
         }
      }
      return;
   }
   if (!manual.operands.empty()) {
      addArguments(words, manual.operands.front(), begin, session);
   }
}

}  // namespace

std::string Completion::common() const {
   if (words.empty()) {
      return "";
   }
   std::string_view shared = words.front().text;
   for (const CompletedWord& word : words) {
      const auto end = std::mismatch(shared.begin(), shared.end(), word.text.begin(), word.text.end()).first;
      shared = shared.substr(0, static_cast<std::size_t>(end - shared.begin()));
   }
   const std::string quoted = shared.empty() ? "" : quotedForShell(shared);
   return quoted + (words.size() == 1 && words.front().isWhole ? " " : "");
}

Completion completionOf(std::string_view line, const Session& session) {
   // A mark behind the line shows whether the cursor stands in a word or behind one.
   const ShellLine parts = ShellLine::of(std::string(line) + '\x01');
   Completion completion{line.size(), {}};
   if (!parts.pipe.empty() || parts.words.empty()) {
      return completion;
   }
   std::string begin;
   auto before = parts.texts();
   if (!parts.file.empty()) {
      if (parts.file.ends_with('\x01')) {
         begin = parts.file.substr(0, parts.file.size() - 1);
         completion.begin = line.size() - begin.size();
         addFiles(completion.words, begin);
      }
      return completion;
   }
   begin = before.back().substr(0, before.back().size() - 1);
   before.pop_back();
   completion.begin = parts.words.back().begin;
   if (!before.empty()) {
      addToCommand(completion, before, begin, session);
      return completion;
   }
   for (const std::string& name : shellWords()) {
      addThat(completion.words, begin, name);
   }
   return completion;
}

}  // namespace Rtrie
