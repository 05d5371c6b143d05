#include "routetrie/platform/Corvid/Node.h"

#include <cstdint>

#include "routetrie/platform/Corvid/Assert.h"
#include "routetrie/platform/Corvid/Create.h"

namespace Corvid {

Tesk::AllocTrackTypeInfo* Node::memAllocationTracker_ = nullptr;

Node::~Node() {
   nodeFlagSet(nodeFlagAlive, false);
   // A count below zero is no fault, see decUseImpl(). An object that nobody counts (a local one) dies with its first reference.
   const bool isHeld = nodeFlag(nodeFlagEnding) && static_cast<std::int32_t>(uses()) > 0;
   ROUTETRIE_ASSERT(!isHeld, "no reference outlives its object");
}

void Node::lastUserGone() {
   nodeFlagSet(nodeFlagEnding, true);
   delete this;
}

Publisher* Node::publisher() const { return nullptr; }

TypeData Node::typeData() const { return {}; }

void Node::decUseImpl() const {
   U32 before = 0;
   if (ThreadControl::multiThreaded()) {
      before = uses_.fetch_sub(1, std::memory_order_acq_rel);
   } else {
      before = uses_.load(std::memory_order_relaxed);
      uses_.store(before - 1, std::memory_order_relaxed);
   }
   // Below zero the count only wraps: an object that is being destroyed may drop a link to itself. And it may come back to
   // zero: whoever hears of the end may have taken a reference.
   if (before == 1 && !isEnding()) {
      const_cast<Node*>(this)->lastUserGone();
   }
}

void Node::nodeFlagSet(NodeFlag flag, bool value) const { flags_ = value ? flags_ | flag : flags_ & ~U32{flag}; }

void* Node::operator new(std::size_t bytes) { return allocateFor<Node>(bytes); }
void Node::operator delete(void* memory, std::size_t bytes) noexcept { releaseFor<Node>(memory, bytes); }

}  // namespace Corvid
