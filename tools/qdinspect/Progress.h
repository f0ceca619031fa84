#pragma once

#include <chrono>
#include <cstdint>

/// A bar on the standard error output that tells how far work is which takes longer than a moment.
/// It goes when something is printed, and with the object.
class Progress {
public:
    /// Where the bar stands: nowhere without a terminal; where the output goes to that, too, each
    /// of its lines takes the bar's place.
    enum class EPlace { Nowhere, Alone, AmongOutput };

    explicit Progress(EPlace place) noexcept
        : m_place(place)
    {}
    ~Progress() { Hide(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// May be called for each small piece of the work: most calls only count.
    void Show(std::uint64_t done, std::uint64_t all)
    {
        constexpr std::uint32_t stride = 1024;
        if (m_place != EPlace::Nowhere && ++m_calls % stride == 0)
            Update(done, all);
    }
    void Hide()
    {
        if (m_isShown)
            Erase();
    }
    /// Before a line of the output.
    void HideForOutput()
    {
        if (m_place == EPlace::AmongOutput)
            Hide();
    }

private:
    using Clock = std::chrono::steady_clock;

    void Update(std::uint64_t done, std::uint64_t all);
    void Erase();

    EPlace m_place;
    bool m_isShown = false;
    std::uint32_t m_calls = 0;
    Clock::time_point m_next = Clock::now() + std::chrono::milliseconds(500);
};
