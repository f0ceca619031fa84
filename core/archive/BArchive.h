#pragma once

#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/BString.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

/// What a class's `Read` throws, and the archive catches, when a record is not what it should be.
enum ARCHIVE_EXCEPTION : int {
    ArchiveFormatFault = 1, ///< a text without its tag, a record that ends early, a count too large
};

namespace NArchive {

class FieldWriter;

// Types without an encoding, by what to write in their place, and the names that say so.

template <class T, class U>
concept HasConversionTo = requires(const T& value)
{
    value.operator U();
};

// A class that stands for such a type, as the element of a `std::vector<bool>` or an atomic. What
// converts to a pointer as well is written as that.
template <class T, class U>
concept StandsFor = std::is_class_v<T> && std::is_convertible_v<const T&, U> &&
                    !std::is_convertible_v<const T&, const volatile void*> &&
                    HasConversionTo<T, U>;
template <class T, class... Types>
concept IsLikeOneOf = (std::same_as<T, Types> || ...) || (StandsFor<T, Types> || ...);

template <class T>
concept IsForInt = std::is_enum_v<T> || IsLikeOneOf<T, bool, short, char32_t>;
template <class T>
concept IsForChar = IsLikeOneOf<T, signed char, unsigned char, char8_t>;
template <class T>
concept IsForUnsignedShort = IsLikeOneOf<T, char16_t, wchar_t>;
template <class T>
concept IsForInt64 = !std::same_as<T, std::int64_t> && !StandsFor<T, std::int64_t> &&
                     IsLikeOneOf<T, unsigned, long, unsigned long, long long, unsigned long long>;
template <class T>
concept IsForDouble = IsLikeOneOf<T, long double>;

struct ConvertToInt;
struct ConvertToChar;
struct ConvertToUnsignedShort;
struct ConvertToIntOrInt64;
struct ConvertToDouble;
struct ReadAnInt;
struct ReadAChar;
struct ReadAnUnsignedShort;
struct ReadAnIntOrInt64;
struct ReadADouble;

} // namespace NArchive

/// A file that holds a graph of `BSmartObj`s, each once however many references lead to it.
///
///     BArchive out(path, BArchive::ModeWrite, "class Document", 3);
///     out.Insert(root, "root");           // and with it all that it refers to
///     if (!out.Flush()) ...               // the file could not be written
///
///     BArchive in(path, BArchive::ModeRead, "class Document", 3);
///     SP<BSmartObj> root = in.TakeOut("root");
///
/// A class takes part with `WriteData`, `UpdateAssociations`, `Version` and `VerifyObj`, a static
/// `Read(BArchive&, int)` and `RegisterArchiveCallback`. Its `Read` rebuilds the object from the
/// record, hands each index other than 0 to `TakeOutLater`, and its `UpdateAssociations` turns the
/// indices into pointers with `QueryObject`. An object that a `Read` gives for several records is
/// one object: it is told to update its associations once.
///
/// Objects that refer to one another in a circle come back as one. Counted references in a circle
/// keep their objects alive: who built it breaks it, also in what was loaded.
///
/// A file that cannot be opened, is of another document or is damaged leaves the archive without a
/// file: `IsGood()` is false and nothing is read or written. A read never passes the end of the
/// record at hand, whatever the record says of itself. Reading an object that refers to others
/// takes no recursion. One thread at a time.
///
/// Writing begins with an empty file at `path`: what stood there is gone, and a crash or power
/// failure leaves a part. `SaveArchive` (support/SaveArchive.h) saves documents.
///
/// The name of the archive's class stands in the file, too, and must be the reader's. A derived
/// archive hands its own to the protected constructor; otherwise its files are a `BArchive`'s.
class QD_CORE_API BArchive : public BSmartObj {
public:
    enum MODE : int { ModeRead = 0, ModeWrite = 1 };

    /// Opens `path`; afterwards `IsGood()` tells. For writing, the header is written at once. For
    /// reading (any mode but `ModeWrite`), the file must be of the document class `docClass`, of at
    /// least the version `docVersion`, and whole.
    BArchive(const WChar* path, MODE mode, BString docClass, int docVersion);

