// ModuleTables: all of a module's reflection tables and each type's inspectOperation, made by the compiler from the
// descriptions of its types (routetrie/platform/Corvid/Describe.h). What the tables look like: routetrie/platform/Tesk/Module.h.
//
// A .cpp that describes the types of a module ends, at global scope, with
//
//    ROUTETRIE_MODULE_RECORD(_PatriciaTrieData_936c190e48e66e7c_teskModule)
//
// inspectOperation(result, object, field, fieldIndex, kind, keyOrValue, arguments) does one access and returns an
// InspectStatus. Objects, values and results travel as routetrie/platform/Corvid/Accessor.h says; `object` is the Corvid::Node of a
// class's object, and the value itself of a value type. The value to set, and the second value of `equals`, is keyOrValue;
// a keyed set takes the key there and the value as arguments[0]. A null field is the value as a whole. The types of what is
// passed are the caller's to get right: Corvid::Inspect does.
// Tested by tests/platform/Corvid/InspectOperationTest.cpp and tests/trie/ModuleRecordTest.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "routetrie/platform/CoreSlab/Slab.h"
#include "routetrie/platform/Corvid/Describe.h"
#include "routetrie/platform/Corvid/ValueFunctions.h"

namespace Tesk::GenericIfImpl {

// How a holder of untyped pointers takes and drops references.
struct PtrInterfaceMethods {
   void (*incUse)(const void* object);
   void (*decUse)(const void* object);
};

template <class T>
struct GenericIfPtrInterfaceMethods {
   static void incUse(const void* object) { static_cast<const T*>(object)->incUse(); }
   static void decUse(const void* object) { static_cast<const T*>(object)->decUseImpl(); }
   static constexpr PtrInterfaceMethods vtable_{&incUse, &decUse};
};

}  // namespace Tesk::GenericIfImpl

namespace Corvid {

namespace Impl {

//--- ids ---

template <class Bases>
inline constexpr FieldId firstIdUnder = 130;
template <class... Bases>
inline constexpr FieldId firstIdUnder<TypeList<Bases...>> = static_cast<FieldId>(130 + 128 * sizeof...(Bases));

template <Described T>
constexpr bool isClass = std::derived_from<T, Node>;

template <Described T>
constexpr std::size_t fieldCount = std::tuple_size_v<decltype(Description<T>::value.fields)>;

template <Described T>
constexpr auto fieldIds() {
   std::array<FieldId, fieldCount<T>> ids{};
   FieldId next = isClass<T> ? firstIdUnder<typename decltype(Description<T>::value)::Bases> : FieldId{2};
   std::size_t i = 0;
   std::apply([&](const auto&... field) { ((next = field.id != 0 ? field.id : next, ids[i++] = next++), ...); },
              Description<T>::value.fields);
   return ids;
}

template <Described T>
constexpr auto fieldNames() {
   std::array<std::string_view, fieldCount<T>> names{};
   std::size_t i = 0;
   std::apply([&](const auto&... field) { ((names[i++] = field.name), ...); }, Description<T>::value.fields);
   return names;
}

template <class Values>
constexpr bool allDiffer(const Values& values) {
   for (std::size_t i = 0; i < values.size(); ++i) {
      for (std::size_t j = 0; j < i; ++j) {
         if (values[i] == values[j]) {
            return false;
         }
      }
   }
   return true;
}

template <Described T, std::size_t I>
using AccessAt =
   typename std::tuple_element_t<I, std::remove_const_t<decltype(Description<T>::value.fields)>>::Access;

}  // namespace Impl

//--- inspectOperation ---

// The one entry point of a type.
template <Described T, class Dummy = void>
struct HideMe {
   static U8 inspectOperation(void* result, void* object, const FieldDescriptor* field, U16, U8 kind,
                              const void* keyOrValue, const void* const* arguments) {
      T& target = *objectAt(object);
      if (field == nullptr) {
         return static_cast<U8>(wholeValue(target, static_cast<AccessKind>(kind), result, keyOrValue));
      }
      InspectStatus status = InspectStatus::noField;
      find(field->id, std::make_index_sequence<Impl::fieldCount<T>>(), [&]<class Access>() {
         const bool taken =
            Access::template perform<T>(target, static_cast<AccessKind>(kind), result, keyOrValue, arguments);
         status = taken ? InspectStatus::done : InspectStatus::badKind;
      });
      return static_cast<U8>(status);
   }

