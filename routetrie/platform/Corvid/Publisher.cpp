#include "routetrie/platform/Corvid/Publisher.h"

#include <cstdint>

namespace Corvid {

// A watcher's place in the publisher's list. The subscription owns it, and whoever calls it for the time of the call, so
// that a watcher may end its own subscription.
struct Impl::Watch : std::enable_shared_from_this<Watch> {
   Watch(Publisher* thePublisher, Watcher theWatcher, std::uint64_t theNumber)
      : publisher(thePublisher), watcher(std::move(theWatcher)), number(theNumber) {}

   Publisher* publisher;  // null once the watch has ended
   const Watcher watcher;
   const std::uint64_t number;  // greater than those of all who came before
   Watch* before = nullptr;
   Watch* after = nullptr;
};

// A change that is being told: where in the list it is. Whoever takes a watch out moves `next` on.
struct Publisher::Telling {
   // Not inlined: g++ 12 would take the destructor's end of the chain for something that may not come to pass.
   __attribute__((noinline)) explicit Telling(Publisher* thePublisher)
      : publisher(thePublisher), next(thePublisher->first_), outer(std::exchange(thePublisher->tellings_, this)) {}
   Telling(const Telling&) = delete;
   Telling& operator=(const Telling&) = delete;
   ~Telling() {
      if (publisher != nullptr) {
         publisher->tellings_ = outer;
      }
   }

   Publisher* publisher;  // null once it is destroyed
   Impl::Watch* next;
   Telling* outer;
};

Publisher::~Publisher() {
   for (Telling* telling = tellings_; telling != nullptr; telling = telling->outer) {
      telling->publisher = nullptr;
      telling->next = nullptr;
   }
   for (Impl::Watch* watch = first_; watch != nullptr; watch = watch->after) {
      watch->publisher = nullptr;
   }
}

Subscription Publisher::subscribe(Watcher watcher) {
   auto watch = std::make_shared<Impl::Watch>(this, std::move(watcher), ++subscriptions_);
   watch->before = last_;
   (last_ != nullptr ? last_->after : first_) = watch.get();
   last_ = watch.get();
   return Subscription(std::move(watch));
}

void Publisher::tell(const Change& change) {
   const std::uint64_t newest = subscriptions_;
   Telling telling(this);
   while (telling.next != nullptr && telling.next->number <= newest) {
      const std::shared_ptr<Impl::Watch> watch = telling.next->shared_from_this();
      telling.next = watch->after;
      watch->watcher(change);
   }
}

void Publisher::remove(Impl::Watch& watch) noexcept {
   for (Telling* telling = tellings_; telling != nullptr; telling = telling->outer) {
      if (telling->next == &watch) {
         telling->next = watch.after;
      }
   }
   (watch.before != nullptr ? watch.before->after : first_) = watch.after;
   (watch.after != nullptr ? watch.after->before : last_) = watch.before;
   watch.publisher = nullptr;
}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
   if (this != &other) {
      reset();
      watch_ = std::move(other.watch_);
   }
   return *this;
}

void Subscription::reset() noexcept {
   // Its end may end this subscription's owner, so nothing of this is touched after the watch is let go.
   const std::shared_ptr<Impl::Watch> watch = std::exchange(watch_, nullptr);
   if (watch != nullptr && watch->publisher != nullptr) {
      watch->publisher->remove(*watch);
   }
}

bool Subscription::isActive() const noexcept { return watch_ != nullptr && watch_->publisher != nullptr; }

}  // namespace Corvid
