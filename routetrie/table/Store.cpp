#include "routetrie/table/Store.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace routetrie::Impl {

Store::Store() noexcept = default;

Store::~Store() = default;

// A long list of what leaves would go by a long recursion.
Store::Versions::~Versions() {
   while (leaving != nullptr) {
      leaving = std::move(leaving->nextLeaving_);
   }
}

Store::Versions& Store::needVersions() {
   if (versions_ == nullptr) {
      Region::mayFail();
      versions_ = std::make_unique<Versions>();
      nodes.follow(versions_->following[ofNodes]);
      if (pages_ != nullptr) {
         pages_->follow(versions_->following[ofPages]);
      }
   }
   return *versions_;
}

void Store::needPages() {
   if (pages_ == nullptr) {
      pages_ = std::make_unique<Arena>(pageShift);
      if (versions_ != nullptr) {
         pages_->follow(versions_->following[ofPages]);
      }
   }
}

void Store::startPublishing() {
   needVersions();
   for (Arena::Following& following : versions_->following) {
      following.startPublishing();
   }
   versions_->publishes = true;
   publish();
}

void Store::publish() noexcept { ++versions_->epochs.batch; }

std::size_t Store::bytesOf(Dead dead) const noexcept {
   switch (dead.kind()) {
      case ofNodes: return std::size_t{dead.units()} << nodeShift;
      case ofPages: return std::size_t{dead.units()} << pageShift;
      default: return versions_->keeper.bytes;
   }
}

U64 Store::epochOf(Dead dead) const noexcept {
   switch (dead.kind()) {
      case ofNodes: return nodes.epochOf(dead.at());
      case ofPages: return pages_->epochOf(dead.at());
      default: return versions_->keeper.epochOf(versions_->keeper.slots.get(), dead.at());
   }
}

//--- changes ---

void Store::makeMoreRoom(std::size_t count) {
   const auto in = [count](std::vector<Dead>& notes) {
      if (lacksRoom(notes, count)) {
         Region::mayFail();
         notes.reserve(std::max(2 * notes.capacity(), notes.size() + count));
      }
   };
   if (versions_->newest != nullptr) {
      in(versions_->newest->dead_);
   }
   if (versions_->publishes) {
      in(versions_->open);
   }
}

void Store::retireSeen(Kind kind, U32 at, unsigned units) noexcept {
   const Dead dead(kind, at, units);
   const bool isSeen = this->isSeen(dead);
   if (!isSeen && (kind == ofSlots ? !versions_->publishes : arena(kind).owns(at))) {
      versions_->deadBytes[kind] += bytesOf(dead);
      free(dead);
      return;
   }
   note(dead, isSeen);
}

void Store::retireOthers(Kind kind, U32 at, unsigned units) noexcept {
   const Dead dead(kind, at, units);
   // Without readers to whom versions are published it is others' as a snapshot has it.
   note(dead, versions_->newest != nullptr && (!versions_->publishes || isSeen(dead)));
}

void Store::note(Dead dead, bool isSeen) noexcept {
   Versions& versions = *versions_;
   const std::size_t bytes = bytesOf(dead);
   versions.deadBytes[dead.kind()] += bytes;
   if (isSeen) {
      versions.newest->dead_.push_back(dead);
   } else {
      versions.waitingBytes += bytes;
      versions.open.push_back(dead);
   }
}

void Store::free(Dead dead) noexcept {
   versions_->deadBytes[dead.kind()] -= bytesOf(dead);
   if (dead.kind() == ofSlots) {
      versions_->keeper.destroy(versions_->keeper.slots.get(), dead.at());
      return;
   }
   if (versions_->publishes && versions_->held.empty()) {
      arena(dead.kind()).recycle(dead.at(), dead.units());
      return;
   }
   // Where a snapshot has seen the chunk, its lists are set aside.
   if (isSeen(dead)) {
      const auto by = versions_->held.lower_bound(epochOf(dead));
      arena(dead.kind()).release(dead.at(), dead.units(), by->second->aside_[dead.kind()]);
   } else {
      arena(dead.kind()).release(dead.at(), dead.units());
   }
}

void Store::takeDropped() noexcept {
   Held* next = versions_->dropped.exchange(nullptr, std::memory_order_acquire);
   while (next != nullptr) {
      Held& held = *std::exchange(next, next->nextDropped_);
      const auto at = versions_->held.find(held.number_);
      const auto behind = std::next(at);
      const U64 seen = at == versions_->held.begin() ? 0 : std::prev(at)->first;
      for (unsigned kind = 0; kind < arenas; ++kind) {
         if (kind == ofPages && pages_ == nullptr) {
            continue;
         }
         Arena& in = arena(static_cast<Kind>(kind));
         if (behind == versions_->held.end()) {
            in.join(held.aside_[kind]);
         } else {
            in.join(held.aside_[kind], behind->second->aside_[kind]);
         }
      }
      if (behind == versions_->held.end()) {
         versions_->epochs.seen = seen;
         versions_->newest = seen != 0 ? std::prev(at)->second.get() : nullptr;
      }
      std::unique_ptr<Held> gone = std::move(at->second);
      versions_->held.erase(at);
      if (!gone->dead_.empty()) {
         gone->nextLeaving_ = std::move(versions_->leaving);
         versions_->leaving = std::move(gone);
      }
   }
}

// What free() does of runs that no snapshot has, for many at once.
void Store::recycleReady(std::size_t& most) noexcept {
   Versions& versions = *versions_;
   std::vector<Dead>& ready = versions.ready;
   std::size_t bytes[arenas]{};
   for (; most != 0 && !ready.empty() && ready.back().kind() != ofSlots; --most) {
      const Dead dead = ready.back();
      ready.pop_back();
      bytes[dead.kind()] += bytesOf(dead);
      arena(dead.kind()).recycle(dead.at(), dead.units());
   }
   for (unsigned kind = 0; kind < arenas; ++kind) {
      versions.deadBytes[kind] -= bytes[kind];
      versions.waitingBytes -= bytes[kind];
   }
}