    /// Flushes and closes the file. What `Flush()` would have thrown is swallowed: call it before.
    /// Not to be called from inside a `TakeOut` or `Flush` of this archive.
    ~BArchive() override;

    BArchive(const BArchive&) = delete;
    BArchive& operator=(const BArchive&) = delete;

    // Virtual operations: their order is part of the interface.

    /// Version of the format: 8 for writing, the file's for reading.
    int Version() const override;
    /// Throws `BError` `kErrorGeneral` with "$IDS_ErrorHint16".
    virtual void ThrowError() const;
    /// Writes all queued objects, those queued meanwhile included, and hands the bytes to the
    /// system. False when the archive is not for writing or a write failed (also an earlier one).
    /// An object whose `WriteData` throws is left out and stays queued; the exception passes on.
    virtual bool Flush();

    [[nodiscard]] static const char* CLASSNAME();

    /// Why the last operation that opened the file, wrote it or took an object out failed; none
    /// after one that was sound, asked at any time. A `TakeOut` that gives an object though others
    /// that it should have come with cannot be rebuilt, as their class is not registered, say,
    /// tells the first of those. What made the archive lose its file, or refuse what it holds,
    /// stays.
    [[nodiscard]] BProblem Problem() const;

    /// A file is open and none of its reads or writes has failed.
    [[nodiscard]] bool IsGood() const noexcept;
    [[nodiscard]] MODE Mode() const noexcept;
    [[nodiscard]] WString Path() const;

    /// Queues `obj` for writing, under a name when `label` is neither null nor empty. Nothing
    /// happens for null, when `obj` is queued already (also as a reference), when another object
    /// has the label, and in a reading archive. The archive keeps a reference until it is
    /// destroyed.
    void Insert(BSmartObj* obj, const char* label);

    /// The object under a label, or else under an index text, rebuilt with all that it refers to;
    /// the same object each time. Null when there is none, when it cannot be read, when the file
    /// fails meanwhile, or when `VerifyObj` of any rebuilt object says no. New objects are asked by
    /// the call that rebuilds them, and those of former calls again: all of them by the first 16
    /// calls at least and wherever there are no more than 64, else in turn, 64 in a call, so that
    /// many calls for many objects do not cost the product. `VerifyObjects` asks all. As long as
    /// one of a former call says no, and from then on where a new one does, the archive gives
    /// nothing. A call that gives null forgets what it has rebuilt.
    ///
    /// From inside `Read`, `UpdateAssociations` or `VerifyObj` the object is rebuilt at once, and
    /// what it refers to follows when the outer call goes on; an object whose own `Read` has not
    /// returned yet is null. A `Read` that takes out an object whose `Read` does so, and so on, is
    /// followed as deep as three quarters of the thread's stack reach. Beyond that the outer call
    /// gives null and the archive is not good any more, so that no part passes for the whole;
    /// objects that are asked for with `TakeOutLater` have no such limit.
    ///
    /// When memory runs out or a `Read` throws anything but `ARCHIVE_EXCEPTION`, the archive is
    /// left without a file, as parts would be missing from then on. The former gives null, the
    /// exception passes on.
    [[nodiscard]] SP<BSmartObj> TakeOut(const char* label);

    /// Queues an object for reading by its index text (`BSmartObj::Id(index)`). What is queued
    /// from inside a `TakeOut`, also by `UpdateAssociations`, is read before that ends, otherwise
    /// by the next one.
    void TakeOutLater(BString indexText);
    /// The same by the index itself; 0 is ignored.
    void TakeOutLater(std::uint64_t index);

    /// The rebuilt object that `index` stands for; null for 0 and when none was rebuilt.
    [[nodiscard]] SP<BSmartObj> QueryObject(void* index);

    /// The index that stands for the object at `p` in this archive: 0 for null. Each call for an
    /// object that has none yet gives it the next, from 1 on, and does not queue it. Beyond 32 bits
    /// `ThrowError()`.
    unsigned int MapPointerToIndex(const void* p);

    /// `index` as the pointer that stands for it until associations are updated.
    [[nodiscard]] void* IndexToPtr(std::uint64_t index) const noexcept;

    /// Asks every rebuilt object; false at the first whose `VerifyObj` says no, and where one that
    /// a `TakeOut` has forgotten said so.
    [[nodiscard]] bool VerifyObjects();