   // Constructs a value at `out`, or puts there a pointer to a new object's Corvid::Node with its one reference.
   static void genericIfConstructFromCtorArgs(void* out, const void* const* arguments) {
      construct(out, arguments, Description<T>::value.constructor);
   }

   // An iterator over the members of a collection, from the start or from `key`; null for a field that has none, or if
   // memory runs out.
   static Tesk::GenericIterator* genericIfIterator(const void* object, const FieldDescriptor* field,
                                                   const void* key) {
      Tesk::GenericIterator* iterator = nullptr;
      find(field->id, std::make_index_sequence<Impl::fieldCount<T>>(), [&]<class Access>() {
         if constexpr (requires { typename Access::Iterator; }) {
            iterator = HeldIterator<Access>::make(*objectAt(const_cast<void*>(object)), key);
         }
      });
      return iterator;
   }

  private:
   static T* objectAt(void* object) {
      if constexpr (Impl::isClass<T>) {
         return static_cast<T*>(static_cast<Node*>(object));
      } else {
         return static_cast<T*>(object);
      }
   }

   template <std::size_t... I, class Found>
   static void find([[maybe_unused]] FieldId id, std::index_sequence<I...>, [[maybe_unused]] Found found) {
      [[maybe_unused]] static constexpr auto ids = Impl::fieldIds<T>();
      static_cast<void>((... || (id == ids[I] && (found.template operator()<Impl::AccessAt<T, I>>(), true))));
   }

   static InspectStatus wholeValue([[maybe_unused]] const T& value, [[maybe_unused]] AccessKind kind,
                                   [[maybe_unused]] void* result, [[maybe_unused]] const void* other) {
      if constexpr (!Impl::isClass<T>) {
         if (kind == AccessKind::differsFromDefault) {
            Impl::encodeResult(differs(value, std::make_index_sequence<Impl::fieldCount<T>>()), result);
            return InspectStatus::done;
         }
         if (kind == AccessKind::equals) {
            Impl::encodeResult(value == *static_cast<const T*>(other), result);
            return InspectStatus::done;
         }
      }
      return InspectStatus::badKind;
   }

   template <std::size_t... I>
   static bool differs(const T& value, std::index_sequence<I...>) {
      if constexpr (sizeof...(I) == 0) {
         return !(value == T());
      } else {
         const auto fieldDiffers = [&]<class Access>() {
            using Value = std::remove_cvref_t<typename Access::Result>;
            return !(Access::getFrom(value) == Value());
         };
         return (... || fieldDiffers.template operator()<Impl::AccessAt<T, I>>());
      }
   }

   static void construct(void*, const void* const*, const NoConstructor&) {}
   template <auto factory>
   static void construct(void* out, const void* const* arguments, const Constructor<factory>&) {
      constructWith<factory>(out, arguments, typename Constructor<factory>::Parameters{});
   }
   template <auto factory, class... P>
   static void constructWith(void* out, const void* const* arguments, TypeList<P...>) {
      constructWith<factory, P...>(out, arguments, std::index_sequence_for<P...>());
   }
   template <auto factory, class... P, std::size_t... I>
   static void constructWith(void* out, [[maybe_unused]] const void* const* arguments, std::index_sequence<I...>) {
      Impl::encodeResult(factory(Impl::argument<P>(arguments[I])...), out);
   }

