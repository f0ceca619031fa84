#include "core/profile/BConfig.h"

#include "core/base/ErrorCodes.h"
#include "core/platform/ScanText.h"
#include "core/platform/WChar.h"
#include "core/profile/MadeText.h"

#include <utility>

// A store keeps texts alone, so that it is the same whichever platform or person wrote it; this
// class makes them of numbers and back. A float has eight digits there and a double sixteen, so the
// last bit of some numbers is another when it comes back; stores of today hold them so.
namespace {

// Reads a text and has `convert(text, value)` make a value of it.
template <class T, class Convert>
int ReadAs(const BConfig& config, WString name, T& value, Convert convert)
{
    WString text;
    if (const int code = config.ReadString(std::move(name), text); code != kErrorNone)
        return code;
    T converted{};
    if (!convert(text, converted))
        return kErrorGeneral;
    value = converted;
    return kErrorNone;
}

bool ToBool(const WString& text, bool& value)
{
    int number = 0;
    if (text.IEqual(QD_W("TRUE")))
        number = 1;
    else if (!text.IEqual(QD_W("FALSE")) && !text.Convert(number))
        return false;
    value = number != 0;
    return true;
}

} // namespace

BConfig::~BConfig() = default;

int BConfig::ReadInt(WString name, int& value) const
{
    return ReadAs(*this, std::move(name), value,
                  [](const WString& text, int& number) { return text.Convert(number); });
}

int BConfig::WriteInt(WString name, int value)
{
    return WriteString(std::move(name), Made(WString::FromInt(value)));
}

int BConfig::ReadFloat(WString name, float& value) const
{
    return ReadAs(*this, std::move(name), value, [](const WString& text, float& number) {
        return platform::ScanFloat(text, number);
    });
}

int BConfig::WriteFloat(WString name, float value)
{
    WString text;
    text.Printf(QD_W("%.8g"), static_cast<double>(value));
    return WriteString(std::move(name), Made(text));
}

int BConfig::ReadDouble(WString name, double& value) const
{
    return ReadAs(*this, std::move(name), value, [](const WString& text, double& number) {
        return platform::ScanDouble(text, number);
    });
}

int BConfig::WriteDouble(WString name, double value)
{
    WString text;
    text.Printf(QD_W("%.16g"), value);
    return WriteString(std::move(name), Made(text));
}

int BConfig::ReadBool(WString name, bool& value) const
{
    return ReadAs(*this, std::move(name), value, ToBool);
}

int BConfig::WriteBool(WString name, bool value)
{
    return WriteString(std::move(name), Made(value ? QD_W("True") : QD_W("False")));
}
