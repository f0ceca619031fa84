#include "core/platform/Sha1Instructions.h"

#if defined(__x86_64__) || defined(_M_X64)

# include <immintrin.h>

# if defined(_MSC_VER)
#  include <intrin.h>
#  define QD_WITH_SHA
# else
#  include <cpuid.h>
#  define QD_WITH_SHA __attribute__((target("sha,sse4.1")))
# endif

// SHA-1 by the processor's own instructions; the portable rounds in BSha1.cpp stay for processors
// without them. It stands in the seam as it needs compiler extensions: these functions alone are
// compiled for such a processor (`target`), so the rest of the library runs on any, and the caller
// asks `HasSha1Instructions` before.
namespace platform {

namespace {

struct CpuId {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

CpuId QueryCpu(unsigned leaf) noexcept
{
    CpuId id;
# if defined(_MSC_VER)
    int registers[4] = {};
    __cpuid(registers, 0);
    if (static_cast<unsigned>(registers[0]) < leaf)
        return id;
    __cpuidex(registers, static_cast<int>(leaf), 0);
    id.ebx = static_cast<unsigned>(registers[1]);
    id.ecx = static_cast<unsigned>(registers[2]);
# else
    __get_cpuid_count(leaf, 0, &id.eax, &id.ebx, &id.ecx, &id.edx);
# endif
    return id;
}

// Four words of the state in one register, the fifth as the instructions want it.
struct State {
    __m128i abcd;
    __m128i e; // `abcd` as it was four rounds ago, whose a becomes e
};

// Four rounds of the kind `KIND` (0 to 3, twenty rounds each) with four words of the schedule.
template <int KIND>
QD_WITH_SHA inline void TakeFour(State& state, __m128i words) noexcept
{
    const __m128i before = state.abcd;
    state.abcd = _mm_sha1rnds4_epu32(before, _mm_sha1nexte_epu32(state.e, words), KIND);
    state.e = before;
}

// The schedule's next four words, in place of the oldest of the last sixteen.
QD_WITH_SHA inline void Extend(__m128i& w0, __m128i w1, __m128i w2, __m128i w3) noexcept
{
    w0 = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3);
}

// Sixteen rounds of the kinds that the four quarters have, extending the schedule before each.
template <int KIND0, int KIND1, int KIND2, int KIND3>
QD_WITH_SHA inline void TakeSixteen(State& state, __m128i (&w)[4]) noexcept
{
    Extend(w[0], w[1], w[2], w[3]);
    TakeFour<KIND0>(state, w[0]);
    Extend(w[1], w[2], w[3], w[0]);
    TakeFour<KIND1>(state, w[1]);
    Extend(w[2], w[3], w[0], w[1]);
    TakeFour<KIND2>(state, w[2]);
    Extend(w[3], w[0], w[1], w[2]);
    TakeFour<KIND3>(state, w[3]);
}

QD_WITH_SHA inline __m128i LoadBigEndian(const std::uint8_t* bytes) noexcept
{
    const __m128i reversed = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), reversed);
}

QD_WITH_SHA inline State TakeBlock(const State& start, const std::uint8_t* block) noexcept
{
    __m128i w[4] = {LoadBigEndian(block), LoadBigEndian(block + 16), LoadBigEndian(block + 32),
                    LoadBigEndian(block + 48)};
    State state = start;
    // Here e is still itself, with nothing to rotate.
    state.abcd = _mm_sha1rnds4_epu32(start.abcd, _mm_add_epi32(start.e, w[0]), 0);
    state.e = start.abcd;
    TakeFour<0>(state, w[1]);
    TakeFour<0>(state, w[2]);
    TakeFour<0>(state, w[3]);
    TakeSixteen<0, 1, 1, 1>(state, w);
    TakeSixteen<1, 1, 2, 2>(state, w);
    TakeSixteen<2, 2, 2, 3>(state, w);
    TakeSixteen<3, 3, 3, 3>(state, w);
    return {_mm_add_epi32(state.abcd, start.abcd), _mm_sha1nexte_epu32(state.e, start.e)};
}

} // namespace

bool HasSha1Instructions() noexcept
{
    constexpr unsigned ssse3 = 1u << 9, sse41 = 1u << 19, sha = 1u << 29;
    const unsigned wanted = ssse3 | sse41;
    return (QueryCpu(1).ecx & wanted) == wanted && (QueryCpu(7).ebx & sha) != 0;
}

// "Intel SHA Extensions", Gulley, Gopal, Yap, Feghali, Guilford, Wolrich, 2013.
QD_WITH_SHA void TakeSha1BlocksByInstructions(std::uint32_t (&words)[5], const std::uint8_t* blocks,
                                              std::size_t count) noexcept
{
    constexpr int kReversed = 0x1B; // a stands in the highest word of a register
    auto* const memory = reinterpret_cast<__m128i*>(words);
    State state = {_mm_shuffle_epi32(_mm_loadu_si128(memory), kReversed),
                   _mm_set_epi32(static_cast<int>(words[4]), 0, 0, 0)};
    for (; count > 0; --count, blocks += 64)
        state = TakeBlock(state, blocks);
    _mm_storeu_si128(memory, _mm_shuffle_epi32(state.abcd, kReversed));
    words[4] = static_cast<std::uint32_t>(_mm_extract_epi32(state.e, 3));
}

} // namespace platform

#else

namespace platform {

bool HasSha1Instructions() noexcept
{
    return false;
}

void TakeSha1BlocksByInstructions(std::uint32_t (&)[5], const std::uint8_t*, std::size_t) noexcept
{}

} // namespace platform

#endif