   template <class Access>
   struct HeldIterator : Tesk::GenericIterator {
      using Iterator = typename Access::Iterator;
      Iterator state;

      template <class... Start>
      explicit HeldIterator(const T& object, const Start&... start)
         : Tesk::GenericIterator{&functionTable}, state(object, start...) {}

      static Tesk::GenericIterator* make(const T& object, const void* key) {
         void* const memory = CoreSlab::slabAllocOrStdMalloc(sizeof(HeldIterator), -1);
         if (memory == nullptr) {
            return nullptr;
         }
         try {
            if (key == nullptr) {
               return ::new (memory) HeldIterator(object);
            }
            return ::new (memory) HeldIterator(object, *static_cast<const typename Access::Key*>(key));
         } catch (...) {
            CoreSlab::slabFreeOrStdFree(memory);
            throw;
         }
      }

      static HeldIterator& of(Tesk::GenericIterator& iterator) { return static_cast<HeldIterator&>(iterator); }
      static const HeldIterator& of(const Tesk::GenericIterator& iterator) {
         return static_cast<const HeldIterator&>(iterator);
      }
      static void iterKey(const Tesk::GenericIterator& iterator, void* key) {
         Impl::encodeResult(of(iterator).state.key(), key);
      }
      static void iterObj(const Tesk::GenericIterator& iterator, void* result) {
         Impl::encodeResult(of(iterator).state.member(), result);
      }
      static void iterInc(Tesk::GenericIterator& iterator) { of(iterator).state.advance(); }
      static bool iterNonnull(const Tesk::GenericIterator& iterator) { return !of(iterator).state.atEnd(); }
      static void iterDel(Tesk::GenericIterator* iterator) {
         of(*iterator).~HeldIterator();
         CoreSlab::slabFreeOrStdFree(iterator);
      }
      static constexpr Tesk::IteratorFunctions functionTable{&iterKey, &iterObj, &iterInc, &iterNonnull, &iterDel};
   };
};

namespace Impl {

//--- what the tables say, before it is laid out ---

struct TypeFact {
   std::string_view name;
   Tesk::TypeCode code = Tesk::TypeCode::none;  // of a built-in type
   const ModuleInspectData* module = nullptr;   // of any other
   U16 index = 0;
   bool isDefined = false;  // in a module
};

template <class T>
constexpr TypeFact typeFact() {
   using M = typename MeantBy<T>::Type;
   if constexpr (std::is_void_v<M>) {
      return {typeName<M>()};
   } else if constexpr (std::is_same_v<M, U8>) {
      return {typeName<M>(), Tesk::TypeCode::u8};
   } else if constexpr (std::is_same_v<M, U16>) {
      return {typeName<M>(), Tesk::TypeCode::u16};
   } else if constexpr (std::is_same_v<M, U32>) {
      return {typeName<M>(), Tesk::TypeCode::u32};
   } else if constexpr (std::is_same_v<M, int>) {
      return {typeName<M>(), Tesk::TypeCode::s32};
   } else if constexpr (std::is_same_v<M, bool>) {
      return {typeName<M>(), Tesk::TypeCode::boolean};
   } else if constexpr (std::is_same_v<M, String>) {
      return {typeName<M>(), Tesk::TypeCode::string};
   } else {
      using Bare = std::remove_cvref_t<M>;
      if constexpr (!std::is_same_v<M, Bare>) {
         return typeFact<Bare>();
      } else {
         static_assert(HasPlace<M>, "a field's or argument's type is in no module: name it in a ROUTETRIE_MODULE");
         return {typeName<M>(), Tesk::TypeCode::none, PlaceOf<M>::module, PlaceOf<M>::index, true};
      }
   }
}

template <Described T>
constexpr bool isIterable = []<std::size_t... I>(std::index_sequence<I...>) {
   return (... || requires { typename AccessAt<T, I>::Iterator; });
}
(std::make_index_sequence<fieldCount<T>>());

// A pool of names. `capacity` is for making it; the finished pool has `size` bytes.
template <std::size_t capacity>
struct NamePool {
   std::array<char, capacity> text{};
   std::size_t size = 0;

