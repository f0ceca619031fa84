#include "core/platform/TypeName.h"

#include <gtest/gtest.h>

namespace names {

class Outer {
public:
    class Inner {};
};

} // namespace names

TEST(TypeName, IsTheUndecoratedNameWithItsKeyword)
{
    EXPECT_STREQ(platform::TypeName(typeid(names::Outer)), "class names::Outer");
    EXPECT_STREQ(platform::TypeName(typeid(names::Outer::Inner)), "class names::Outer::Inner");
    EXPECT_EQ(platform::TypeName(typeid(names::Outer)), platform::TypeName(typeid(names::Outer)));
}
