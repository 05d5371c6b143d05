// FieldAccess: how each kind of field of a description (routetrie/platform/Corvid/Describe.h) is reached: the kinds of access that it
// takes, and what each of them does. perform() is false where the field does not take the kind.
// Tested by tests/platform/Corvid/InspectOperationTest.cpp and tests/must_not_compile/.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>

#include "routetrie/platform/Corvid/Accessor.h"
#include "routetrie/platform/Corvid/FieldDescriptor.h"
#include "routetrie/platform/Tesk/Module.h"

namespace Corvid {

namespace Impl {

constexpr U32 bit(AccessKind kind) { return U32{1} << static_cast<U8>(kind); }

template <class T>
constexpr Tesk::Shape attributeShape() {
   return MeantBy<T>::isObject ? Tesk::Shape::pointer : Tesk::Shape::value;
}
template <class T>
constexpr Tesk::Shape keyedShape() {
   return MeantBy<T>::isObject ? Tesk::Shape::keyedPointers : Tesk::Shape::keyedValues;
}

// An accessor that is not there.
constexpr std::nullptr_t absent = nullptr;
template <auto accessor>
constexpr bool isThere = !std::is_null_pointer_v<std::remove_const_t<decltype(accessor)>>;

template <auto accessor, class T>
constexpr bool reaches() {
   return std::derived_from<T, typename SignatureOf<accessor>::Class>;
}

template <auto getter, auto setter>
struct AttributeAccess {
   using Result = typename SignatureOf<getter>::Result;
   using Key = void;
   using Parameters = TypeList<>;
   static constexpr Tesk::Shape shape = attributeShape<Result>();
   static constexpr U32 kinds = bit(AccessKind::get) | (isThere<setter> ? bit(AccessKind::set) : 0);
   static constexpr bool isMember = std::is_member_object_pointer_v<std::remove_const_t<decltype(setter)>>;

   static_assert(SignatureOf<getter>::arity == 0 && !std::is_void_v<Result>,
                 "attribute: the getter takes no argument and returns the value");

   template <class T>
   static constexpr void check() {
      static_assert(reaches<getter, T>(), "attribute: the getter belongs to another class");
      if constexpr (isThere<setter> && !isMember) {
         static_assert(SignatureOf<setter>::arity == 1, "attribute: the setter takes the value alone");
         static_assert(
            std::same_as<typename MeantBy<typename FirstOf<typename SignatureOf<setter>::Parameters>::Type>::Type,
                         typename MeantBy<Result>::Type>,
            "attribute: the setter takes another type than the getter returns");
      }
   }

   template <class T>
   static decltype(auto) getFrom(T& object) {
      return std::invoke(getter, object);
   }

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void* value, const void* const*) {
      if (kind == AccessKind::get) {
         encodeResult(getFrom(object), result);
         return true;
      }
      if constexpr (isThere<setter>) {
         if (kind == AccessKind::set) {
            if constexpr (isMember) {
               object.*setter = argument<Result>(value);
            } else {
               std::invoke(setter, object,
                           argument<typename FirstOf<typename SignatureOf<setter>::Parameters>::Type>(value));
            }
            return true;
         }
      }
      return false;
   }
};

template <auto getter, auto maker, auto deleter>
struct InstantiatingAccess {
   using Result = typename SignatureOf<getter>::Result;
   using Key = void;
   using Parameters = TypeList<>;
   static constexpr Tesk::Shape shape = attributeShape<Result>();
   static constexpr U32 kinds = bit(AccessKind::get) | bit(AccessKind::set) | bit(AccessKind::del);

   static_assert(SignatureOf<getter>::arity == 0 && MeantBy<Result>::isObject,
                 "instantiating: the getter takes no argument and returns the object");
   static_assert(SignatureOf<maker>::arity == 0, "instantiating: the maker takes no argument");
   static_assert(SignatureOf<deleter>::arity == 0, "instantiating: the deleter takes no argument");