   // The offset of the name, which is added if it is new.
   constexpr std::size_t add(std::string_view name) {
      for (std::size_t at = 0; at < size && size <= capacity;) {
         const std::string_view known(text.data() + at);
         if (known == name) {
            return at;
         }
         at += known.size() + 1;
      }
      const std::size_t at = size;
      for (const char c : name) {
         append(c);
      }
      append('\0');
      return at;
   }

  private:
   // What does not fit is counted alone, so that the limits can be checked.
   constexpr void append(char c) {
      if (size < capacity) {
         text[size] = c;
      }
      ++size;
   }
};

constexpr std::size_t poolCapacity = 8192;
constexpr std::size_t typePoolLimit = 1023;           // a type row shifts an offset by 6 in 16 bits
constexpr std::size_t fieldPoolLimit = poolCapacity;  // an argument row has two bytes for an offset

template <std::size_t types, std::size_t fields, std::size_t arguments>
struct Layout {
   std::array<Tesk::TypeRow, types> typeRows{};
   std::array<Tesk::FieldRow, fields == 0 ? 1 : fields> fieldRows{};
   std::array<Tesk::ArgumentRow, arguments> argumentRows{};
   std::size_t argumentCount = 0;
   std::array<Tesk::ReferencedType, arguments + 2 * fields + types + 1> referenced{};
   // Types are told apart by name and not by place: built for the undefined-behaviour sanitizer, g++ 12 compares no addresses of
   // records, not even with null, before the program is linked.
   std::array<std::string_view, arguments + 2 * fields + types + 1> referencedNames{};
   std::size_t referencedCount = 0;
   NamePool<poolCapacity> typeNames;
   NamePool<poolCapacity> fieldNames;

   constexpr Tesk::S16 reference(const TypeFact& type) {
      if (!type.isDefined) {
         return static_cast<Tesk::S16>(type.code);
      }
      for (std::size_t i = 0; i < referencedCount; ++i) {
         if (referencedNames[i] == type.name) {
            return static_cast<Tesk::S16>(i);
         }
      }
      referencedNames[referencedCount] = type.name;
      referenced[referencedCount] = {type.module, type.index};
      return static_cast<Tesk::S16>(referencedCount++);
   }

   // The index of the first row of the list; all empty lists are one.
   template <class... P>
   constexpr U16 argumentList(TypeList<P...>, const std::array<const char*, sizeof...(P)>& names) {
      if constexpr (sizeof...(P) == 0) {
         return 0;
      } else {
         const std::size_t first = argumentCount;
         std::size_t i = 0;
         (argument(names[i++], typeFact<P>()), ...);
         argumentRows[argumentCount++] = {};
         return static_cast<U16>(first);
      }
   }

