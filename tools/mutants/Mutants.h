// Included before every file of a build with mutants.
#pragma once

namespace qdm {

/// Notes that mutant `number` was reached; true when the environment chose it.
bool reached(int number) noexcept;

/// Constants keep their values: a mutant sleeps while the compiler evaluates.
constexpr bool on(int number) noexcept
{
    return !__builtin_is_constant_evaluated() && reached(number);
}

} // namespace qdm
