#pragma once

#include "core/base/BArray.h"
#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/platform/Types.h"
#include "core/platform/WChar.h"
#include "core/profile/Overloads.h"
#include "core/profile/PendingDefaults.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

class BString;

/// A settings store of sections that hold named texts, and the typed values that those texts stand
/// for. A store derives from it and supplies the primitives: `GetAllKeys`, `GetString`,
/// `WriteKeyImpl`, `DeleteKeyImpl`, `DeleteSectionImpl`, `GetSections`, and `ReadMem` and
/// `WriteMem` where it holds blocks. It may override the conversions to give values another text.
///
/// Every operation on a key goes to the current section, empty at first. A reader's output holds
/// the caller's default before the call: the reader answers whether a usable value was there, and
/// where `WriteMissingKey()` is set, the default is written for a key that is missing. An empty
/// value is a missing one.
///
/// A default goes into the store by the virtual writers (`Write`, `WriteString`, `WriteKeyImpl`),
/// so a derived class sees it. It never replaces what another process wrote since the reader
/// looked: a store that others change, too, tells `Found(key, text)` in its `GetString`, asks
/// `Replaced(key)` in its `WriteKeyImpl`, and leaves any other text than that alone. This holds for
/// the key and the section that were read, not for others that a derived writer writes besides.
///
///     int width = 800;
///     profile.SetSection(QD_W("Window"));
///     profile.Read(QD_W("Width"), width, 100, 4000);
///
/// Failures are false. Only when memory runs out, readers and writers throw `std::bad_alloc`,
/// rather than take a text that is lost for an empty one; the store stays as it was. What constant
/// members change is the store behind the object, and the current section. One thread at a time.
class QD_CORE_API IProfile : public BSmartObj {
public:
    /// The kind of a store; applications add codes of their own.
    enum ETypes : std::int32_t {
        TypeNone = 0,
        TypeIni = 1, // BIniProfile
    };

    /// `path` tells where the store is, for a file its full path.
    IProfile(ETypes type, const WString& path, bool writeMissingKey);
    /// No type, no path, and missing keys are not written.
    IProfile();
    IProfile(const IProfile& other);
    IProfile& operator=(const IProfile& other);
    ~IProfile() override;

    [[nodiscard]] const ETypes& GetType() const noexcept { return m_type; }

    // The order of the virtual functions is part of the interface.

    /// The path of a further profile that `key` of `section` names: as it stands there, or beside
    /// this profile when it is a bare name. Empty when there is none. `section` is then current.
    [[nodiscard]] virtual WString GetSubProfileEntry(const WString& section, const WString& key);

protected:
    /// Whether `path` has a drive or a folder.
    [[nodiscard]] virtual bool HasDir(const WString& path) const;

public:
    [[nodiscard]] virtual WString GetPath();
    /// The path with its last separator ("\"; off Windows "/" as well), without what follows; all
    /// of a path that has none.
    [[nodiscard]] virtual WString GetDir();
    [[nodiscard]] virtual const bool& WriteMissingKey() const;
    [[nodiscard]] virtual const WString& GetSection() const;
    /// The names of all sections. False, and `out` unchanged, for a store that cannot tell.
    virtual bool GetSections(BArray<WString>& out) const;
    /// Makes `section` current and lists its keys in `keys` unless that is null. False when the
    /// section has none, or is the empty one, which is not looked into.
    virtual bool LoadSection(const WString& section, BArray<WString>* keys) const;
    virtual void SetSection(const WString& section) const;
    /// The current section, told without regard to case, is the empty one afterwards.
    virtual bool DeleteSection(const WString& section) const;

    /// "07/04/2018 13:05:09.250", month first; the day of the week is not written.
    virtual bool Write(const WString& key, const _SYSTEMTIME& value) const;
    virtual bool Write(const WString& key, bool value) const;
    /// As the `int` of the same 32 bits. Off Windows a `long` has 64: a number that takes more than
    /// 32 is written whole, for `Read(key, std::int64_t&)`.
    virtual bool Write(const WString& key, unsigned long value) const;
    virtual bool Write(const WString& key, long value) const;
    virtual bool Write(const WString& key, int value) const;
    /// Six significant digits.
    virtual bool Write(const WString& key, double value) const;
    virtual bool Write(const WString& key, const WString& value) const;

    /// Without a value that can be read, `value` is 30 December 1899, 00:00, and nothing is
    /// written.
    virtual bool Read(const WString& key, _SYSTEMTIME& value) const;
    /// "TRUE" or "FALSE" in any case. Another text is no value, but is not overwritten either.
    virtual bool Read(const WString& key, bool& value) const;
    /// `min` and `max` are inclusive. Beyond them `value` stays as it is.
    virtual bool Read(const WString& key, unsigned char& value, int min, int max) const;
    virtual bool Read(const WString& key, unsigned short& value, int min, int max) const;
    virtual bool Read(const WString& key, unsigned long& value, int min, int max) const;
    virtual bool Read(const WString& key, long& value, int min, int max) const;
    virtual bool Read(const WString& key, short& value, int min, int max) const;
    /// `min` and `max` are inclusive. Beyond them `value` becomes the nearer one, and the answer is
    /// false all the same. The default is also written over a text that begins with no number.
    virtual bool Read(const WString& key, int& value, int min, int max) const;
    /// Single precision. The default is also written over a text that begins with no number.
    virtual bool Read(const WString& key, double& value) const;
    virtual bool Read(const WString& key, float& value) const;
    /// The other readers have their texts from here. What they hand over as `value` is the text of
    /// their default where missing keys are written, else it is empty; those of times and of
    /// hexadecimal numbers always hand over an empty one.
    virtual bool Read(const WString& key, WString& value) const;