   constexpr void argument(std::string_view name, const TypeFact& type) {
      const std::size_t offset = fieldNames.add(name);
      argumentRows[argumentCount++] = {static_cast<U16>(offset >> 8), static_cast<U16>(offset & 0xFF),
                                       static_cast<U16>(typeNames.add(type.name))};
   }
};

template <class F, class Arguments>
constexpr bool isArgumentName(const F& field, const Arguments& constructorArguments) {
   for (const char* argument : constructorArguments) {
      if (std::string_view(argument) == field.name) {
         return true;
      }
   }
   return false;
}

template <class L, class F, class Arguments>
constexpr Tesk::FieldRow fieldRow(L& layout, FieldId id, const F& field, const Arguments& constructorArguments) {
   using Access = typename F::Access;
   const std::size_t name = layout.fieldNames.add(field.name);
   const U32 flags = Access::kinds | field.flags |
                     (isArgumentName(field, constructorArguments) ? Tesk::fieldConstructorArgument : 0U);
   Tesk::FieldRow row{};
   row.id = id;
   row.shape = Access::shape;
   for (unsigned i = 0; i < 4; ++i) {
      row.flagBytes[i] = static_cast<U8>(flags >> (8 * i));
   }
   row.nameLow = static_cast<U8>((name & 31) << 3);
   row.nameHigh = static_cast<U16>(name >> 5);
   row.type = layout.reference(typeFact<typename Access::Result>());
   row.keyAttribute = field.keyAttribute != nullptr ? static_cast<U32>(layout.fieldNames.add(field.keyAttribute)) : 0;
   row.keyType = Tesk::noType;
   if constexpr (!std::is_void_v<typename Access::Key>) {
      row.keyType = layout.reference(typeFact<typename Access::Key>());
   }
   row.firstArgument = row.shape == Tesk::Shape::keyedPointers
                          ? static_cast<U16>(row.keyType)
                          : layout.argumentList(typename Access::Parameters{}, field.arguments);
   row.position = field.position;
   return row;
}

template <class Bases>
constexpr Tesk::S16 baseReference(auto&, Bases) {
   return Tesk::baseIsNode;
}
template <class Base, class... Rest>
constexpr Tesk::S16 baseReference(auto& layout, TypeList<Base, Rest...>) {
   return layout.reference(typeFact<Base>());
}

template <Described T, class... F>
constexpr std::size_t argumentRowsOf(const std::tuple<F...>&) {
   constexpr std::size_t constructorRows = Description<T>::value.constructor.arguments.size() + 1;
   return constructorRows + (0 + ... + (F::arity + 1));
}

template <Described T>
constexpr void addType(auto& layout, std::size_t index, std::size_t& firstField) {
   static_assert(allDiffer(fieldIds<T>()), "two fields of one class have the same id");
   static_assert(allDiffer(fieldNames<T>()), "two fields of one class have the same name");
   constexpr const auto& description = Description<T>::value;
   using Constructor_ = std::remove_cvref_t<decltype(description.constructor)>;
   std::apply([]<class... F>(const F&...) { (F::Access::template check<T>(), ...); }, description.fields);

   Tesk::TypeRow& row = layout.typeRows[index];
   row.kind = !isClass<T> ? Tesk::kindValue : std::is_abstract_v<T> ? Tesk::kindAbstractClass : Tesk::kindClass;
   row.name = static_cast<U16>(layout.typeNames.add(typeName<T>()) << 6);
   row.flags = static_cast<U16>((std::same_as<Constructor_, NoConstructor> ? 0 : Tesk::typeConstructible) |
                                (isIterable<T> ? Tesk::typeIterable : 0));
   row.constructorArguments = static_cast<U16>(description.constructor.arguments.size());
   row.fields = static_cast<U16>(fieldCount<T>);
   row.firstField = static_cast<U16>(firstField);
   row.firstConstructorArgument =
      layout.argumentList(typename Constructor_::Parameters{}, description.constructor.arguments);
   if constexpr (isClass<T>) {
      row.base = baseReference(layout, typename std::remove_cvref_t<decltype(description)>::Bases{});
   } else {
      row.base = Tesk::noType;
   }
   constexpr auto ids = fieldIds<T>();
   std::size_t i = 0;
   std::apply(
      [&](const auto&... field) {
         ((layout.fieldRows[firstField++] = fieldRow(layout, ids[i++], field, description.constructor.arguments)),
          ...);
      },
      description.fields);
}

// "PatriciaTrieData" of "_PatriciaTrieData_936c190e48e66e7c_teskModule".
constexpr std::string_view moduleName(std::string_view recordName) {
   recordName.remove_prefix(recordName.find_first_not_of('_'));
   return recordName.substr(0, recordName.find('_'));
}

template <Described T>
constexpr Tesk::TypeFunctions typeFunctions() {
   using Inspected = HideMe<T>;
   using Constructor_ = std::remove_cvref_t<decltype(Description<T>::value.constructor)>;
   Tesk::TypeFunctions functions{};
   if constexpr (isClass<T>) {
      functions.pointerInterface = &Tesk::GenericIfImpl::GenericIfPtrInterfaceMethods<Node>::vtable_;
   } else {
      functions.value = &Inspect::InspectAtomicFnTable<T>::table;
   }
   if constexpr (!std::same_as<Constructor_, NoConstructor>) {
      functions.constructFromCtorArgs = &Inspected::genericIfConstructFromCtorArgs;
   }
   functions.inspect = &Inspected::inspectOperation;
   if constexpr (isIterable<T>) {
      functions.iterator = &Inspected::genericIfIterator;
   }
   return functions;
}

template <std::size_t count, class Array>
constexpr auto firstOf(const Array& array) {
   std::array<typename Array::value_type, count> result{};
   for (std::size_t i = 0; i < count; ++i) {
      result[i] = array[i];
   }
   return result;
}

// The tables of the module with this record.
template <const ModuleInspectData& record, class Name, class Types = typename ModuleTypes<record>::Types>
struct ModuleTables;
template <const ModuleInspectData& record, class Name, Described... Types>
struct ModuleTables<record, Name, TypeList<Types...>> {
   static constexpr std::size_t fieldTotal = (0 + ... + fieldCount<Types>);
   static constexpr std::size_t argumentTotal = (1 + ... + argumentRowsOf<Types>(Description<Types>::value.fields));

