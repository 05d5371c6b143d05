#include "tools/rtrie/Session.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "tools/rtrie/Errors.h"
#include "tools/rtrie/Registry.h"

namespace Rtrie {
namespace {

constexpr std::string_view inputIsTheShells = "standard input holds the shell's commands, and can't be ";

// Tables that were read already are what the options of that time made of them.
void checkSelectsNothing(const LoadOptions& options) {
   const auto refuse = [](bool isGiven, std::string_view option) {
      if (isGiven) {
         throw UsageError(
            fmt::format("{} is for tables that are read: give it to load, or with --table FILE", option));
      }
   };
   refuse(options.strict, "--strict");
   refuse(!options.peer.empty(), "--peer");
   refuse(!options.routeTable.empty(), "--route-table");
   refuse(options.masksHostBits, "--host-bits");
}

}  // namespace

Session::Asked Session::tables(const LoadOptions& options, Candidates candidates) const {
   const Named* loaded = options.tables.empty() ? used() : nullptr;
   if (options.tables.size() == 1) {
      const auto found =
         std::find_if(all_.begin(), all_.end(), [&](const Named& each) { return each.name == options.tables[0]; });
      loaded = found == all_.end() ? nullptr : &*found;
   }
   if (loaded != nullptr) {
      checkSelectsNothing(options);
      return {loaded->tables};
   }
   if (options.tables.empty()) {
      throw UsageError(isShell() ? "no table is loaded: load FILE, or --table FILE" : "--table is required");
   }
   auto tables = std::make_shared<LoadedTables>(options, candidates);
   const std::uint64_t faults = tables->report().faults;
   return {std::move(tables), faults};
}

void Session::checkStandardInput(const LoadOptions& options, StandardInput use) const {
   for (const std::string& path : options.tables) {
      checkFile(path);
   }
   const auto times = std::count(options.tables.begin(), options.tables.end(), "-");
   if (times > 1) {
      throw UsageError("standard input can be a table only once");
   }
   if (isShell() && use != StandardInput::free) {
      throw UsageError(use == StandardInput::queries ? "what is asked? give the queries behind the command"
                                                     : fmt::format("{}the updates", inputIsTheShells));
   }
   if (times == 1 && use == StandardInput::queries) {
      throw UsageError("standard input is the table: give the queries as arguments");
   }
   if (times == 1 && use == StandardInput::updates) {
      throw UsageError("standard input holds the updates, and can't be the table");
   }
}

void Session::checkFile(std::string_view path) const {
   if (isShell() && path == "-") {
      throw UsageError(fmt::format("{}a file", inputIsTheShells));
   }
}

const Session::Named* Session::used() const {
   const auto found = std::find_if(all_.begin(), all_.end(), [&](const Named& each) { return each.name == used_; });
   return found == all_.end() ? nullptr : &*found;
}

const Session::Named& Session::load(std::string name, const LoadOptions& options) {
   if (name.empty()) {
      name = fmt::format("{}", fmt::join(options.tables, "+"));
   }
   Named fresh{name, options.tables, std::make_shared<LoadedTables>(options, Candidates::kept)};
   const auto at = std::lower_bound(all_.begin(), all_.end(), name,
                                    [](const Named& each, const std::string& of) { return each.name < of; });
   auto place = at;
   if (at != all_.end() && at->name == name) {
      *at = std::move(fresh);
   } else {
      place = all_.insert(at, std::move(fresh));
   }
   used_ = std::move(name);
   return *place;
}

void Session::use(std::string_view name) { used_ = named(name)->name; }

void Session::unload(std::string_view name) {
   const auto place = named(name);
   if (place->name == used_) {
      used_.clear();
   }
   all_.erase(place);
}

std::vector<Session::Named>::iterator Session::named(std::string_view name) {
   if (all_.empty()) {
      throw UsageError("no table is loaded");
   }
   const Named& row = rowNamed(std::span<const Named>(all_), "table", name);
   return all_.begin() + (&row - all_.data());
}

}  // namespace Rtrie
