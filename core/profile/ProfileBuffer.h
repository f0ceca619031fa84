#pragma once

#include "core/platform/WChar.h"

#include <cassert>
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
        assert(extraRoom <= kMostExtraRoom);
        std::size_t room = kStep;
        m_length = read(m_first, room + extraRoom);
        while (m_length + 1 >= room && room != kLargest) {
            room += kStep;
            m_units.resize(room + extraRoom);
            m_length = read(m_units.data(), m_units.size());
        }
    }
    ProfileBuffer(const ProfileBuffer&) = delete;
    ProfileBuffer& operator=(const ProfileBuffer&) = delete;

    /// The text, ended by a 0; a list has a 0 behind each text, too.
    [[nodiscard]] const WChar* Text() const noexcept
    {
        return m_units.empty() ? m_first : m_units.data();
    }
    [[nodiscard]] std::size_t Length() const noexcept { return m_length; }

private:
    static constexpr std::size_t kStep = 512, kLargest = 32768, kMostExtraRoom = 1;

    WChar m_first[kStep + kMostExtraRoom]; // most texts take no memory
    std::vector<WChar> m_units;            // for one that is longer
    std::size_t m_length = 0;
};
