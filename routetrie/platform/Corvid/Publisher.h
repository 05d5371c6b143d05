// Publisher: tells watchers, on the caller's thread and before the call returns, that a numbered attribute of its object
// changed. It is a member of a class that publishes, and Node::publisher() hands it out:
//
//    const Corvid::Subscription watch = trie->publisher()->subscribe([&](const Corvid::Change& change) {
//       if (change.id == 133) { ... trie->changedRoute() ... }
//    });
//
// P1 watchers are told in the order in which they subscribed.
// P2 while a change is told, any watcher, the one being told included, may subscribe, end any subscription, change the
//    object (which tells its own change first), or end the object. One who subscribes meanwhile is not told of that change;
//    one whose subscription has ended is not told any more.
// P3 what a watcher raises ends the telling and passes to whoever made the change, which has been made by then.
// P4 what an object publishes from its destructor is told as any change, and the watcher may use the object, as far as it is
//    there still. It can't keep it: see N1 and N2 of Node. Nobody is there for what it raises to pass to, so an object that
//    publishes as it goes catches that, and goes.
//
// A publisher belongs to one thread at a time, as its object does. Without watchers a change costs one test.
// Tested by tests/platform/Corvid/PublisherTest.cpp.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "routetrie/platform/Corvid/FieldId.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Types.h"

namespace Corvid {

// What a watcher is told. The object holds the new value already; the pointers are lent for the call.
struct Change {
   FieldId id = 0;
   const void* key = nullptr;       // the member that changed, in a keyed attribute; null for a plain one
   const void* oldValue = nullptr;  // a value of the attribute's type
   // Compares two values of the attribute's type; null where the publishing class gives none.
   bool (*equal)(const void*, const void*) = nullptr;
};

using Watcher = std::function<void(const Change&)>;

class Publisher;

namespace Impl {

struct Watch;

}  // namespace Impl

// A watch on a publisher. It ends when this is destroyed or reset, or with the publisher, whichever comes first.
class ROUTETRIE_EXPORT Subscription {
  public:
   Subscription() noexcept = default;
   Subscription(Subscription&& other) noexcept = default;
   Subscription& operator=(Subscription&& other) noexcept;
   ~Subscription() { reset(); }

   void reset() noexcept;
   // Whether there is a publisher that it watches.
   bool isActive() const noexcept;

  private:
   friend Publisher;
   explicit Subscription(std::shared_ptr<Impl::Watch> watch) noexcept : watch_(std::move(watch)) {}

   std::shared_ptr<Impl::Watch> watch_;
};

class ROUTETRIE_EXPORT Publisher {
  public:
   Publisher() noexcept = default;
   Publisher(const Publisher&) = delete;
   Publisher& operator=(const Publisher&) = delete;
   ~Publisher();

   // Raises std::bad_alloc.
   [[nodiscard]] Subscription subscribe(Watcher watcher);

   // Tells the watchers that the attribute `id` changed; the object holds the new value already. See Change for the rest.
   void publishChangeRecursive(FieldId id, const void* key, const void* oldValue,
                               bool (*equal)(const void*, const void*)) {
      if (first_ != nullptr) {
         tell({id, key, oldValue, equal});
      }
   }

   // The setter of a published attribute: nothing if it has that value, otherwise stores it and publishes the old one,
   // which is released last.
   template <class T>
   void attributeIs(FieldId id, T& attribute, const T& value) {
      if (!(attribute == value)) {
         const T oldValue = std::exchange(attribute, value);
         publishChangeRecursive(id, nullptr, &oldValue, nullptr);
      }
   }

   // Shows a value for the time of its publication: attributeIs, and then puts `rest` back, which is not published, whatever
   // a watcher raises. Requires: the caller holds the object.
   template <class T>
   void pulse(FieldId id, T& attribute, const T& value, const T& rest) {
      if (first_ == nullptr) [[likely]] {
         attribute = rest;  // nobody can see it otherwise
         return;
      }
      struct Rest {
         ~Rest() { attribute = rest; }
         T& attribute;
         const T& rest;
      } const atEnd{attribute, rest};
      attributeIs(id, attribute, value);
   }

   bool hasWatchers() const noexcept { return first_ != nullptr; }

  private:
   friend Subscription;
   struct Telling;

   void tell(const Change& change);
   void remove(Impl::Watch& watch) noexcept;

   Impl::Watch* first_ = nullptr;
   Impl::Watch* last_ = nullptr;
   Telling* tellings_ = nullptr;      // the changes being told, the innermost first
   std::uint64_t subscriptions_ = 0;  // so far
};

}  // namespace Corvid
