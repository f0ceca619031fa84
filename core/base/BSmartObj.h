#pragma once

#include "core/platform/Export.h"
#include "core/platform/OwnerCount.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <typeinfo>

class BArchive;
class BString;
class WString;
template <class T>
class SP;

/// Root of every shared object: a reference count that decides the lifetime, a number unique in the
/// process, and a class name under which archives keep the object.
///
/// Objects are made with `new` and owned through SP. One on the stack or inside another object is
/// fine as long as no SP ever takes it. References are taken and released on any threads at once;
/// all else about an object is the business of its class.
///
/// An archivable class overrides `WriteData`, `UpdateAssociations`, `VerifyObj` and `Version`, has
/// a static `Read` of its own and registers it with `RegisterArchiveCallback`.
class QD_CORE_API BSmartObj {
public:
    /// Count 0, and the next number as unique id: 1 for the first object of the process.
    BSmartObj() noexcept;
    /// Intended: a copy has unique id 0 and draws no number; a class that wants one draws its own.
    BSmartObj(const BSmartObj& other) noexcept;
    /// Intended: copies nothing, for count and id belong to the object, not to its value.
    BSmartObj& operator=(const BSmartObj& other) noexcept;

    // Objects come from memory of the library's own, whichever module makes or destroys them, and
    // from the global `operator new` where that has none left. Arrays and classes that want more
    // than the usual alignment always do. The standard's forms, which these would hide, are here as
    // well; a global form of the application's own is called as `::new`, and a class with a second
    // base that has such operators names the one that it means.

    [[nodiscard]] static void* operator new(std::size_t size);
    [[nodiscard]] static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    [[nodiscard]] static void* operator new(std::size_t size, std::align_val_t alignment)
    {
        return ::operator new(size, alignment);
    }
    [[nodiscard]] static void* operator new(std::size_t size, std::align_val_t alignment,
                                            const std::nothrow_t& tag) noexcept
    {
        return ::operator new(size, alignment, tag);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete(void* block, std::align_val_t alignment) noexcept
    {
        ::operator delete(block, alignment);
    }
    static void operator delete(void* block, std::align_val_t alignment,
                                const std::nothrow_t& tag) noexcept
    {
        ::operator delete(block, alignment, tag);
    }
    static void operator delete(void*, void*) noexcept {}

    // The order of the virtual functions is part of the interface.

    virtual ~BSmartObj();
    /// Bytes that the object holds, with what it owns.
    [[nodiscard]] virtual std::uint64_t AllocatedMemory() const;
    /// Writes the payload of the object's record.
    virtual void WriteData(BArchive& archive) const;
    /// Turns the indices that `Read` took from the archive into pointers, once all objects are
    /// read.
    virtual void UpdateAssociations(BArchive& archive);
    /// The name that stands in archives; `ClassName` unless a class says otherwise.
    [[nodiscard]] virtual const char* ArchiveName() const;
    /// Self-check after reading: false makes the archive refuse what it read.
    virtual bool VerifyObj();
    /// Version of the layout that `WriteData` writes.
    [[nodiscard]] virtual int Version() const;
    /// A line for people: "Type : " and the class name.
    [[nodiscard]] virtual WString Properties();
    /// Writes the object header, which precedes the payload in the object's record: index, label,
    /// `ArchiveName`, `Version` and room for the payload's size. For an archive to call. Defined
    /// with the layout of the header in `core/archive/ObjectHeader.cpp`, as this folder stands
    /// below the archive's.
    virtual void WritePrefix(BArchive& archive, BString label) const;

    void Ref() const noexcept { platform::AddOwner(m_refCount); }
    /// Destroys the object when this was its last reference. One that was never referenced is not
    /// destroyed: its count goes below 0.
    void Unref() const
    {
        if (platform::DropOwner(m_refCount))
            Destroy();
    }
    /// The same for a pointer that may be null.
    static void Ref(const BSmartObj* object) noexcept
    {
        if (object != nullptr)
            object->Ref();
    }
    static void Unref(const BSmartObj* object)
    {
        if (object != nullptr)
            object->Unref();
    }
    /// A snapshot: other threads may change it at any time.
    [[nodiscard]] int RefCount() const noexcept
    {
        return std::atomic_ref(m_refCount).load(std::memory_order_relaxed);
    }

    /// The number drawn at construction. 2147483647 is followed by -2147483648, so that numbers
    /// come again after 2^32 objects.
    [[nodiscard]] long UniqueID() const noexcept { return m_uniqueId; }

    /// Name of the object's own type with its keyword, "class BNode"; good for the life of the
    /// process, and always the same pointer for one type.
    [[nodiscard]] const char* ClassName() const;
    /// The same for a type that is known: `static const char* CLASSNAME()` of a class returns
    /// `ClassName(typeid(BNode))`.
    [[nodiscard]] static const char* ClassName(const std::type_info& type);
    [[nodiscard]] static const char* CLASSNAME();

    /// The object's address as text.
    [[nodiscard]] BString Id() const;
    [[nodiscard]] static BString Id(const void* pointer);
    /// Lower-case hexadecimal digits without prefix or leading zeros: "0", "ff".
    [[nodiscard]] static BString Id(std::uint64_t value);

    /// Whether `object` can be called: false for a null pointer, and for one that leads to memory
    /// where a call of `VerifyObj` faults. Handlers that the application has for faults are set
    /// aside meanwhile, whenever it set them; one that it sets during the call stays. That takes
    /// system calls: it is no test for each use of a pointer.
    /// Intended: what `VerifyObj` answers does not matter.
    [[nodiscard]] static bool IsValidObject(BSmartObj* object);

    /// Rebuilds an object from its record; `version` is that of the object header.
    /// A plain BSmartObj is never rebuilt: null.
    [[nodiscard]] static SP<BSmartObj> Read(BArchive& archive, int version);
    /// Reads an object header; false when the archive ends or fails in it. `indexText` is the
    /// `Id` of the object's index. Defined beside `WritePrefix`.
    [[nodiscard]] static bool ReadPrefix(BArchive& archive, BString& indexText, BString& label,
                                         BString& className, int& version,
                                         std::uint64_t& payloadSize);

private:
    void Destroy() const;

    // Last number given out; changed only atomically. Unsigned, because it wraps.
    static std::uint32_t m_unique_id_counter;

    mutable std::int32_t m_refCount = 0; // of its owners; changed only as the platform counts them
    std::int32_t m_uniqueId;
};
