// Store: the memory of a tree and of all its versions: of the one that is changed, of snapshots, and of those that readers on other
// threads may still be reading.
//
//    epoch  1 ........... | 2 ....... | 3 ..........        a snapshot ends an epoch, and has its number
//                  snapshot 1    snapshot 2       now
//    a run that was made in epoch 1 and replaced in epoch 3:  dead, and kept by the snapshots 1 and 2
//
// What a snapshot has seen is never written again: a change copies it first (Tree::own) and retires what it has copied. A retired
// run that was made in epoch b and is replaced after snapshot d was taken is kept by the snapshots b to d that are still there. It
// waits in the list of the last of these; when that one is dropped, it goes on to the list of the last before it that has seen
// it, or is freed (the way dead blocks of file systems with snapshots wait: Bonwick and Moore, ZFS, 2005). So what is kept is what a
// snapshot has, exactly, however many there are and in whatever order they go.
//
// A snapshot may be dropped on any thread: it is only noted there. The next change of the tree takes up the notes, and frees a few of
// the runs; those that come after it free the rest. The store goes with the last that uses it, of the tree and its snapshots.
//
// Where versions are published to readers, what is retired and seen by no snapshot waits in steps: `open` as it comes; `closed` while
// somebody outside finds out that all readers of that time have gone; and then it is freed, a few runs with each change as well.
// Tested by tests/table/SnapshotTest.cpp, tests/property/TableSnapshotTest.cpp.
#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "routetrie/platform/Export.h"
#include "routetrie/table/Arena.h"

namespace routetrie::Impl {

class ROUTETRIE_EXPORT Store {
  public:
   enum Kind : U8 { ofNodes, ofPages, ofSlots };
   static constexpr unsigned arenas = 2;
   static constexpr unsigned nodeShift = 5, pageShift = 8;  // log2 of a unit's bytes
   static constexpr std::size_t mostRetired = 128;          // between two calls of makeRoom()

   // What a table does with values that lie in slots of its own (Slots.h): a function and the epoch that a slot was filled in.
   struct Keeper {
      std::shared_ptr<void> slots;
      U64 (*epochOf)(const void* slots, U32 number) noexcept = nullptr;
      void (*destroy)(void* slots, U32 number) noexcept = nullptr;
      std::size_t bytes = 0;  // of a slot
   };
   class Held;

   Store() noexcept;
   Store(const Store&) = delete;
   Store& operator=(const Store&) = delete;
   ~Store();

   Arena nodes{nodeShift};
   Arena& pages() noexcept { return *pages_; }
   bool hasPages() const noexcept { return pages_ != nullptr; }
   void needPages();  // std::bad_alloc

   Arena& arena(Kind kind) noexcept { return kind == ofNodes ? nodes : *pages_; }

   //--- changes

   // Nothing of the tree is written in place unless it is known to be its own.
   bool isVersioned() const noexcept {
      return versions_ != nullptr && (versions_->publishes || !versions_->held.empty());
   }
   // Before a change: what was dropped meanwhile is taken up, and a few runs are freed.
   void tend() noexcept {
      if (versions_ != nullptr && (versions_->dropped.load(std::memory_order_relaxed) != nullptr ||
                                   versions_->leaving != nullptr || isFreeing())) [[unlikely]] {
         tendSome(mostFreed);
      }
   }
   // The same for all that can be freed.
   void tendAll() noexcept {
      if (versions_ != nullptr) {
         tendSome(~std::size_t{0});
      }
   }
   // Makes room for notes of what a change retires; std::bad_alloc. Without effect where there are no versions.
   void makeRoom(std::size_t notes = mostRetired);
   // The tree has no use for it any more. Requires: room for a note of it, where there are versions.
   void retire(Kind kind, U32 at, unsigned units) noexcept {
      if (!isVersioned()) {
         arena(kind).release(at, units);
      } else {
         retireSeen(kind, at, units);
      }
   }

   // The same of what is known to be not the tree's own. Requires: there are versions.
   void retireOthers(Kind kind, U32 at, unsigned units) noexcept;

   // An index whose pages could not be retired for want of memory: its first page, 0 if there is none. Requires for one: versions.
   U32 lostIndex() const noexcept { return versions_ != nullptr ? versions_->lostIndex : 0; }
   void loseIndex(U32 top) noexcept {
      if (versions_ != nullptr) {
         versions_->lostIndex = top;
      }
   }

   //--- snapshots

   // A snapshot of the tree as it is; std::bad_alloc has changed nothing.
   Held* hold();
   // On any thread: it is not used any more.
   void drop(Held* held) noexcept;
   U64 epoch() const noexcept { return versions_ != nullptr ? versions_->epochs.now : 1; }
   // The values in slots are kept by versions as well, from now on; std::bad_alloc.
   void keep(Keeper keeper) { needVersions().keeper = std::move(keeper); }
   bool keepsSlots() const noexcept { return versions_ != nullptr && versions_->keeper.slots != nullptr; }

