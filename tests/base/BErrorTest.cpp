#include "core/base/BError.h"

#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"

#include "tests/ThrownError.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

/// Its code and its texts come from virtual functions, not from the fields.
struct Late : BError {
    explicit Late(int code)
        : BError(1)
        , late(code)
    {}
    using BError::operator=;
    int Error() const override { return late; }
    WString Argument(int) override { return QD_W("own"); }
    int late;
};

} // namespace

TEST(BError, HoldsACodeAndFourTexts)
{
    const BError error(7, QD_W("$A"), nullptr, QD_W("C"), QD_W(""));
    EXPECT_EQ(error.Error(), 7);
    EXPECT_EQ(error.Argument(0), QD_W("$A"));
    EXPECT_EQ(error.Argument(2), QD_W("C"));
    for (const int empty : {1, 3, 4, -1})
        EXPECT_TRUE(error.Argument(empty).IsEmpty()) << empty;

    BError other(0, WString(QD_W("w")), WString(), WString(), WString(QD_W("z")));
    EXPECT_FALSE(other.IsFailure());
    EXPECT_EQ(other.Argument(3), QD_W("z"));
    other = error;
    EXPECT_TRUE(other.IsFailure());
    EXPECT_EQ(other.Argument(0), QD_W("$A"));
    EXPECT_TRUE(other.Argument(3).IsEmpty());
    const Late answering(0);
    EXPECT_EQ(static_cast<const BError&>(answering).Argument(0), QD_W("own"));
    EXPECT_FALSE(answering.IsFailure());
}

TEST(BError, ThrowsACopyThatIsASmartObjectToo)
{
    const SP<BError> error = new BError(5, QD_W("$Key"), nullptr, nullptr, nullptr);
    const BError caught = ThrownError([&] { error->Throw(); }).value();
    EXPECT_EQ(caught.Error(), 5);
    EXPECT_EQ(caught.Argument(0).CStr(), error->Argument(0).CStr()) << "the texts are shared";
    EXPECT_THROW(error->Throw(), BSmartObj);
}

TEST(BError, ChecksResultsByThrowingFailures)
{
    const BError checker(1, QD_W("A"), QD_W("B"), QD_W("C"), QD_W("D"));
    BError none(0), failure(5, QD_W("F"), nullptr, nullptr, nullptr);
    Late lateSuccess(0), lateFailure(2);
    EXPECT_NO_THROW(checker.Check(0));
    EXPECT_NO_THROW(checker.Check(none));
    EXPECT_NO_THROW(checker.Check(lateSuccess));
    EXPECT_THROW(checker.Check(lateFailure), BError);
    const BError ofCode = ThrownError([&] { checker.Check(7); }).value();
    EXPECT_EQ(ofCode.Error(), 7);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(ofCode.Argument(i), checker.Argument(i)) << i;
    const BError ofError = ThrownError([&] { checker.Check(failure); }).value();
    EXPECT_EQ(ofError.Error(), 5);
    EXPECT_EQ(ofError.Argument(0), QD_W("F"));
}

TEST(BError, SpeaksOfItsCodeAndItsArguments)
{
    const auto text = [](int code, const WChar* first, const WChar* second) {
        return BError(code, first, nullptr, second, nullptr).Text();
    };
    EXPECT_EQ(text(0, nullptr, nullptr), QD_W("no error"));
    EXPECT_EQ(text(7, nullptr, nullptr), QD_W("error 7"));
    EXPECT_EQ(text(7, QD_W("$A"), QD_W("b")), QD_W("error 7: $A, b"));
    EXPECT_EQ(text(kErrorGeneral, QD_W("$IDS_ErrorHint16"), QD_W("p")),
              QD_W("an archive could not be read or written: p"));
    EXPECT_EQ(text(kErrorGeneral, QD_W("Sizet_int"), nullptr), QD_W("error 32767: Sizet_int"));
    EXPECT_EQ(text(kErrorMemory, QD_W("no more"), nullptr),
              QD_W("a memory manager has no memory left: no more"));
    EXPECT_EQ(Late(kErrorUserBreak).Text(), QD_W("stopped by the user: own, own, own, own"));
}

TEST(ErrorCodes, HaveTheNumbersThatApplicationsWereBuiltWith)
{
    const std::pair<int, int> cases[] = {{kErrorNone, 0},
                                         {kErrorGeneral, 32767},
                                         {kErrorMemory, 25021},
                                         {kErrorUserBreak, 25070},
                                         {kErrorNoCommandExecution, 13004},
                                         {kErrorFileNotWritten, 31825},
                                         {kErrorNoShortPath, 32987},
                                         {kErrorLanguageFile, 1},
                                         {kErrorLanguageOutput, 5},
                                         {kErrorLanguageKeyInvalid, 7356},
                                         {kErrorLanguageTextMissing, 7357},
                                         {kErrorLanguageTextTwice, 7358},
                                         {kErrorLanguageKeyTwice, 7359},
                                         {kErrorLanguageLines, 7360}};
    for (const auto& [code, number] : cases)
        EXPECT_EQ(code, number);
}
