// CompiledValues: the values of a compiled table, as words of 32 bits. A value of up to 4 bytes that copies as bytes is its word;
// of others one copy is kept of each that differs, and its number is the word.
//
//    T                                          told equal by
//    void                                       all are one
//    copies as bytes, up to 4                   its word
//    has std::hash and ==                       these
//    has == alone                               ==, with the value of the route before
//    any other                                  never
//
// Tested by tests/table/CompiledTest.cpp.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "routetrie/table/Borders.h"
#include "routetrie/table/Values.h"

namespace routetrie::Impl {

template <class T>
concept Hashed = requires(const T& value) {
   { std::hash<T>()(value) } -> std::convertible_to<std::size_t>;
   { value == value } -> std::convertible_to<bool>;
};

template <class T>
class CompiledValues {
  public:
   static constexpr bool areWords = false;

   // Takes values while the table is compiled.
   class Taking {
     public:
      explicit Taking(CompiledValues& to) : values_(to.values_), known_(0, Hash{&values_}, Equal{&values_}) {}
      U32 word(const T& value) {
         if constexpr (Hashed<T>) {
            if (!values_.empty() && values_[last_] == value) {
               return last_;
            }
            add(value);
            const auto at = known_.insert(static_cast<U32>(values_.size() - 1));
            last_ = *at.first;
            if (!at.second) {
               values_.pop_back();
            }
         } else {
            if constexpr (std::equality_comparable<T>) {
               if (!values_.empty() && values_[last_] == value) {
                  return last_;
               }
            }
            add(value);
            last_ = static_cast<U32>(values_.size() - 1);
         }
         return last_;
      }

     private:
      struct Hash {
         const std::vector<T>* values;
         std::size_t operator()(U32 number) const {
            if constexpr (Hashed<T>) {
               return std::hash<T>()((*values)[number]);
            } else {
               return number;
            }
         }
      };
      struct Equal {
         const std::vector<T>* values;
         bool operator()(U32 a, U32 b) const {
            if constexpr (Hashed<T>) {
               return a == b || (*values)[a] == (*values)[b];
            } else {
               return a == b;
            }
         }
      };
      void add(const T& value) {
         if (values_.size() >= ~U32{0} - 1) {
            throw std::length_error("more values than a compiled table can number");
         }
         values_.push_back(value);
      }

      std::vector<T>& values_;
      std::unordered_set<U32, Hash, Equal> known_;
      U32 last_ = 0;
   };

   const T* at(const U32* place) const noexcept { return place != nullptr ? values_.data() + *place : nullptr; }
   std::size_t bytes() const noexcept { return values_.capacity() * sizeof(T); }

  private:
   std::vector<T> values_;
};

template <InNode T>
requires(sizeof(T) <= 4) class CompiledValues<T> {
  public:
   static constexpr bool areWords = true;

   class Taking {
     public:
      explicit Taking(CompiledValues&) noexcept {}
      U32 word(const T& value) const noexcept {
         U32 word = 0;
         std::memcpy(&word, std::addressof(value), sizeof value);
         return word;
      }
   };

   const T* at(const U32* place) const noexcept {
      return std::launder(static_cast<const T*>(static_cast<const void*>(place)));
   }
   std::size_t bytes() const noexcept { return 0; }
};

}  // namespace routetrie::Impl
