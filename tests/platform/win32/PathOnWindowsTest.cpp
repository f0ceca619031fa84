#include "core/platform/Path.h"
#include "core/platform/PathRules.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

// The rules for the other platforms, beside the shell itself: every text of up to five units. Which
// elements the shell removes depends on its version.
TEST(PathOnWindows, AgreesWithTheRules)
{
    constexpr std::wstring_view alphabet = L"a.\\/: ";
    constexpr platform::EPathStyle shell = platform::EPathStyle::Shell;
    std::size_t count = 1;
    for (std::size_t length = 0; length <= 5; ++length, count *= alphabet.size()) {
        for (std::size_t number = 0; number < count; ++number) {
            std::wstring path;
            for (std::size_t rest = number; path.size() < length; rest /= alphabet.size())
                path += alphabet[rest % alphabet.size()];
            SCOPED_TRACE(testing::PrintToString(path));
            ASSERT_EQ(platform::FindFileName(path, shell), platform::FindFileName(path.c_str()));
            ASSERT_EQ(platform::FindExtension(path, shell), platform::FindExtension(path.c_str()));
        }
    }
}
