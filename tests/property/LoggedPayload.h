// LoggedPayload: a payload that writes down each call of its hooks, and answers them as it was made to: replaced by what
// comes, staying, or leaving an heir in its place.
// Used by tests/property/PayloadTest.cpp.
#pragma once

#include <string>
#include <vector>

#include "tests/property/PatriciaDataEngine.h"

namespace Property {

inline std::vector<std::string> calls;  // of the hooks, since it was last emptied

// What a payload does when another is offered to its route, and when its route is deleted.
enum class Manner { replaced, stays, leavesAHeir };

class Payload : public Routing::PrefixData {
  public:
   Payload(int number, Manner insertManner, Manner removeManner)
      : id(number), atInsert(insertManner), atRemove(removeManner) {}

   void onAddition() override { calls.push_back("onAddition " + std::to_string(id)); }
   void onDeletion() override { calls.push_back("onDeletion " + std::to_string(id)); }
   DataPtr insertData(const DataPtr& data) override {
      calls.push_back("insertData " + std::to_string(id) + " " + nameOf(data));
      return outcome(atInsert, data);
   }
   DataPtr removeData(const DataPtr& data) override {
      calls.push_back("removeData " + std::to_string(id) + " " + nameOf(data));
      return outcome(atRemove, data);
   }

   static std::string nameOf(const DataPtr& data) {
      return data ? std::to_string(static_cast<const Payload*>(data.get())->id) : "null";
   }
   DataPtr outcome(Manner manner, const DataPtr& data) {
      return manner == Manner::replaced ? data : manner == Manner::stays ? DataPtr(this) : heir;
   }

   const int id;
   const Manner atInsert;
   const Manner atRemove;
   DataPtr heir;
};
using PayloadPtr = Corvid::Ptr<Payload>;

}  // namespace Property
