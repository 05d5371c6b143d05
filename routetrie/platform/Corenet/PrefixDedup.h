// PrefixDedup: the process-wide table of long IPv6 prefixes. Equal prefixes share one record of 32 bytes, so a value
// that points to a record is equal to another exactly if the pointers are.
//
// The count of a record is always atomic, since tries of several threads may hold the same record. It reaches zero
// only under the lock of the record's shard, and lookups take a reference under that lock, so a record that is
// found is never one that is being freed. The table lives as long as the process.
//
// Its hash is keyed anew in each process (routetrie/platform/Corenet/HashKeys.h): no choice of prefixes fills one bucket.
// Tested by tests/platform/Corenet/PrefixDedupTest.cpp.
#pragma once

#include <atomic>
#include <cstddef>

#include "routetrie/platform/Corenet/AddressBits.h"
#include "routetrie/platform/Corenet/Integers.h"
#include "routetrie/platform/Export.h"

namespace Corenet {

class ROUTETRIE_EXPORT PrefixDedup {
  public:
   struct Record {
      AddressBits<128> bits;
      Record* next;  // in its bucket
      std::atomic<U32> uses;
      U8 length;  // bits; 255 for a null prefix
   };

   // The record of this prefix with one reference more, made if there is none. Raises std::bad_alloc.
   static Record* acquire(AddressBits<128> bits, U8 length);
   // Takes a reference on a record that the caller holds.
   static void retain(Record* record) noexcept { record->uses.fetch_add(1, std::memory_order_relaxed); }
   // Gives a reference up; the last one frees the record.
   static void release(Record* record) noexcept;

   // For tests and tools; exact while no other thread works on the table.
   static std::size_t liveRecords() noexcept;
   static std::size_t acquisitions() noexcept;  // calls of acquire since the process began
   // The most records that any lookup has to look through now; it is a handful, whatever the prefixes are.
   static std::size_t longestBucket() noexcept;
};

static_assert(sizeof(PrefixDedup::Record) == 32);

}  // namespace Corenet