   template <class T>
   static constexpr void check() {
      static_assert(reaches<getter, T>() && reaches<maker, T>() && reaches<deleter, T>(),
                    "instantiating: an accessor belongs to another class");
   }

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void*, const void* const*) {
      switch (kind) {
         case AccessKind::get: encodeResult(std::invoke(getter, object), result); return true;
         case AccessKind::set: invokeAndEncode<maker>(result, object); return true;
         case AccessKind::del: invokeAndEncode<deleter>(result, object); return true;
         default: return false;
      }
   }
};

// Members by key. What the ...Is operation takes tells how a member is set: (key, value), the key alone for a collection
// that makes its members, or the value alone for one whose members hold their key.
template <auto getter, auto setter, auto deleter, bool lookup>
struct KeyedAccess {
   using Result = typename SignatureOf<getter>::Result;
   using KeyParameter = typename FirstOf<typename SignatureOf<getter>::Parameters>::Type;
   using Key = std::remove_cvref_t<KeyParameter>;
   using Parameters = TypeList<>;
   static constexpr Tesk::Shape shape = keyedShape<Result>();
   static constexpr U32 kinds = bit(AccessKind::get) | (lookup ? bit(AccessKind::lookup) : 0) |
                                (isThere<setter> ? bit(AccessKind::set) : 0) |
                                (isThere<deleter> ? bit(AccessKind::del) : 0);

   static_assert(SignatureOf<getter>::arity == 1, "keyed: the getter takes the key alone");

   template <class T>
   static constexpr void check() {
      static_assert(reaches<getter, T>(), "keyed: the getter belongs to another class");
      if constexpr (isThere<setter>) {
         static_assert(SignatureOf<setter>::arity == 1 || SignatureOf<setter>::arity == 2,
                       "keyed: the setter takes the key and the value, or one of them");
      }
      if constexpr (isThere<deleter>) {
         static_assert(SignatureOf<deleter>::arity == 1, "keyed: the deleter takes the key alone");
      }
   }

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void* key, const void* const* arguments) {
      if (kind == AccessKind::get || (lookup && kind == AccessKind::lookup)) {
         encodeResult(std::invoke(getter, object, argument<KeyParameter>(key)), result);
         return true;
      }
      if constexpr (isThere<setter>) {
         if (kind == AccessKind::set) {
            set(object, result, key, arguments, typename SignatureOf<setter>::Parameters{});
            return true;
         }
      }
      if constexpr (isThere<deleter>) {
         if (kind == AccessKind::del) {
            invokeAndEncode<deleter>(result, object, argument<KeyParameter>(key));
            return true;
         }
      }
      return false;
   }

   template <class T, class KeyType, class Value>
   static void set(T& object, void* result, const void* key, const void* const* arguments, TypeList<KeyType, Value>) {
      invokeAndEncode<setter>(result, object, argument<KeyType>(key), argument<Value>(arguments[0]));
   }
   template <class T, class KeyOrValue>
   static void set(T& object, void* result, const void* key, const void* const* arguments, TypeList<KeyOrValue>) {
      constexpr bool isKey = std::same_as<std::remove_cvref_t<KeyOrValue>, Key>;
      invokeAndEncode<setter>(result, object, argument<KeyOrValue>(isKey ? key : arguments[0]));
   }
};

// A keyed collection that can be counted and iterated. Members is a class with
//
//    static U32 count(const T&);
//    static U32 number(const T&);            // the 23-bit number of the map's state word
//    static bool exists(const T&, const Key&);
//    Iterator: made from (const T&) or (const T&, const Key&); key(), member(), advance(), atEnd()
template <auto getter, auto setter, auto deleter, bool lookup, class Members>
struct CollectionAccess : KeyedAccess<getter, setter, deleter, lookup> {
   using Keyed = KeyedAccess<getter, setter, deleter, lookup>;
   using Iterator = typename Members::Iterator;
   static constexpr U32 kinds =
      Keyed::kinds | bit(AccessKind::count) | bit(AccessKind::number) | bit(AccessKind::exists);

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void* key, const void* const* arguments) {
      switch (kind) {
         case AccessKind::count: encodeResult(Members::count(object), result); return true;
         case AccessKind::number: encodeResult(Members::number(object), result); return true;
         case AccessKind::exists:
            encodeResult(Members::exists(object, argument<typename Keyed::KeyParameter>(key)), result);
            return true;
         default: return Keyed::perform(object, kind, result, key, arguments);
      }
   }
};

