#include "tools/qdinspect/Progress.h"

#include <iostream>
#include <string>

namespace {

constexpr std::size_t kWidth = 40; // of the bar, in characters

} // namespace

void Progress::Update(std::uint64_t done, std::uint64_t all)
{
    constexpr std::chrono::milliseconds pause(100); // a faster one only flickers
    const Clock::time_point now = Clock::now();
    if (now < m_next || all == 0)
        return;
    m_next = now + pause;
    m_isShown = true;
    const auto filled = static_cast<std::size_t>(done * kWidth / all);
    std::string bar(filled, '#');
    bar.resize(kWidth, '.');
    std::cerr << "\r[" + bar + "] " + std::to_string(done * 100 / all) + " % " << std::flush;
}

// With blanks: not every terminal knows how to clear a line.
void Progress::Erase()
{
    constexpr std::size_t most = kWidth + 10;
    std::cerr << '\r' + std::string(most, ' ') + '\r' << std::flush;
    m_isShown = false;
}
