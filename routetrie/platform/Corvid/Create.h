// Create: how an object comes to be and how its memory goes. Memory is from the slab and counted by the class's
// tracker; a constructor that raises leaves both as they were.
//
// A class that is counted by itself declares these three members; any other is counted by its base. The three go together:
// with the tracker alone objects would be counted on the base's without a word, so ptrIsImpl refuses to compile.
//
//    static Tesk::AllocTrackTypeInfo* memAllocationTracker_;
//    static void* operator new(std::size_t bytes) { return Corvid::allocateFor<Route>(bytes); }
//    static void operator delete(void* memory, std::size_t bytes) noexcept { Corvid::releaseFor<Route>(memory, bytes); }
//
// Tested by tests/platform/Corvid/CreateTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Ptr.h"
#include "routetrie/platform/Corvid/TypeName.h"
#include "routetrie/platform/Tesk/AllocTrack.h"

namespace Corvid {

// Memory for one T of `bytes`, counted; raises std::bad_alloc and is then not counted.
template <class T>
void* allocateFor(std::size_t bytes) {
   Tesk::AllocTrackTypeInfo::_trackAllocationNoOverhead(&T::memAllocationTracker_, typeid(T), bytes);
   try {
      return CoreSlab::slabAlloc(bytes);
   } catch (...) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(T::memAllocationTracker_, bytes);
      throw;
   }
}

// Gives back what allocateFor gave for the same T and `bytes`; null is let be.
template <class T>
void releaseFor(void* memory, std::size_t bytes) noexcept {
   if (memory != nullptr) {
      Tesk::AllocTrackTypeInfo::trackDeallocation(T::memAllocationTracker_, bytes);
      CoreSlab::slabFree(memory, typeid(T));
   }
}

namespace Impl {

// The class in which a member is declared, by the compiler's name for it; a base of the class that it was asked of, unless
// that has the member itself. There is no other way to tell for a static member, and the name is only compared.
template <auto* member>
constexpr std::string_view declaringClass() {
   std::string_view name = __PRETTY_FUNCTION__;
   constexpr std::string_view opening = "member = ";
   name.remove_prefix(name.find(opening) + opening.size());
   name = name.substr(0, name.find_first_of(";]"));
   for (const std::string_view address : {"(& ", "&"}) {  // g++ for a variable, clang
      name.remove_prefix(name.starts_with(address) ? address.size() : 0);
   }
   return name.substr(0, name.rfind("::"));
}

template <class T>
concept HasTracker = requires {
   { &T::memAllocationTracker_ } -> std::same_as<Tesk::AllocTrackTypeInfo**>;
};

// Whether the operators of T are declared where its tracker is, or nearer to T. A class may have operators of another form,
// and then it sees to its memory itself.
template <class T>
constexpr bool operatorsGoWithTracker() {
   using New = void* (*)(std::size_t);
   using Delete = void (*)(void*, std::size_t);
   if constexpr (requires {
                    static_cast<New>(&T::operator new);
                    static_cast<Delete>(&T::operator delete);
                 } &&
                 HasTracker<T>) {
      constexpr std::string_view tracker = declaringClass<&T::memAllocationTracker_>();
      constexpr std::string_view allocator = declaringClass<static_cast<New>(&T::operator new)>();
      constexpr std::string_view releaser = declaringClass<static_cast<Delete>(&T::operator delete)>();
      constexpr std::string_view base = "Corvid::Node";
      constexpr bool isOwn = tracker == typeName<T>();
      return isOwn ? allocator == tracker && releaser == tracker
                   : tracker == base || (allocator != base && releaser != base);
   } else {
      return true;
   }
}

}  // namespace Impl

// A new T, held by its one reference. What the constructor raises passes through.
template <class T, class... Args>
Ptr<T> ptrIsImpl(Args&&... args) {
   static_assert(
      Impl::operatorsGoWithTracker<T>(),
      "a class with a memAllocationTracker_ of its own needs its own operator new and operator delete beside it, "
      "by Corvid::allocateFor and releaseFor: see routetrie/platform/Corvid/Create.h");
   return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

}  // namespace Corvid
