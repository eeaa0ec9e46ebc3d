// Member: a class's description of one of its members, from a pointer to it. A class lists its
// members once, in stream order, and that list is its record:
//
//   std::span<const MemberDescription> Machine::Members() {
//     static constexpr MemberDescription kMembers[] = {
//         Member<&Machine::name>(u"name"),
//         Member<&Machine::settings, &Settings::speed>(u"speed"), // a member of a member
//         SectionMark(),
//         Member<&Machine::tools>(u"tools"), // std::vector<Tool>
//     };
//     return kMembers;
//   }
//
// Everything that DiskFile::Transfer moves can be described. New members go to the end: older files
// lack them, and they keep their defaults.
#pragma once

#include <memory>
#include <vector>

#include "files/class_registry.h"
#include "files/disk_file.h"

namespace kor {

namespace member_detail {

template <class Pointer> struct Parts;
template <class C, class V> struct Parts<V C::*> {
  using Class = C;
  using Value = V;
};

template <auto First, auto... Rest> struct Last : Last<Rest...> {};
template <auto Only> struct Last<Only> { using Value = typename Parts<decltype(Only)>::Value; };

template <class T> constexpr bool kIsList = false;
template <class T> constexpr bool kIsList<std::vector<T>> = true;
template <class T> constexpr bool kIsShared = false;
template <class T> constexpr bool kIsShared<std::shared_ptr<T>> = true;

template <class T> constexpr MemberKind IntegerKind() {
  constexpr bool kSigned = std::is_signed_v<T>;
  if constexpr (sizeof(T) == 1)
    return kSigned ? MemberKind::Signed8 : MemberKind::Unsigned8;
  else if constexpr (sizeof(T) == 2)
    return kSigned ? MemberKind::Signed16 : MemberKind::Unsigned16;
  else if constexpr (sizeof(T) == 4)
    return kSigned ? MemberKind::Signed32 : MemberKind::Unsigned32;
  else
    return kSigned ? MemberKind::Signed64 : MemberKind::Unsigned64;
}

template <class T> constexpr MemberKind Kind() {
  if constexpr (std::is_enum_v<T>)
    return IntegerKind<std::underlying_type_t<T>>();
  else if constexpr (std::same_as<T, bool>)
    return MemberKind::Flag;
  else if constexpr (std::is_integral_v<T>)
    return IntegerKind<T>();
  else if constexpr (std::is_floating_point_v<T>)
    return sizeof(T) == 4 ? MemberKind::Real32 : MemberKind::Real64;
  else if constexpr (std::same_as<T, KorText>)
    return MemberKind::Text;
  else if constexpr (std::same_as<T, CalendarDate>)
    return MemberKind::Date;
  else if constexpr (kIsList<T>)
    return MemberKind::List;
  else if constexpr (kIsShared<T>)
    return MemberKind::Reference;
  else
    return MemberKind::Object;
}

template <class T> constexpr MemberKind ElementKind() {
  if constexpr (kIsList<T>)
    return Kind<typename T::value_type>();
  else
    return MemberKind::Object;
}

template <class T> void Move(DiskFile& file, T& value) {
  if constexpr (std::derived_from<T, Storable>)
    file.TransferObject(value);
  else
    file.Transfer(value);
}
template <class T> void Move(DiskFile& file, std::unique_ptr<T>& object) {
  file.TransferNewObject(object);
}
template <class T> void Move(DiskFile& file, std::shared_ptr<T>& object) {
  file.CachedInstance(object);
}

} // namespace member_detail

template <auto First, auto... Path> constexpr MemberDescription Member(std::u16string_view name) {
  using Class = typename member_detail::Parts<decltype(First)>::Class;
  using Value = typename member_detail::Last<First, Path...>::Value;
  return {name, member_detail::Kind<Value>(), member_detail::ElementKind<Value>(),
          [](DiskFile& file, Storable& object) {
            member_detail::Move(file, ((static_cast<Class&>(object).*First).*....*Path));
          }};
}

constexpr MemberDescription SectionMark() {
  return {u"", MemberKind::SectionMark, MemberKind::Object,
          [](DiskFile& file, Storable&) { file.SectionMark(); }};
}

} // namespace kor
