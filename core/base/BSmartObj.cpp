#include "core/base/BSmartObj.h"

#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Fault.h"
#include "core/platform/SmallBlocks.h"
#include "core/platform/TypeName.h"

#include <cassert>
#include <charconv>

// Count and id are plain integers, changed as platform/OwnerCount.h counts: an exported class has
// no field whose layout is the standard library's.
//
// `WritePrefix` and `ReadPrefix` are defined in `core/archive/ObjectHeader.cpp`: they need the
// archive, which stands above this folder.

static_assert(sizeof(BSmartObj) == 16, "AllocatedMemory and derived classes count on 16 bytes");

namespace {

// A virtual call: a pointer to no object faults where it looks for the function.
QD_CALLS_ANYTHING void Verify(void* object)
{
    static_cast<BSmartObj*>(object)->VerifyObj();
}

std::uint32_t DrawnFrom(std::uint32_t& counter) noexcept
{
    return platform::IsOnlyThread() ? ++counter : std::atomic_ref(counter).fetch_add(1) + 1;
}

} // namespace

std::uint32_t BSmartObj::m_unique_id_counter = 0;

BSmartObj::BSmartObj() noexcept
    : m_uniqueId(static_cast<std::int32_t>(DrawnFrom(m_unique_id_counter)))
{}

BSmartObj::BSmartObj(const BSmartObj&) noexcept
    : m_uniqueId(0)
{}

BSmartObj& BSmartObj::operator=(const BSmartObj&) noexcept
{
    return *this;
}

BSmartObj::~BSmartObj() = default;

void* BSmartObj::operator new(std::size_t size)
{
    void* const block = platform::TakeSmallBlock(size);
    return block != nullptr ? block : ::operator new(size);
}

void* BSmartObj::operator new(std::size_t size, const std::nothrow_t& tag) noexcept
{
    void* const block = platform::TakeSmallBlock(size);
    return block != nullptr ? block : ::operator new(size, tag);
}

void BSmartObj::operator delete(void* block) noexcept
{
    platform::GiveSmallBlock(block, [](void* other) { ::operator delete(other); });
}

void BSmartObj::operator delete(void* block, const std::nothrow_t&) noexcept
{
    BSmartObj::operator delete(block);
}

std::uint64_t BSmartObj::AllocatedMemory() const
{
    return sizeof(BSmartObj);
}

void BSmartObj::WriteData(BArchive&) const {}

void BSmartObj::UpdateAssociations(BArchive&) {}

const char* BSmartObj::ArchiveName() const
{
    return ClassName();
}

bool BSmartObj::VerifyObj()
{
    return true;
}

int BSmartObj::Version() const
{
    return 0;
}

WString BSmartObj::Properties()
{
    return WString(QD_W("Type : ")) + WString(BString(ClassName()));
}

const char* BSmartObj::ClassName() const
{
    return platform::TypeName(typeid(*this));
}

const char* BSmartObj::ClassName(const std::type_info& type)
{
    return platform::TypeName(type);
}

const char* BSmartObj::CLASSNAME()
{
    return platform::TypeName(typeid(BSmartObj));
}

BString BSmartObj::Id() const
{
    return Id(this);
}

BString BSmartObj::Id(const void* pointer)
{
    return Id(std::uint64_t{reinterpret_cast<std::uintptr_t>(pointer)});
}

BString BSmartObj::Id(std::uint64_t value)
{
    char digits[17];
    *std::to_chars(digits, digits + 16, value, 16).ptr = 0;
    return BString(digits);
}

bool BSmartObj::IsValidObject(BSmartObj* object)
{
    return object != nullptr && platform::RunGuarded(Verify, object);
}

SP<BSmartObj> BSmartObj::Read(BArchive&, int)
{
    return nullptr;
}

// Out of line: with the `delete` in `Unref` compilers warn of objects on the stack, which they take
// to be deleted.
void BSmartObj::Destroy() const
{
    assert(RefCount() == 0); // somebody took a reference without holding one
    delete this;
}
