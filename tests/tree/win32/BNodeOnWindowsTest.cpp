#include "core/tree/BNode.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <cstddef>
#include <string>
#include <vector>

namespace {

// Lets the thread have another locale while it lives.
class ThreadLocale {
public:
    explicit ThreadLocale(LCID locale) { SetThreadLocale(locale); }
    ~ThreadLocale() { SetThreadLocale(m_before); }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;

private:
    LCID m_before = GetThreadLocale();
};

constexpr LCID kDanish = MAKELCID(MAKELANGID(LANG_DANISH, SUBLANG_DEFAULT), SORT_DEFAULT);
constexpr LCID kEnglish = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);

// One of 32 texts that differ in Danish, where "aa" is a letter and "aA" two, and in English do
// not.
WString Text(unsigned number, int round)
{
    std::u16string text;
    for (unsigned bit = 0; bit != 5; ++bit)
        text += (number >> bit & 1) != 0 ? u"aAx" : u"aax";
    for (const char digit : std::to_string(round))
        text += static_cast<char16_t>(digit);
    return WString(reinterpret_cast<const WChar*>(text.c_str()));
}

} // namespace

TEST(BNodeOnWindows, ARemovedChildIsNotFoundWhereTextsBecameEqualByAnotherLocale)
{
    constexpr unsigned kChildren = 32;
    std::size_t found = 0;
    for (int round = 0; round != 2000; ++round) { // a wrong child is met with by chance
        const SP<BNode> parent(new BNode);
        std::vector<SP<BNode>> children;
        const ThreadLocale danish(kDanish);
        for (unsigned i = 0; i != kChildren; ++i) {
            children.emplace_back(new BNode);
            children.back()->SetText(Text(i, round));
            ASSERT_TRUE(parent->AddChild(children.back().Get(), -1));
        }
        ASSERT_EQ(parent->Child(children[1]->GetText()), children[1].Get());
        {
            const ThreadLocale english(kEnglish);
            for (unsigned i = kChildren / 2; i != kChildren; ++i)
                ASSERT_TRUE(parent->RemoveChild(children[i].Get()));
        }
        for (unsigned i = kChildren / 2; i != kChildren; ++i)
            found += parent->Child(children[i]->GetText()) == children[i].Get() ? 1 : 0;
    }
    EXPECT_EQ(found, 0u);
}

TEST(BNodeOnWindows, ARemovedChildIsNotFoundWhereTextsBecameDifferentByAnotherLocale)
{
    const SP<BNode> parent(new BNode);
    std::vector<SP<BNode>> children;
    const ThreadLocale english(kEnglish);
    for (unsigned i = 0; i != 32; ++i) {
        children.emplace_back(new BNode);
        children.back()->SetText(Text(i, 0));
        ASSERT_TRUE(parent->AddChild(children.back().Get(), -1));
    }
    ASSERT_EQ(parent->Child(children[1]->GetText()), children[0].Get());
    {
        const ThreadLocale danish(kDanish);
        ASSERT_TRUE(parent->RemoveChild(children[1].Get()));
    }
    ASSERT_TRUE(parent->RemoveChild(children[0].Get()));
    EXPECT_EQ(parent->Child(children[1]->GetText()), children[2].Get());
}
