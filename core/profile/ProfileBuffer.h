#pragma once

#include "core/platform/WChar.h"

#include <cstddef>
#include <vector>

/// Text of a private profile of any length, up to a limit, read into a buffer that grows.
class ProfileBuffer {
public:
    /// `read(buffer, room)` gives the length of what it put into the buffer. It is called until the
    /// text is not cut any more or the buffer has grown to 32,768 units, of which it is given
    /// `extraRoom` more.
    template <class Read>
    ProfileBuffer(std::size_t extraRoom, Read read)
    {
        constexpr std::size_t step = 512, largest = 32768;
        for (std::size_t room = step;; room += step) {
            m_units.resize(room + extraRoom);
            m_length = read(m_units.data(), m_units.size());
            if (m_length + 1 < room || room == largest)
                break;
        }
    }

    /// The text, ended by a 0; a list has a 0 behind each text, too.
    [[nodiscard]] const WChar* Text() const noexcept { return m_units.data(); }
    [[nodiscard]] std::size_t Length() const noexcept { return m_length; }

private:
    std::vector<WChar> m_units;
    std::size_t m_length = 0;
};
