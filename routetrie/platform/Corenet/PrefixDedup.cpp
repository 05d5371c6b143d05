#include "routetrie/platform/Corenet/PrefixDedup.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <type_traits>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corenet/HashKeys.h"
#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Corenet {

namespace {

using Record = PrefixDedup::Record;

constexpr std::size_t shardCount = 64;
constexpr std::size_t firstBucketCount = 16;

Tesk::AllocTrackTypeInfo* recordTracker = nullptr;

// Drawn as the first prefix comes, which may be before main(); never destroyed.
U32 hashOf(AddressBits<128> bits, U8 length) noexcept {
   static const HashKeys keys = HashKeys::draw(HashKeys::systemRandom);
   static_assert(std::is_trivially_destructible_v<HashKeys>);
   return keys.hash(bits, length);
}

Record* newRecord(AddressBits<128> bits, U8 length, Record* next) {
   Tesk::AllocTrackTypeInfo::_trackAllocationNoOverhead(&recordTracker, typeid(Record), sizeof(Record));
   try {
      return ::new (CoreSlab::slabAlloc(sizeof(Record))) Record{bits, next, 1, length};
   } catch (...) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(recordTracker);
      throw;
   }
}

void freeRecord(Record* record) noexcept {
   record->~Record();
   Tesk::AllocTrackTypeInfo::trackDeallocation(recordTracker);
   CoreSlab::slabFree(record, typeid(Record));
}

// One part of the table, under a lock of its own. Buckets are chosen by the hash bits above those that chose the
// shard. The first buckets are part of the shard, so that an empty table owns no memory.
class alignas(64) Shard {
  public:
   Record* acquire(AddressBits<128> bits, U8 length, U32 hash) {
      const std::lock_guard guard(lock_);
      ++acquisitions_;
      Record** bucket = &buckets_[bucketOf(hash)];
      for (Record* record = *bucket; record != nullptr; record = record->next) {
         if (record->bits == bits && record->length == length) {
            PrefixDedup::retain(record);
            return record;
         }
      }
      *bucket = newRecord(bits, length, *bucket);
      Record* made = *bucket;
      if (++records_ > bucketCount_) {
         rehash(bucketCount_ * 2);
      }
      return made;
   }

   // The caller saw a count of 1; another thread may have found the record since.
   void releaseLast(Record* record, U32 hash) noexcept {
      const std::lock_guard guard(lock_);
      if (record->uses.fetch_sub(1, std::memory_order_acq_rel) != 1) {
         return;
      }
      Record** link = &buckets_[bucketOf(hash)];
      while (*link != record) {
         link = &(*link)->next;
      }
      *link = record->next;
      freeRecord(record);
      if (--records_ == 0 && bucketCount_ > firstBucketCount) {
         delete[] buckets_;
         bucketCount_ = firstBucketCount;
         buckets_ = first_.data();
      }
   }

   std::size_t records() noexcept {
      const std::lock_guard guard(lock_);
      return records_;
   }
   std::size_t acquisitions() noexcept {
      const std::lock_guard guard(lock_);
      return acquisitions_;
   }
   std::size_t longestBucket() noexcept {
      const std::lock_guard guard(lock_);
      std::size_t longest = 0;
      for (std::size_t i = 0; i < bucketCount_; ++i) {
         std::size_t length = 0;
         for (const Record* record = buckets_[i]; record != nullptr; record = record->next) {
            ++length;
         }
         longest = std::max(longest, length);
      }
      return longest;
   }

  private:
   std::size_t bucketOf(U32 hash) const noexcept { return (hash / shardCount) & (bucketCount_ - 1); }

   // Without memory for more buckets the chains grow instead.
   void rehash(std::size_t count) noexcept {
      Record** larger = new (std::nothrow) Record*[count]();
      if (larger == nullptr) {
         return;
      }
      Record** old = buckets_;
      const std::size_t oldCount = bucketCount_;
      buckets_ = larger;
      bucketCount_ = count;
      for (std::size_t i = 0; i < oldCount; ++i) {
         for (Record* record = old[i]; record != nullptr;) {
            Record* next = record->next;
            Record** bucket = &buckets_[bucketOf(hashOf(record->bits, record->length))];
            record->next = *bucket;
            *bucket = record;
            record = next;
         }
      }
      if (oldCount > firstBucketCount) {
         delete[] old;
      } else {
         first_.fill(nullptr);
      }
   }

   std::mutex lock_;
   std::size_t records_ = 0;
   std::size_t acquisitions_ = 0;
   std::size_t bucketCount_ = firstBucketCount;
   std::array<Record*, firstBucketCount> first_{};
   Record** buckets_ = first_.data();
};

constinit std::array<Shard, shardCount> shards{};

}  // namespace

PrefixDedup::Record* PrefixDedup::acquire(AddressBits<128> bits, U8 length) {
   const U32 hash = hashOf(bits, length);
   return shards[hash % shardCount].acquire(bits, length, hash);
}

void PrefixDedup::release(Record* record) noexcept {
   U32 uses = record->uses.load(std::memory_order_relaxed);
   while (uses > 1) {
      if (record->uses.compare_exchange_weak(uses, uses - 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
         return;
      }
   }
   const U32 hash = hashOf(record->bits, record->length);
   shards[hash % shardCount].releaseLast(record, hash);
}

std::size_t PrefixDedup::liveRecords() noexcept {
   std::size_t sum = 0;
   for (Shard& shard : shards) {
      sum += shard.records();
   }
   return sum;
}

std::size_t PrefixDedup::acquisitions() noexcept {
   std::size_t sum = 0;
   for (Shard& shard : shards) {
      sum += shard.acquisitions();
   }
   return sum;
}

std::size_t PrefixDedup::longestBucket() noexcept {
   std::size_t longest = 0;
   for (Shard& shard : shards) {
      longest = std::max(longest, shard.longestBucket());
   }
   return longest;
}

}  // namespace Corenet
