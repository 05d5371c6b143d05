// Describe: the words in which a class tells its reflected surface, once, next to its source. All of its tables and its
// inspectOperation are made from the description (routetrie/platform/Corvid/ModuleTables.h).
//
//    template <>
//    struct Corvid::Description<Routing::PrefixData> {
//       using T = Routing::PrefixData;
//       static constexpr auto value = Corvid::describeClass<T>(
//          Corvid::constructor<&Routing::prefixDataFactory>(),
//          Corvid::operation<&T::onAddition>("onAddition"),
//          Corvid::operation<&T::insertData>("insertData", "data"));
//    };
//
// Fields are numbered in order: those of a value type from 2, those of a class under Corvid::Node from 130, and those of
// a class one level further down from 258. `.at(id)` moves the count on, where an id has gone out of use. A surface may
// grow by one line for each field; a field that is taken away leaves its id free.
//
// An accessor is what routetrie/platform/Corvid/Accessor.h says; where a member function is overloaded, a lambda picks one.
// A fault in a description does not compile, and the message names it.
// Tested by tests/platform/Corvid/InspectOperationTest.cpp and tests/must_not_compile/.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <tuple>
#include <type_traits>

#include "routetrie/platform/Corvid/FieldAccess.h"
#include "routetrie/platform/Tesk/Module.h"

// The position of a stored member in its object, in bytes.
#define ROUTETRIE_POSITION(Class, member) (static_cast<U16>(__builtin_offsetof(Class, member)))

namespace Corvid {

// Description<T> has a constexpr member `value`.
template <class T>
concept Described = requires {
   Description<T>::value;
};

// One field of a description.
template <class Access_>
struct Field {
   using Access = Access_;
   static constexpr std::size_t arity = Impl::sizeOf<typename Access::Parameters>;

   const char* name;
   std::array<const char*, arity> arguments{};
   const char* keyAttribute = nullptr;
   FieldId id = 0;  // 0: the one after the field before
   U32 flags = 0;
   U16 position = Tesk::noPosition;

   // Numbers this field `wanted`, and those that follow from there.
   constexpr Field at(FieldId wanted) const { return with(&Field::id, wanted); }
   // A change of it is told to the object's watchers.
   constexpr Field published() const { return with(&Field::flags, flags | Tesk::fieldPublished); }
   // It is stored in the object at this position; see ROUTETRIE_POSITION.
   constexpr Field stored(U16 where) const { return with(&Field::position, where); }

