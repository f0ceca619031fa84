#include "core/platform/TypeName.h"

#include "tests/Latch.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace names {

class Outer {
public:
    class Inner {};
};
template <int number>
class Numbered {};

} // namespace names

namespace {

/// The type_infos of `count` types.
template <int count>
void Collect(std::vector<const std::type_info*>& types)
{
    if constexpr (count > 0) {
        Collect<count - 1>(types);
        types.push_back(&typeid(names::Numbered<count>));
    }
}

} // namespace

TEST(TypeName, IsTheUndecoratedNameWithItsKeyword)
{
    EXPECT_STREQ(platform::TypeName(typeid(names::Outer)), "class names::Outer");
    EXPECT_STREQ(platform::TypeName(typeid(names::Outer::Inner)), "class names::Outer::Inner");
    EXPECT_EQ(platform::TypeName(typeid(names::Outer)), platform::TypeName(typeid(names::Outer)));
}

TEST(TypeName, IsTheSamePointerOnAllThreads)
{
    std::vector<const std::type_info*> types;
    Collect<200>(types);
    Latch ready(2);
    const auto ask = [&](std::vector<const char*>& answers) {
        ready.ArriveAndWait();
        for (const std::type_info* type : types)
            answers.push_back(platform::TypeName(*type));
    };
    std::vector<const char*> here, there;
    std::thread other(ask, std::ref(there));
    ask(here);
    other.join();
    EXPECT_EQ(here, there);
    EXPECT_NE(here[0], here[199]);
}