   //--- publishing

   // Once; std::bad_alloc.
   void startPublishing();
   // A version that readers may see has been published.
   void publish() noexcept;
   // Readers that come from now on can not see what is retired by now. False: it waits for those of another time, or nothing does.
   bool close() noexcept;
   // There is something for close(): replaced, or let go by the last snapshot that had it.
   bool hasOpen() const noexcept { return !versions_->open.empty(); }
   // Those of the time of close() have gone.
   void readersHaveGone() noexcept;
   // What readers have let go is still being freed, a little with each change.
   bool isFreeing() const noexcept { return !versions_->ready.empty(); }

   //--- for statistics and audits

   std::size_t deadBytes() const noexcept;     // of all that is retired and not yet freed
   std::size_t waitingBytes() const noexcept;  // of these, what no snapshot keeps
   std::size_t usedBytes(Kind kind) const noexcept;
   std::size_t freeBytes() const noexcept;  // handed out to the arenas, and empty
   std::size_t deadBytes(Kind kind) const noexcept { return versions_ != nullptr ? versions_->deadBytes[kind] : 0; }
   std::size_t ownBytes() const noexcept;  // of the notes
   void addDead(Kind kind, std::vector<Arena::Run>& runs) const;

  private:
   // In one word of the machine: written by its parts and then read as a whole, it would wait for all that was written before, mostly
   // to lines of memory that are not at hand.
   class Dead {
     public:
      Dead(Kind kind, U32 at, unsigned units) noexcept : word_(U64{kind} << 40 | U64{units} << 32 | at) {}
      U32 at() const noexcept { return static_cast<U32>(word_); }
      unsigned units() const noexcept { return static_cast<unsigned>(word_ >> 32) & 255; }
      Kind kind() const noexcept { return static_cast<Kind>(word_ >> 40); }

     private:
      U64 word_;
   };
   static constexpr std::size_t mostFreed = 64;  // with one change

   std::size_t bytesOf(Dead dead) const noexcept;
   U64 epochOf(Dead dead) const noexcept;
   // Whether the newest snapshot has it.
   bool isSeen(Dead dead) const noexcept {
      return versions_->newest != nullptr && epochOf(dead) <= versions_->epochs.seen;
   }
   static bool lacksRoom(const std::vector<Dead>& notes, std::size_t count) noexcept {
      return notes.capacity() - notes.size() < count;
   }
   void makeMoreRoom(std::size_t count);
   void retireSeen(Kind kind, U32 at, unsigned units) noexcept;
   void recycleReady(std::size_t& most) noexcept;
   void note(Dead dead, bool isSeen) noexcept;
   void tendSome(std::size_t most) noexcept;
   void takeDropped() noexcept;
   void free(Dead dead) noexcept;

   // What there is only of trees that have had versions.
   struct Versions {
      std::map<U64, std::unique_ptr<Held>> held;  // by number; that of the newest is epochs.seen
      Held* newest = nullptr;
      std::unique_ptr<Held> leaving;  // dropped, with runs that may have to be freed
      std::atomic<Held*> dropped{nullptr};
      Epochs epochs;
      Arena::Following following[arenas]{Arena::Following(epochs), Arena::Following(epochs)};
      Keeper keeper;
      std::size_t deadBytes[arenas + 1]{};
      std::size_t waitingBytes = 0;
      std::vector<Dead> open;
      std::vector<Dead> closed;
      std::vector<Dead> ready;
      U32 lostIndex = 0;
      bool publishes = false;

      ~Versions();
   };
   Versions& needVersions();

   std::unique_ptr<Arena> pages_;
   std::unique_ptr<Versions> versions_;
};

class Store::Held {
   friend Store;
   explicit Held(U64 number) noexcept : number_(number) {}

   U64 number_;
   Arena::Lists aside_[arenas];
   std::vector<Dead> dead_;
   Held* nextDropped_ = nullptr;
   std::unique_ptr<Held> nextLeaving_;
};

inline void Store::makeRoom(std::size_t notes) {
   if (versions_ != nullptr && ((versions_->newest != nullptr && lacksRoom(versions_->newest->dead_, notes)) ||
                                (versions_->publishes && lacksRoom(versions_->open, notes)))) {
      makeMoreRoom(notes);
   }
}

// A snapshot's claim on the store, given back on whatever thread it ends.
class ROUTETRIE_EXPORT Hold {
  public:
   explicit Hold(std::shared_ptr<Store> store) : store_(std::move(store)), held_(store_->hold()) {}
   Hold(const Hold&) = delete;
   Hold& operator=(const Hold&) = delete;
   ~Hold() { store_->drop(held_); }

  private:
   std::shared_ptr<Store> store_;
   Store::Held* held_;
};

}  // namespace routetrie::Impl