    virtual bool WriteString(const WString& key, const WString& value) const;
    virtual bool WriteMem(const WString& key, void* data, std::size_t size) const;
    virtual bool ReadMem(const WString& key, void* data, std::size_t size) const;

    /// A hexadecimal number, with or without "0x". The text has three characters or more, and not
    /// more than two beyond `digits`. A default is never written.
    virtual bool ReadHex(const WString& key, unsigned short& value) const;
    virtual bool ReadHex(const WString& key, unsigned long& value, int digits) const;

    virtual void DeleteKey(const WString& key);

protected:
    virtual void DeleteKeyImpl(const WString& key) const;
    /// Puts `value` under `key` of the current section, in place of `Replaced(key)` alone unless
    /// that is null; false when it was not written. A text that stays instead counts as written.
    virtual bool WriteKeyImpl(const WString& key, const WString& value) const;
    /// The text under `key` of the current section, `defaultValue` when there is none.
    [[nodiscard]] virtual WString GetString(const WString& key, const WString& defaultValue);
    virtual bool DeleteSectionImpl(const WString& section) const;
    /// The names of all keys of the current section.
    [[nodiscard]] virtual BArray<WString> GetAllKeys() = 0;

    // Values from and to their texts. False leaves `value` as it is; what follows a number in the
    // text does not matter.

    virtual bool Convert(WString text, bool& value) const;
    [[nodiscard]] virtual WString Convert(bool value);
    virtual bool Convert(const WString& text, float& value) const;
    [[nodiscard]] virtual WString Convert(double value);
    virtual bool Convert(const WString& text, int& value) const;
    virtual bool Convert(const WString& text, unsigned long& value) const;
    [[nodiscard]] virtual WString Convert(int value);

public:
    /// A text, which without these would count as true; null is an empty one. Narrow text is of the
    /// ANSI code page, UTF-8 if of `char8_t`.
    bool Write(const WString& key, const WChar* value) const;
    bool Write(const WString& key, const BString& value) const;
    template <NProfile::IsTextUnit Unit>
    bool Write(const WString& key, const Unit* value) const
    {
        return Write(key, TextOf(value));
    }
    bool Write(const WString& key, std::nullptr_t) const { return Write(key, WString()); }
    /// Not this: no other pointer counts as true either.
    template <class T>
    requires(!NProfile::IsTextUnit<std::remove_cv_t<T>>) bool Write(const WString& key,
                                                                    T* value) const = delete;

    /// 64 bits: numbers that a `long` of 32 holds are written as that, others whole.
    bool Write(const WString& key, long long value) const;
    bool Write(const WString& key, unsigned long long value) const;
    /// A number that either of these wrote, or another writer of integers. False, and `value`
    /// stays, when the text begins with none or with one too large.
    bool Read(const WString& key, std::int64_t& value) const;
    bool Read(const WString& key, std::uint64_t& value) const;

    /// Why the last reader or writer failed, whichever overload; none after one that was sound, and
    /// after one of a store that does not tell.
    [[nodiscard]] BProblem Problem() const;

protected:
    /// For a store: keeps as the problem what the system's last error says, or none where
    /// `isWritten`. Its answer.
    bool TellWritten(bool isWritten) const;
    /// Keeps what is wrong with the value under `key` of the current section, or `None`.
    void TellRead(EProblem code, const WString& key, int number = 0) const;

    /// Tells the text that the store holds under `key` of the current section, empty for none: what
    /// `GetString` reads there, whatever a derived one makes of it.
    void Found(const WString& key, const WString& text) const;
    /// While a reader's default for `key` of the current section is written: the text that was
    /// `Found` there by the reader, empty also when it was not told and the reader got none. Null
    /// when it was not told otherwise, and for every other write. The reader's own.
    [[nodiscard]] const WString* Replaced(const WString& key) const;
    /// Has `WriteString` write a default for `key`, under which there is no text; its answer.
    bool WriteDefault(const WString& key, const WString& value) const;
    /// No type, and missing keys are not written; path and section stay.
    void Init() noexcept;
    [[nodiscard]] static const char* CLASSNAME();

private:
    /// The text that `Read(key, text)` writes for a reader of another type, where the key is
    /// missing and missing keys are written; else empty, and not made.
    template <class Value>
    [[nodiscard]] WString DefaultText(Value value) const;
    [[nodiscard]] static WString TextOf(const char* text);
    [[nodiscard]] static WString TextOf(const char8_t* text);
    [[nodiscard]] static WString TextOf(const char16_t* text);
    [[nodiscard]] static WString TextOf(const wchar_t* text);
    template <class Whole>
    bool ReadWhole(const WString& key, Whole& value) const;
    template <class Integer>
    bool ReadInteger(const WString& key, Integer& value, int min, int max) const;
    /// For a text that stands for a value or not. Its answer.
    bool IsUsable(const WString& key, bool isValue) const;
    [[nodiscard]] IProfile& Store() const noexcept;

    WString m_path;
    mutable WString m_section;
    ETypes m_type = TypeNone;
    bool m_writeMissingKey = false;
    mutable PendingDefaults m_defaults;
    mutable BProblem m_problem;
};
