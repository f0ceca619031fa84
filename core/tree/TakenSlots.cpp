#include "core/tree/TakenSlots.h"

#include <bit>
#include <cassert>

// A list of children has this table only while it has holes, and each change of the list goes
// through it: so it is made in one pass, and small. A count for each slot would take 32 times the
// memory of the bits; bits alone would have `At` look at every word.

namespace {

constexpr int kBits = 64; // slots of a word

std::uint64_t Bit(int slot)
{
    return std::uint64_t{1} << (slot % kBits);
}

// From that slot on, those of its word.
std::uint64_t BitsFrom(int slot)
{
    return ~std::uint64_t{0} << (slot % kBits);
}

std::size_t WordOf(int slot)
{
    return static_cast<std::size_t>(slot / kBits);
}

} // namespace

TakenSlots::TakenSlots(int capacity, int first, int end)
    : m_words(WordOf(capacity) + 1)
    , m_counts(m_words.size())
{
    for (std::size_t word = WordOf(first); word <= WordOf(end); ++word)
        m_words[word] = ~std::uint64_t{0};
    m_words[WordOf(first)] &= BitsFrom(first);
    m_words[WordOf(end)] &= ~BitsFrom(end);
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        m_counts[i] += std::popcount(m_words[i]);
        const std::size_t above = i | (i + 1);
        if (above < m_counts.size())
            m_counts[above] += m_counts[i];
    }
}

void TakenSlots::Take(int slot) noexcept
{
    assert((m_words[WordOf(slot)] & Bit(slot)) == 0);
    m_words[WordOf(slot)] |= Bit(slot);
    Count(slot / kBits, 1);
}

void TakenSlots::Free(int slot) noexcept
{
    assert((m_words[WordOf(slot)] & Bit(slot)) != 0);
    m_words[WordOf(slot)] &= ~Bit(slot);
    Count(slot / kBits, -1);
}

// Down the tree: a step is taken where all words that it passes hold no more than `index` slots.
int TakenSlots::At(int index) const noexcept
{
    std::size_t word = 0;
    for (std::size_t step = std::bit_floor(m_counts.size()); step != 0; step /= 2) {
        if (word + step <= m_counts.size() && m_counts[word + step - 1] <= index) {
            word += step;
            index -= m_counts[word - 1];
        }
    }
    assert(word < m_words.size());
    std::uint64_t bits = m_words[word];
    assert(index >= 0 && index < std::popcount(bits));
    for (; index > 0; --index)
        bits &= bits - 1;
    return static_cast<int>(word) * kBits + std::countr_zero(bits);
}

int TakenSlots::From(int slot) const noexcept
{
    const std::uint64_t bits = m_words[WordOf(slot)] & BitsFrom(slot);
    if (bits != 0)
        return slot / kBits * kBits + std::countr_zero(bits);
    return At(CountBefore(slot / kBits + 1));
}

int TakenSlots::Before(int slot) const noexcept
{
    const std::uint64_t bits = m_words[WordOf(slot)] & ~BitsFrom(slot);
    if (bits != 0)
        return slot / kBits * kBits + kBits - 1 - std::countl_zero(bits);
    return At(CountBefore(slot / kBits) - 1);
}

// `i | (i + 1)` is the next place whose words include those of place `i`.
void TakenSlots::Count(int word, int change) noexcept
{
    for (auto i = static_cast<std::size_t>(word); i < m_counts.size(); i |= i + 1)
        m_counts[i] += change;
}

// `i & (i - 1)` is where the words that place `i - 1` covers begin.
int TakenSlots::CountBefore(int word) const noexcept
{
    int count = 0;
    for (auto i = static_cast<std::size_t>(word); i != 0; i &= i - 1)
        count += m_counts[i - 1];
    return count;
}
