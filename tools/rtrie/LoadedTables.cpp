#include "tools/rtrie/LoadedTables.h"

namespace Rtrie {

LoadedTables::LoadedTables(const LoadOptions& options, Candidates candidates) {
   if (candidates == Candidates::kept) {
      routes_.candidatesAreKept();
   }
   report_ = loadTables(options, routes_);
}

const TableSet& LoadedTables::in(const Engine& engine) {
   return engines_.try_emplace(engine.name, engine, routes_).first->second;
}

const PayloadTable& LoadedTables::payloads() {
   if (!payloads_) {
      payloads_ = std::make_unique<PayloadTable>(routes_);
   }
   return *payloads_;
}

}  // namespace Rtrie