   static constexpr auto layout = [] {
      Layout<sizeof...(Types), fieldTotal, argumentTotal> made{};
      made.typeNames.add(moduleName(Name::text));
      made.fieldNames.add("");
      made.argumentRows[made.argumentCount++] = {};
      std::size_t index = 0;
      std::size_t firstField = 0;
      (addType<Types>(made, index++, firstField), ...);
      return made;
   }();
   static_assert(layout.typeNames.size <= typePoolLimit, "the module's type names are past the limit of their pool");
   static_assert(layout.fieldNames.size <= fieldPoolLimit,
                 "the module's field names are past the limit of their pool");

   static constexpr auto typeRows = layout.typeRows;
   static constexpr auto fieldRows = layout.fieldRows;
   static constexpr auto argumentRows = firstOf<layout.argumentCount>(layout.argumentRows);
   static constexpr auto typeNames = firstOf<layout.typeNames.size>(layout.typeNames.text);
   static constexpr auto fieldNames = firstOf<layout.fieldNames.size>(layout.fieldNames.text);
   static constexpr auto referenced = firstOf<layout.referencedCount + 1>(layout.referenced);
   static constexpr std::array<Tesk::TypeFunctions, sizeof...(Types)> functions{typeFunctions<Types>()...};

   static constexpr ModuleInspectData made{typeRows.data(),
                                           fieldRows.data(),
                                           argumentRows.data(),
                                           typeNames.data(),
                                           fieldNames.data(),
                                           referenced.data(),
                                           functions.data(),
                                           static_cast<U16>(sizeof...(Types)),
                                           1,
                                           {}};
};

}  // namespace Impl
}  // namespace Corvid

// Defines the record and announces it at load time.
// NOLINTBEGIN(bugprone-macro-parentheses): it declares what it is given.
#define ROUTETRIE_MODULE_RECORD(record)                                                                       \
   namespace {                                                                                                \
   struct NameOf##record {                                                                                    \
      static constexpr std::string_view text = #record;                                                       \
   };                                                                                                         \
   }                                                                                                          \
   constinit const Tesk::ModuleInspectData record = Corvid::Impl::ModuleTables<record, NameOf##record>::made; \
   namespace {                                                                                                \
   [[maybe_unused]] const bool announced##record = (record.loaded(), true);                                   \
   }
// NOLINTEND(bugprone-macro-parentheses)