    /// For an `UpdateAssociations` that takes counted references which may lead back to `object`:
    /// where the `TakeOut` at hand gives null, so that nobody could break such a circle, it calls
    /// `letGo(object)` to give them up. Ignored outside `TakeOut` and for an object that no `SP`
    /// holds.
    void OnRefusal(BSmartObj& object, void (*letGo)(BSmartObj& object));

    /// Memory for what `Read` has to remember until `UpdateAssociations`, aligned for numbers and
    /// pointers. The archive frees it when it is destroyed, without calling a destructor.
    [[nodiscard]] void* Scratch(std::size_t size);

    /// Bytes that the record being read still holds: the bound for every count and size in it.
    [[nodiscard]] std::uint64_t BytesLeft() const noexcept;

    /// Raw bytes. Reading is all or nothing: false, and `block` untouched, when fewer are left.
    void WriteMemoryBlock(const void* block, std::uint64_t size);
    bool ReadMemoryBlock(void* block, std::uint64_t size);

    // Writing does nothing unless the archive writes. Reading leaves its target alone unless the
    // archive reads and the record holds the value.

    /// A text too long for the 4 bytes of its length raises `ThrowError()`.
    BArchive& operator<<(const BString& text);
    BArchive& operator<<(const WString& text);
    BArchive& operator<<(int value);
    BArchive& operator<<(float value);
    BArchive& operator<<(double value);
    BArchive& operator<<(char value);
    BArchive& operator<<(unsigned short value);
    BArchive& operator<<(std::int64_t value);
    /// Writes the object's index and queues the object.
    BArchive& operator<<(const BSmartObj* object);

    // A text for which memory runs out throws `ArchiveFormatFault` and leaves the archive without a
    // file.

    /// Throws `ArchiveFormatFault` when the record does not go on with a whole text.
    BArchive& operator>>(BString& text);
    /// Passes over a `BString` as `>>` reads it.
    void SkipText();
    BArchive& operator>>(WString& text);
    BArchive& operator>>(int& value);
    BArchive& operator>>(float& value);
    BArchive& operator>>(double& value);
    BArchive& operator>>(char& value);
    BArchive& operator>>(unsigned short& value);
    BArchive& operator>>(std::int64_t& value);
    /// Reads a reference as its index.
    BArchive& operator>>(void*& index);

    // What has no encoding of its own would silently take another size than its `>>`, or than on
    // the other platform. What stands for the result says what to write instead. A `long` is
    // refused where it is not `std::int64_t`, that is on Windows; where it is, nothing tells the
    // two apart.

    template <NArchive::IsForInt T>
    NArchive::ConvertToInt operator<<(T) = delete;
    template <NArchive::IsForChar T>
    NArchive::ConvertToChar operator<<(T) = delete;
    template <NArchive::IsForUnsignedShort T>
    NArchive::ConvertToUnsignedShort operator<<(T) = delete;
    template <NArchive::IsForInt64 T>
    NArchive::ConvertToIntOrInt64 operator<<(T) = delete;
    template <NArchive::IsForDouble T>
    NArchive::ConvertToDouble operator<<(T) = delete;

    template <NArchive::IsForInt T>
    NArchive::ReadAnInt operator>>(T&) = delete;
    template <NArchive::IsForChar T>
    NArchive::ReadAChar operator>>(T&) = delete;
    template <NArchive::IsForUnsignedShort T>
    NArchive::ReadAnUnsignedShort operator>>(T&) = delete;
    template <NArchive::IsForInt64 T>
    NArchive::ReadAnIntOrInt64 operator>>(T&) = delete;
    template <NArchive::IsForDouble T>
    NArchive::ReadADouble operator>>(T&) = delete;

protected:
    /// For a derived class, under its own name: `ClassName(typeid(Derived))`; null is
    /// `CLASSNAME()`. The virtual functions of the derived class do not take part in the
    /// constructor yet.
    BArchive(const WChar* path, MODE mode, BString docClass, int docVersion,
             const char* archiveClass);

private:
    friend class NArchive::FieldWriter; // writes where the archive would

    class Impl;
    std::unique_ptr<Impl> m_impl;
};
