#pragma once

#include "core/base/BDictionary.h"
#include "core/base/BProblem.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/profile/BProfileBase.h"
#include "core/profile/EProfileMode.h"

class BFile;
class BVariant;

/// Settings in a binary file: read as a whole when the profile is made, kept in memory, and written
/// as a whole when it is destroyed after a change. Of two profiles over one file the last destroyed
/// wins.
///
/// A value keeps its type, and is read as that type alone. Section and key are told without regard
/// to the case of ASCII letters. A file that is not there is an empty profile. A damaged one is
/// read up to the first key that is not whole; a value that is cut short is empty or 0, but where
/// one is missing behind its key or has a type that is not known, nothing of the file is kept, and
/// a save replaces it all. `IsValid` tells whether the file is a binary profile at all.
///
/// When the system does not give all of a file that is there (no right to read it, an error of the
/// disk, no memory), writers take no value and are false, and the file stays as it is: a save would
/// lose what was not read.
///
/// The old file is whole until the new one is complete. A save that fails is silent and leaves the
/// old file; `Save` tells. Only where no file can be made beside it or moved over it, the new
/// content is copied over the old one, and a crash during that copy leaves a damaged file. What a
/// process leaves beside it that died in a save goes with the next one, but on network file
/// systems.
class QD_CORE_API BBinProfile : public BProfileBase {
public:
    BBinProfile(WString path, EProfileMode mode);
    BBinProfile(const BBinProfile&) = delete;
    BBinProfile& operator=(const BBinProfile&) = delete;
    ~BBinProfile() override;

    bool IsValid() const override;
    void SetSection(WString section) override;
    WString GetSection() override;
    bool WriteString(int index, WString key, WString value) override;
    bool WriteString(WString key, WString value) override;
    using BProfileBase::WriteInt;
    bool WriteInt(int index, WString key, int value) override;
    bool WriteInt(WString key, int value) override;
    bool WriteDouble(int index, WString key, double value) override;
    bool WriteDouble(WString key, double value) override;
    using BProfileBase::WriteMem;
    bool WriteMem(int index, WString key, void* data, unsigned int size) override;
    bool WriteMem(WString key, void* data, unsigned int size) override;
    using BProfileBase::WriteBoolean;
    bool WriteBoolean(WString key, bool value) override;
    WString ReadString(int index, WString key, WString defaultValue) override;
    WString ReadString(WString key, WString defaultValue) override;
    int ReadInt(int index, WString key, int defaultValue) override;
    int ReadInt(WString key, int defaultValue) override;
    double ReadDouble(int index, WString key, double defaultValue) override;
    double ReadDouble(WString key, double defaultValue) override;
    bool ReadMem(int index, WString key, void* data, unsigned int size) override;
    bool ReadMem(WString key, void* data, unsigned int size) override;
    bool ReadBoolean(WString key, bool defaultValue) override;
    void DeleteKey(WString key) override;
    void DeleteSection() override;
    bool ExistsSection(WString section) const override;

    /// Saves what was changed, as the destructor does, but tells: true when the changes outlast a
    /// power failure, false when they are still to be saved. The old file stays then, or may come
    /// back.
    bool Save();

    /// Why the file was not read as a whole, or not saved; else why the last reader gave the
    /// default. A file that is missing is a problem only where it could but be read. None after a
    /// `Save`, or a reader, that was sound.
    [[nodiscard]] BProblem Problem() const;

protected:
    // The order of the virtual functions is part of the interface.

    /// Under which a key of the current section is kept: "[section]key" in lower case.
    [[nodiscard]] virtual WString MapKey(WString key);
    /// The section of a mapped key. Intended: it ends at the first "]", so that a section with "]"
    /// in its name is not found again.
    [[nodiscard]] virtual WString Section(WString mappedKey);
    /// Loads the file. False for a file of another kind, which is not valid, and for one of whose
    /// values nothing is kept, see above.
    virtual bool Read();
    /// Load the records behind the format id.
    virtual bool ReadAnsiFormat(BFile& file);
    virtual bool ReadUnicodeFormat(BFile& file);
    /// Saves the file; false when the old one stays.
    virtual bool Write() const;
    /// Throws BError `kErrorGeneral` with "$IDS_ErrorHint61" when the profile is read only.
    virtual void CheckMode() const;

private:
    friend class ProfileOpener;

    template <class Text>
    bool ReadRecords(BFile& file);
    /// False when the file was not read.
    bool Store(const WString& key, SP<BVariant> value);
    /// The value under `key` when it is of that class; null when it is not.
    template <class Variant>
    const Variant* Find(const WString& key);

    WString m_path;
    WString m_section;
    BDictionary<WString, SP<BVariant>> m_values; // by mapped key
    EProfileMode m_mode;
    bool m_modified = false;
    bool m_valid = true;
    mutable BProblem m_problem; // of the file
    BProblem m_valueProblem;    // of the last reader
    bool m_isUnread = false;    // the file is there, but the system did not give all of it
};
