#include "core/file/Sha1.h"

#include "core/platform/Sha1Instructions.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>

namespace {

std::string DigestText(const std::string& message, Sha1BlockFunction take)
{
    std::uint32_t h[5];
    Sha1Digest({reinterpret_cast<const std::uint8_t*>(message.data()), message.size()}, take, h);
    char text[41];
    std::snprintf(text, sizeof text, "%08x%08x%08x%08x%08x", h[0], h[1], h[2], h[3], h[4]);
    return text;
}

} // namespace

TEST(Sha1, GivesThePublishedDigestsByEitherWay)
{
    const std::pair<std::string, const char*> cases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
         "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
         "a49b2446a02c645bf419f995b67091253a04a259"},
        {std::string(1'000'000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        // Around the ends of blocks; digests by another implementation.
        {std::string(55, 'a'), "c1c8bbdc22796e28c0e15163d20899b65621d65a"},
        {std::string(56, 'a'), "c2db330f6083854c99d4b5bfb6e8f29f201be699"},
        {std::string(64, 'a'), "0098ba824b5c16427bd7a1122a5a442a25ec644d"},
    };
    for (const auto& [message, digest] : cases) {
        SCOPED_TRACE(message.size());
        EXPECT_EQ(DigestText(message, &TakeSha1Blocks), digest);
        EXPECT_TRUE(!platform::HasSha1Instructions() ||
                    DigestText(message, &platform::TakeSha1BlocksByInstructions) == digest);
    }
}
