#pragma once

#include "core/platform/Export.h" // asks for C++20

#include <concepts>
#include <type_traits>

/// What the overloads of the profiles' writers ask of an argument, so that none takes a value for
/// another one.
namespace NProfile {

/// A number that an `int` may not hold.
template <class T>
concept IsWiderThanInt = (std::integral<T> || std::is_enum_v<T>)&&sizeof(T) > sizeof(int);

/// A pointer, or an object that converts into one, such as a string.
template <class T>
concept IsPointer =
    std::is_pointer_v<std::decay_t<T>> || std::is_convertible_v<T, const volatile void*>;

/// A unit of a text, in whatever encoding.
template <class T>
concept IsTextUnit = std::same_as<T, char> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, wchar_t>;

} // namespace NProfile
