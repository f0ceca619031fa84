#pragma once

#include "core/base/BProblem.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/BProfileBase.h"
#include "core/profile/EProfileMode.h"
#include "core/profile/PendingDefaults.h"

/// Settings in a text file of sections with "key=value" lines, as users edit them by hand.
///
/// Nothing is kept in memory: every reader looks into the file and every writer changes it at once.
/// New files are UTF-16, and an 8-bit one is made UTF-16 by the first section, key or value that
/// needs it. Several objects, threads and processes may change one file; none loses what another
/// wrote. The path has a folder; one that is missing is made with the file, but not by `WriteMem`,
/// which makes an 8-bit file where there is none. Writers wait for each other, off Windows also for
/// those of other profiles in the folder: for milliseconds mostly, but where one stands still in
/// the middle the others fail after 10 seconds. Readers never wait.
///
/// Readers of numbers and truth values write their default for a key that is missing or empty, so
/// that a new file fills itself with what can be set; not in a profile that is read only. They do
/// it by the writer of their kind (`ReadInt` by `WriteInt`), so that a derived class sees it, and
/// what was put under the key since it was read stays. A text that is no number gives the default
/// and stays. Values are cut at 32,767 units.
///
/// No writer waits for the disk: when the power fails, a file that was changed in the last half
/// minute may be empty (docs/durability.md). `BBinProfile` waits.
///
/// Only a file that the system calls missing is made. When it fails to look at the file or to read
/// it, readers give their defaults, and writers change nothing and are false.
class QD_CORE_API BProfile : public BProfileBase {
public:
    /// `ProfileNew` and `ProfileReadWrite` make the file. Only `Problem` tells that this fails: the
    /// file stays what it was, and each writer makes a missing one.
    BProfile(WString path, EProfileMode mode);
    BProfile(const BProfile& other);
    BProfile& operator=(const BProfile& other);
    ~BProfile() override;

    /// Writes one value into a file, which comes into being when it is missing. `kErrorNone`, or
    /// `kErrorFileNotWritten`.
    static int WriteString(const WString& path, const WString& section, const WString& key,
                           const WString& value);

    /// Intended: a missing file comes into being, empty, by being asked for; its folder does not.
    bool IsValid() const override;
    void SetSection(WString section) override;
    WString GetSection() override;
    bool WriteString(int index, WString key, WString value) override;
    bool WriteString(WString key, WString value) override;
    using BProfileBase::WriteInt;
    bool WriteInt(int index, WString key, int value) override;
    bool WriteInt(WString key, int value) override;
    /// 15 significant digits.
    bool WriteDouble(int index, WString key, double value) override;
    bool WriteDouble(WString key, double value) override;
    using BProfileBase::WriteMem;
    bool WriteMem(int index, WString key, void* data, unsigned int size) override;
    bool WriteMem(WString key, void* data, unsigned int size) override;
    using BProfileBase::WriteBoolean;
    bool WriteBoolean(WString key, bool value) override;
    /// Intended: the default is written over a value that is empty, but not for a missing key.
    WString ReadString(int index, WString key, WString defaultValue) override;
    WString ReadString(WString key, WString defaultValue) override;
    int ReadInt(int index, WString key, int defaultValue) override;
    int ReadInt(WString key, int defaultValue) override;
    double ReadDouble(int index, WString key, double defaultValue) override;
    double ReadDouble(WString key, double defaultValue) override;
    bool ReadMem(int index, WString key, void* data, unsigned int size) override;
    bool ReadMem(WString key, void* data, unsigned int size) override;
    /// Intended: any text but "TRUE", told without regard to case, is false, whatever the default.
    bool ReadBoolean(WString key, bool defaultValue) override;
    void DeleteKey(WString key) override;
    void DeleteSection() override;
    /// Whether the section has any lines but comments.
    bool ExistsSection(WString section) const override;

    /// Why the last operation failed that wrote, or why a reader gave the default and could not
    /// write it; none after one that was sound.
    [[nodiscard]] BProblem Problem() const;

private:
    void CheckMode() const;
    /// The start of the value under `key`, up to `room` - 1 units; empty when there is none.
    void ReadShort(std::basic_string_view<WChar> key, WChar* text, std::size_t room) const;
    /// The same of a numbered key. False where the reader of plain keys is to be asked.
    [[nodiscard]] bool ReadNumbered(const WString& key, int index, WChar* text,
                                    std::size_t room) const;
    /// Whether `text` is a number, as far as readers tell; `value` stays where it begins with none.
    template <class Value>
    [[nodiscard]] bool Take(const WChar* text, Value& value) const;
    /// What a reader of numbers gives for a `text` that is none: `value`, which an empty one gets.
    template <class Value>
    Value Default(const WChar* text, const WString& key, Value value);
    void TellFound() const;
    void TellRead(EProblem code, const WString& key) const;

    WString m_path;
    WString m_section;
    EProfileMode m_mode;
    PendingDefaults m_defaults;
    mutable BProblem m_problem;
    mutable WString m_default; // the text that was read last, where it was the default's
};