void Store::tendSome(std::size_t most) noexcept {
   takeDropped();
   std::size_t left = most;
   if (versions_->publishes && versions_->held.empty()) {
      recycleReady(left);
   }
   // What was used last first: a cache may still have it.
   for (; left != 0 && !versions_->ready.empty(); --left) {
      const Dead dead = versions_->ready.back();
      versions_->ready.pop_back();
      versions_->waitingBytes -= bytesOf(dead);
      free(dead);
   }
   try {
      while (left != 0 && versions_->leaving != nullptr) {
         std::vector<Dead>& notes = versions_->leaving->dead_;
         for (; left != 0 && !notes.empty(); --left) {
            const Dead dead = notes.back();
            // The last snapshot before the run was replaced, of those that are still there.
            const auto behind = versions_->held.upper_bound(versions_->leaving->number_);
            if (behind != versions_->held.begin() && epochOf(dead) <= std::prev(behind)->first) {
               std::prev(behind)->second->dead_.push_back(dead);
            } else if (versions_->publishes) {
               versions_->open.push_back(dead);
               versions_->waitingBytes += bytesOf(dead);
            } else {
               free(dead);
            }
            notes.pop_back();
         }
         if (notes.empty()) {
            versions_->leaving = std::move(versions_->leaving->nextLeaving_);
         }
      }
   } catch (const std::bad_alloc&) {
      // The notes stay where they are; the next change tries it again.
   }
   // Who frees all is at rest, and will need no room for notes for a while.
   if (most == ~std::size_t{0}) {
      nodes.settle();
      if (pages_ != nullptr) {
         pages_->settle();
      }
      for (std::vector<Dead>* notes : {&versions_->open, &versions_->closed, &versions_->ready}) {
         if (notes->empty()) {
            std::vector<Dead>().swap(*notes);
         }
      }
   }
}

//--- snapshots ---

Store::Held* Store::hold() {
   needVersions();
   tend();
   Region::mayFail();
   const U64 number = versions_->epochs.now;
   auto held = std::unique_ptr<Held>(new Held(number));
   Held* const result = versions_->held.emplace_hint(versions_->held.end(), number, std::move(held))->second.get();
   versions_->newest = result;
   versions_->epochs.seen = number;
   versions_->epochs.now = number + 1;
   for (unsigned kind = 0; kind < arenas; ++kind) {
      if (kind != ofPages || pages_ != nullptr) {
         arena(static_cast<Kind>(kind)).setAside(result->aside_[kind]);
      }
   }
   return result;
}

void Store::drop(Held* held) noexcept {
   Held* first = versions_->dropped.load(std::memory_order_relaxed);
   do {
      held->nextDropped_ = first;
   } while (
      !versions_->dropped.compare_exchange_weak(first, held, std::memory_order_release, std::memory_order_relaxed));
}

//--- publishing ---

bool Store::close() noexcept {
   if (!versions_->closed.empty() || versions_->open.empty()) {
      return false;
   }
   versions_->closed.swap(versions_->open);
   return true;
}

void Store::readersHaveGone() noexcept {
   // What went before is freed first, whether or not there is time for it.
   tendSome(versions_->ready.empty() ? 0 : ~std::size_t{0});
   versions_->ready.swap(versions_->closed);
}

//--- for statistics and audits ---

std::size_t Store::deadBytes() const noexcept {
   std::size_t sum = 0;
   for (unsigned kind = 0; kind <= arenas; ++kind) {
      sum += deadBytes(static_cast<Kind>(kind));
   }
   return sum;
}

std::size_t Store::waitingBytes() const noexcept { return versions_ != nullptr ? versions_->waitingBytes : 0; }

std::size_t Store::usedBytes(Kind kind) const noexcept {
   return kind == ofNodes ? nodes.usedBytes() : pages_ != nullptr ? pages_->usedBytes() : 0;
}

std::size_t Store::freeBytes() const noexcept {
   return nodes.heldBytes() - nodes.usedBytes() + (pages_ != nullptr ? pages_->heldBytes() - pages_->usedBytes() : 0);
}

std::size_t Store::ownBytes() const noexcept {
   std::size_t sum = sizeof *this + (pages_ != nullptr ? sizeof *pages_ : 0);
   if (versions_ == nullptr) {
      return sum;
   }
   sum += sizeof *versions_ +
          (versions_->open.capacity() + versions_->closed.capacity() + versions_->ready.capacity()) * sizeof(Dead);
   for (const auto& [number, held] : versions_->held) {
      sum += sizeof *held + held->dead_.capacity() * sizeof(Dead);
   }
   for (const Held* held = versions_->leaving.get(); held != nullptr; held = held->nextLeaving_.get()) {
      sum += sizeof *held + held->dead_.capacity() * sizeof(Dead);
   }
   return sum;
}

void Store::addDead(Kind kind, std::vector<Arena::Run>& runs) const {
   if (versions_ == nullptr) {
      return;
   }
   const auto add = [&](const std::vector<Dead>& notes) {
      for (const Dead dead : notes) {
         if (dead.kind() == kind) {
            runs.push_back({dead.at(), dead.units()});
         }
      }
   };
   for (const auto& [number, held] : versions_->held) {
      add(held->dead_);
   }
   for (const Held* held = versions_->leaving.get(); held != nullptr; held = held->nextLeaving_.get()) {
      add(held->dead_);
   }
   add(versions_->open);
   add(versions_->closed);
   add(versions_->ready);
}

}  // namespace routetrie::Impl
