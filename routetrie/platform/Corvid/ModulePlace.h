// ROUTETRIE_MODULE: names a module record and the types in it, in the order of its type table. Stands in a header at global
// scope, so that other modules can refer to the types; the .cpp that describes them ends with ROUTETRIE_MODULE_RECORD
// (routetrie/platform/Corvid/ModuleTables.h).
//
//    ROUTETRIE_MODULE(_TrieGen_7a6fe44fbc33ae9a_teskModule, Routing::TrieGen, Routing::VrfTrieGen)
//
// The record's name is an underscore, the module's name, an underscore, a hash, and "_teskModule".
#pragma once

#include <concepts>
#include <cstddef>

#include "routetrie/platform/Corvid/Node.h"
#include "routetrie/platform/Export.h"
#include "routetrie/platform/Tesk/Module.h"

namespace Corvid {

using ModuleInspectData = Tesk::ModuleInspectData;

template <class... Types>
struct TypeList {};

template <class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);

// The types of the module with this record, as a TypeList.
template <const ModuleInspectData& record>
struct ModuleTypes;

// Where a type is defined: its module's record, and its index in that module.
template <class T>
struct PlaceOf;

template <class T>
concept HasPlace = requires {
   PlaceOf<T>::index;
};

// What a type tells of itself (routetrie/platform/Corvid/Describe.h). A class befriends it so that the description can tell where
// private members are stored:
//
//    template <class T>
//    friend struct Corvid::Description;
template <class T>
struct Description;

namespace Impl {

template <class T, class... Types>
constexpr U16 indexIn(TypeList<Types...>) {
   U16 index = 0;
   static_cast<void>((... || (std::same_as<T, Types> || (++index, false))));
   return index;
}

template <const ModuleInspectData& record, class T>
struct PlaceIn {
   static constexpr const ModuleInspectData* module = &record;
   static constexpr U16 index = indexIn<T>(typename ModuleTypes<record>::Types{});
};

}  // namespace Impl

// What an object's typeData() returns.
template <HasPlace T>
constexpr TypeData typeDataOf() {
   return {PlaceOf<T>::module, PlaceOf<T>::index};
}

}  // namespace Corvid

#define ROUTETRIE_MODULE(record, ...)                            \
   extern ROUTETRIE_EXPORT const Tesk::ModuleInspectData record; \
   template <>                                                   \
   struct Corvid::ModuleTypes<record> {                          \
      using Types = Corvid::TypeList<__VA_ARGS__>;               \
   };                                                            \
   template <Corvid::OneOf<__VA_ARGS__> T>                       \
   struct Corvid::PlaceOf<T> : Corvid::Impl::PlaceIn<record, T> {};
