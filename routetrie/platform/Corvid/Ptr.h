// Ptr: a counted pointer to a Corvid::Node; it may be null. A copy takes a reference, destruction gives one up.
// Tested by tests/platform/Corvid/PtrTest.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

#include "routetrie/platform/Language.h"

namespace Corvid {

template <class T>
class Ptr {
  public:
   constexpr Ptr() noexcept = default;
   constexpr Ptr(std::nullptr_t) noexcept {}
   // Takes a reference of its own; see adopt() for a pointer that brings one along.
   Ptr(T* object) noexcept : object_(object) { take(); }
   Ptr(const Ptr& other) noexcept : object_(other.object_) { take(); }
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
   // To a base, and to const.
   template <class U>
   requires std::convertible_to<U*, T*> Ptr(const Ptr<U>& other)
   noexcept : object_(other.get()) { take(); }
   template <class U>
   requires std::convertible_to<U*, T*> Ptr(Ptr<U>&& other)
   noexcept : object_(other.release()) {}
   ~Ptr() { drop(); }

   Ptr& operator=(Ptr other) noexcept {
      swap(other);
      return *this;
   }

   // Holds the reference that the pointer already owns, such as the one that a new object is born with.
   static Ptr adopt(T* object) noexcept {
      Ptr result;
      result.object_ = object;
      return result;
   }
   // Hands the held reference to the caller, and becomes null.
   [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }
   void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }

   T* get() const noexcept { return object_; }
   T* operator->() const noexcept { return object_; }
   T& operator*() const noexcept { return *object_; }
   explicit operator bool() const noexcept { return object_ != nullptr; }

  private:
   void take() const noexcept {
      if (object_ != nullptr) {
         object_->incUse();
      }
   }
   void drop() const {
      if (object_ != nullptr) {
         object_->decUseImpl();
      }
   }

   T* object_ = nullptr;
};

template <class T, class U>
bool operator==(const Ptr<T>& a, const Ptr<U>& b) noexcept {
   return a.get() == b.get();
}
template <class T, class U>
bool operator==(const Ptr<T>& a, U* b) noexcept {
   return a.get() == b;
}
template <class T>
bool operator==(const Ptr<T>& a, std::nullptr_t) noexcept {
   return a.get() == nullptr;
}

}  // namespace Corvid

template <class T>
struct std::hash<Corvid::Ptr<T>> {
   std::size_t operator()(const Corvid::Ptr<T>& ptr) const noexcept { return std::hash<T*>()(ptr.get()); }
};
