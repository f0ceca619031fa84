#pragma once

#include <string>
#include <typeinfo>

/// Names of types as files hold them.
namespace platform {

/// The undecorated name with its keyword, "class BNode" ("class " for every kind of type where the
/// compiler does not tell the kinds apart). Made once a type, good for the life of the process, and
/// always the same pointer for one type. Thread-safe; as cheap as a look-up of the type's address
/// after the first call.
[[nodiscard]] const char* TypeName(const std::type_info& type);

/// The same text, made anew by each call.
[[nodiscard]] std::string MakeTypeName(const std::type_info& type);

} // namespace platform
