#pragma once

#include <utility>

namespace NArchive {

/// Sets a variable for as long as a block runs.
template <typename T>
class ScopedValue {
public:
    ScopedValue(T& variable, T value)
        : m_variable(variable)
        , m_former(std::exchange(variable, value))
    {}
    ~ScopedValue() { m_variable = m_former; }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& m_variable;
    T m_former;
};

} // namespace NArchive
