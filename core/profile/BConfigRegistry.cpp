#include "core/profile/BConfigRegistry.h"

#include "core/base/BError.h"
#include "core/base/ErrorCodes.h"
#include "core/platform/Registry.h"
#include "core/platform/WChar.h"
#include "core/platform/WideText.h"
#include "core/profile/MadeText.h"

#include <new>

// Failures are told by codes as every store tells them, so no exception of the seam goes through:
// the one that constructor and `Child` throw is the interface's.
namespace {

// Whether `action` succeeds; running out of memory is a failure like any other.
template <class Action>
bool Succeeds(Action action) noexcept
{
    try {
        return action();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

BConfigRegistry::BConfigRegistry(WString keyPath)
{
    const bool isOpen = !keyPath.IsEmpty() && Succeeds([&] {
        m_key = platform::OpenRegistryKey(keyPath).release();
        return m_key != nullptr;
    });
    if (!isOpen)
        throw BError(kErrorGeneral);
}

BConfigRegistry::BConfigRegistry() = default;

BConfigRegistry::~BConfigRegistry()
{
    const platform::RegistryKeyHandle closed(m_key);
}

SP<BConfig> BConfigRegistry::Child(WString name)
{
    if (name.IsEmpty())
        throw BError(kErrorGeneral);
    const SP<BConfigRegistry> child = new BConfigRegistry;
    const bool isOpen = Succeeds([&] {
        child->m_key = platform::OpenRegistryKey(*m_key, name).release();
        return child->m_key != nullptr;
    });
    if (!isOpen)
        throw BError(kErrorGeneral);
    return child;
}

int BConfigRegistry::ReadString(WString name, WString& value) const
{
    const bool isRead = Succeeds([&] {
        platform::WideText text;
        const auto result = platform::ReadRegistryText(*m_key, name, text);
        // Intended: a text that another process takes away between the two steps of reading leaves
        // an empty one, as the room for it is made already.
        if (result != platform::ERegistryRead::NoText)
            value = MadeOf(text.c_str());
        return result == platform::ERegistryRead::Done;
    });
    return isRead ? kErrorNone : kErrorGeneral;
}

int BConfigRegistry::WriteString(WString name, WString value)
{
    const std::size_t size = (value.Length() + 1) * sizeof(WChar); // with its terminating 0
    const bool isWritten = Succeeds([&] {
        return platform::WriteRegistryValue(*m_key, name, platform::ERegistryType::Text,
                                            value.CStr(), size);
    });
    return isWritten ? kErrorNone : kErrorGeneral;
}
