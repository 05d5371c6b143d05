// Publications: what a publisher tells while this lives, one text a change.
#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "routetrie/platform/Corvid/Publisher.h"

namespace TestSupport {

class Publications {
  public:
   // `text` spells a change while it is told; the object has its new value then.
   Publications(Corvid::Publisher* publisher, std::function<std::string(const Corvid::Change&)> text)
      : watch_(publisher->subscribe([this, text = std::move(text)](const Corvid::Change& change) {
           EXPECT_EQ(nullptr, change.key);
           EXPECT_EQ(nullptr, change.equal);
           told_.push_back(text(change));
        })) {}
   Publications(const Publications&) = delete;
   Publications& operator=(const Publications&) = delete;

   // What was told since the last call.
   std::vector<std::string> take() { return std::exchange(told_, {}); }

  private:
   std::vector<std::string> told_;
   Corvid::Subscription watch_;
};

// "id: old -> now"
template <class T>
std::string changeText(const Corvid::Change& change, const T& now) {
   return fmt::format("{}: {} -> {}", change.id, *static_cast<const T*>(change.oldValue), now);
}

}  // namespace TestSupport