// A first-in first-out queue. Members is a class with
//
//    static U32 count(const T&);
//    static Value front(const T&), back(const T&);
//    static void enqueue(T&, const Value&);
//    static Value dequeue(T&);
//    Iterator: made from (const T&) or (const T&, U32 position); key(), member(), advance(), atEnd()
template <class Members, class T_>
struct QueueAccess {
   using Result = decltype(Members::front(std::declval<const T_&>()));
   using Key = U32;
   using Parameters = TypeList<>;
   using Iterator = typename Members::Iterator;
   static constexpr Tesk::Shape shape = Tesk::Shape::queue;
   static constexpr U32 kinds = bit(AccessKind::count) | bit(AccessKind::front) | bit(AccessKind::back) |
                                bit(AccessKind::enqueue) | bit(AccessKind::dequeue);

   template <class T>
   static constexpr void check() {
      static_assert(std::derived_from<T, T_>, "queue: it belongs to another class");
   }

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void* value, const void* const* arguments) {
      switch (kind) {
         case AccessKind::count: encodeResult(Members::count(object), result); return true;
         case AccessKind::front: encodeResult(Members::front(object), result); return true;
         case AccessKind::back: encodeResult(Members::back(object), result); return true;
         case AccessKind::enqueue: Members::enqueue(object, argument<Result>(value)); return true;
         case AccessKind::dequeue:
            // There is nothing to tell it: not which member, nor anything else.
            if (value != nullptr || arguments != nullptr) {
               return false;
            }
            encodeResult(Members::dequeue(object), result);
            return true;
         default: return false;
      }
   }
};

template <class R, bool constant, std::size_t arity>
constexpr Tesk::Shape operationShape() {
   if (MeantBy<R>::isObject && arity != 0) {
      return Tesk::Shape::keyedPointerOperation;
   }
   return constant ? Tesk::Shape::constOperation : Tesk::Shape::operation;
}

template <auto function>
struct OperationAccess {
   using Result = typename SignatureOf<function>::Result;
   using Key = void;
   using Parameters = typename SignatureOf<function>::Parameters;
   static constexpr Tesk::Shape shape =
      operationShape<Result, SignatureOf<function>::isConst, SignatureOf<function>::arity>();
   static constexpr U32 kinds = bit(AccessKind::call);

   template <class T>
   static constexpr void check() {
      static_assert(reaches<function, T>(), "operation: the function belongs to another class");
   }

   template <class T>
   static bool perform(T& object, AccessKind kind, void* result, const void*, const void* const* arguments) {
      if (kind != AccessKind::call) {
         return false;
      }
      call(object, result, arguments, Parameters{}, std::make_index_sequence<SignatureOf<function>::arity>());
      return true;
   }

   template <class T, class... P, std::size_t... I>
   static void call(T& object, void* result, [[maybe_unused]] const void* const* arguments, TypeList<P...>,
                    std::index_sequence<I...>) {
      invokeAndEncode<function>(result, object, argument<P>(arguments[I])...);
   }
};

// A field that is told of and has no access: every kind is refused.
template <class R, Tesk::Shape itsShape, class... P>
struct DeclaredAccess {
   using Result = R;
   using Key = void;
   using Parameters = TypeList<P...>;
   static constexpr Tesk::Shape shape = itsShape;
   static constexpr U32 kinds = 0;

   template <class T>
   static constexpr void check() {}
   template <class T>
   static bool perform(T&, AccessKind, void*, const void*, const void* const*) {
      return false;
   }
};

template <class Parameters>
inline constexpr std::size_t sizeOf = 0;
template <class... P>
inline constexpr std::size_t sizeOf<TypeList<P...>> = sizeof...(P);

}  // namespace Impl

}  // namespace Corvid
