// Accessor: what reflection calls to reach a field: a member function, a data member, a free function or a captureless
// lambda whose first parameter is the object. SignatureOf takes one apart; the functions below carry arguments and
// results between it and untyped places.
//
// An object travels as a pointer to its Corvid::Node, which may be null; anything else as a pointer to the value. A result
// is constructed at the given place: a value as itself, an object as `const Corvid::Node*` with a reference that is then
// the caller's. A null place drops the result.
// Tested by tests/platform/Corvid/InspectOperationTest.cpp.
#pragma once

#include <cstddef>
#include <functional>
#include <new>
#include <type_traits>
#include <utility>

#include "routetrie/platform/Corvid/ModulePlace.h"
#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Corvid/Ptr.h"

namespace Corvid {

namespace Impl {

template <class R, class C, bool constant, class... Parameters_>
struct Signature {
   using Result = R;
   using Class = C;
   using Parameters = TypeList<Parameters_...>;
   static constexpr bool isConst = constant;
   static constexpr std::size_t arity = sizeof...(Parameters_);
};

template <class F>
struct SignatureOfType;
template <class R, class C, class... A>
struct SignatureOfType<R (C::*)(A...)> : Signature<R, C, false, A...> {};
template <class R, class C, class... A>
struct SignatureOfType<R (C::*)(A...) noexcept> : Signature<R, C, false, A...> {};
template <class R, class C, class... A>
struct SignatureOfType<R (C::*)(A...) const> : Signature<R, C, true, A...> {};
template <class R, class C, class... A>
struct SignatureOfType<R (C::*)(A...) const noexcept> : Signature<R, C, true, A...> {};
template <class R, class C, class... A>
struct SignatureOfType<R (*)(C&, A...)> : Signature<R, std::remove_const_t<C>, std::is_const_v<C>, A...> {};

template <class Call>
struct SignatureOfCall;
template <class R, class F, class C, class... A>
struct SignatureOfCall<R (F::*)(C&, A...) const> : Signature<R, std::remove_const_t<C>, std::is_const_v<C>, A...> {};

template <class F>
requires std::is_class_v<F>
struct SignatureOfType<F> : SignatureOfCall<decltype(&F::operator())> {
};

// Of a data member, as of a function that reads it.
template <class M, class C>
requires(!std::is_function_v<M>) struct SignatureOfType<M C::*> : Signature<const M&, C, true> {
};

template <auto accessor>
using SignatureOf = SignatureOfType<std::remove_const_t<decltype(accessor)>>;

template <class Parameters>
struct FirstOf {
   using Type = void;
};
template <class First, class... Rest>
struct FirstOf<TypeList<First, Rest...>> {
   using Type = First;
};

// The type that a parameter or a result means to whoever passes it: of a Ptr or a pointer, the object's class.
template <class T>
struct Meant {
   using Type = T;
   static constexpr bool isObject = false;
};
template <class T>
struct Meant<Ptr<T>> {
   using Type = std::remove_const_t<T>;
   static constexpr bool isObject = true;
};
template <class T>
struct Meant<T*> {
   using Type = std::remove_const_t<T>;
   static constexpr bool isObject = true;
};
template <class T>
using MeantBy = Meant<std::remove_cvref_t<T>>;

// The argument for a parameter of type P.
template <class P>
decltype(auto) argument(const void* given) {
   using Bare = std::remove_cvref_t<P>;
   if constexpr (MeantBy<P>::isObject) {
      auto* const node = const_cast<Node*>(static_cast<const Node*>(given));
      return Bare(static_cast<typename MeantBy<P>::Type*>(node));
   } else {
      return *static_cast<const Bare*>(given);
   }
}

}  // namespace Impl

namespace Inspect {

// Takes a counted pointer out of an operation and hands its reference over.
template <class T>
void opResEncRelNode(Ptr<T>&& object, void* place) {
   if (place != nullptr) {
      ::new (place) const Node*(object.release());
   }
}

// Does so for a plain pointer, with a reference of its own.
template <class T>
void opResultEncode(T* object, void* place) {
   opResEncRelNode(Ptr<T>(object), place);
}

}  // namespace Inspect

namespace Impl {

template <class R>
void encodeResult(R&& result, void* place) {
   using Bare = std::remove_cvref_t<R>;
   if constexpr (std::is_pointer_v<Bare>) {
      Inspect::opResultEncode(result, place);
   } else if constexpr (MeantBy<R>::isObject) {
      Inspect::opResEncRelNode(Bare(std::forward<R>(result)), place);
   } else if (place != nullptr) {
      ::new (place) Bare(std::forward<R>(result));
   }
}

template <auto accessor, class T, class... Arguments>
void invokeAndEncode(void* place, T& object, Arguments&&... arguments) {
   if constexpr (std::is_void_v<typename SignatureOf<accessor>::Result>) {
      std::invoke(accessor, object, std::forward<Arguments>(arguments)...);
   } else {
      encodeResult(std::invoke(accessor, object, std::forward<Arguments>(arguments)...), place);
   }
}

}  // namespace Impl
}  // namespace Corvid