  private:
   template <class M>
   constexpr Field with(M Field::*member, M value) const {
      Field changed = *this;
      changed.*member = value;
      return changed;
   }
};

// A value or pointer: get by `getter`, and set by `setter` if there is one.
template <auto getter, auto setter = Impl::absent>
constexpr auto attribute(const char* name) {
   return Field<Impl::AttributeAccess<getter, setter>>{name};
}

// A pointer to an object that its ...Is operation makes: get, set (without a value), delete.
template <auto getter, auto maker, auto deleter>
constexpr auto instantiating(const char* name) {
   Field<Impl::InstantiatingAccess<getter, maker, deleter>> field{name};
   field.flags = Tesk::fieldInstantiating;
   return field;
}

// Values or objects by key: get, and where there is an accessor, set and delete. For objects that hold their own key,
// `keyAttribute` names the attribute of it.
template <auto getter, auto setter = Impl::absent, auto deleter = Impl::absent>
constexpr auto keyed(const char* name, const char* keyAttribute = nullptr) {
   return Field<Impl::KeyedAccess<getter, setter, deleter, false>>{name, {}, keyAttribute};
}
// The same, which can also be looked up without side effect.
template <auto getter, auto setter = Impl::absent, auto deleter = Impl::absent>
constexpr auto keyedWithLookup(const char* name, const char* keyAttribute = nullptr) {
   return Field<Impl::KeyedAccess<getter, setter, deleter, true>>{name, {}, keyAttribute};
}

// Values or objects by key that can be counted and iterated; Members: see Impl::CollectionAccess.
template <class Members, auto getter, auto setter, auto deleter>
constexpr auto collection(const char* name, const char* keyAttribute = nullptr) {
   return Field<Impl::CollectionAccess<getter, setter, deleter, false, Members>>{name, {}, keyAttribute};
}
template <class Members, auto getter, auto setter, auto deleter>
constexpr auto collectionWithLookup(const char* name, const char* keyAttribute = nullptr) {
   return Field<Impl::CollectionAccess<getter, setter, deleter, true, Members>>{name, {}, keyAttribute};
}

// A first-in first-out queue of T; Members: see Impl::QueueAccess.
template <class Members, class T>
constexpr auto queue(const char* name) {
   return Field<Impl::QueueAccess<Members, T>>{name};
}

// An operation, with a name for each parameter.
template <auto function, class... Names>
constexpr auto operation(const char* name, Names... arguments) {
   static_assert(sizeof...(Names) == Impl::SignatureOf<function>::arity, "operation: one name for each parameter");
   return Field<Impl::OperationAccess<function>>{name, {arguments...}};
}

// An operation, or an attribute, that is told of and cannot be reached. The parameters of an attribute are those of the ...Is
// operation that makes it.
template <class R, class... P, class... Names>
constexpr auto declaredOperation(const char* name, Names... arguments) {
   static_assert(sizeof...(Names) == sizeof...(P), "declaredOperation: one name for each parameter");
   return Field<Impl::DeclaredAccess<R, Impl::operationShape<R, false, sizeof...(P)>(), P...>>{name, {arguments...}};
}
template <class R, class... P, class... Names>
constexpr auto declaredAttribute(const char* name, Names... arguments) {
   static_assert(sizeof...(Names) == sizeof...(P), "declaredAttribute: one name for each parameter");
   return Field<Impl::DeclaredAccess<R, Impl::attributeShape<R>(), P...>>{name, {arguments...}};
}

// How an object is made by name: a factory, with a name for each of its parameters.
template <auto factory>
struct Constructor;
template <class R, class... P, R (*factory)(P...)>
struct Constructor<factory> {
   using Result = R;
   using Parameters = TypeList<P...>;
   std::array<const char*, sizeof...(P)> arguments;
};
struct NoConstructor {
   using Parameters = TypeList<>;
   std::array<const char*, 0> arguments;
};
constexpr NoConstructor noConstructor{};

template <auto factory, class... Names>
constexpr auto constructor(Names... arguments) {
   static_assert(sizeof...(Names) == Impl::sizeOf<typename Constructor<factory>::Parameters>,
                 "constructor: one name for each parameter");
   return Constructor<factory>{{arguments...}};
}

template <class T, class BaseList, class Constructor_, class... Fields_>
struct TypeDescription {
   using Type = T;
   using Bases = BaseList;  // nearest first, without Corvid::Node
   Constructor_ constructor;
   std::tuple<Fields_...> fields;
};

// A class under Corvid::Node; `Bases` are its described bases, the nearest first.
template <class T, class... Bases, class Constructor_, class... Fields_>
constexpr auto describeClass(Constructor_ constructor, Fields_... fields) {
   static_assert(std::derived_from<T, Node> && (std::derived_from<T, Bases> && ...),
                 "describeClass: the class derives from another base");
   return TypeDescription<T, TypeList<Bases...>, Constructor_, Fields_...>{constructor, {fields...}};
}

// A plain value.
template <class T, class Constructor_, class... Fields_>
constexpr auto describeValue(Constructor_ constructor, Fields_... fields) {
   static_assert(std::copyable<T> && !std::derived_from<T, Node>, "describeValue: the type is no plain value");
   return TypeDescription<T, TypeList<>, Constructor_, Fields_...>{constructor, {fields...}};
}

}  // namespace Corvid
