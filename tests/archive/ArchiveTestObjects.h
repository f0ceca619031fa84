#pragma once

#include "core/archive/BArchive.h"
#include "core/base/ClassRegistry.h"

#include "tests/FileBytes.h"
#include "tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// What an archive's file holds, made without the library.

inline std::string TextBytes(const std::string& text)
{
    return "S" + BytesOf(static_cast<std::uint32_t>(text.size())) + text;
}

inline std::string HeaderBytes(const std::string& docClass, int docVersion,
                               const std::string& archiveClass = "class BArchive", int format = 8)
{
    return TextBytes(docClass) + BytesOf(docVersion) + TextBytes(archiveClass) + BytesOf(format);
}

inline std::string RecordBytes(const std::string& indexText, const std::string& label,
                               const std::string& className, int version,
                               const std::string& payload)
{
    return TextBytes(indexText) + TextBytes(label) + TextBytes(className) + BytesOf(version) +
           BytesOf(std::uint64_t{payload.size()}) + payload;
}

/// An archivable object with references to others and a number, as an application would write it.
class ArchiveItem : public BSmartObj {
public:
    explicit ArchiveItem(int value = 0, std::vector<SP<BSmartObj>> links = {})
        : m_value(value)
        , m_links(std::move(links))
    {}

    void WriteData(BArchive& archive) const override
    {
        archive << m_value << static_cast<int>(m_links.size());
        for (const SP<BSmartObj>& link : m_links)
            archive << link.Get();
    }
    void UpdateAssociations(BArchive& archive) override
    {
        for (void* index : m_indices)
            m_links.push_back(archive.QueryObject(index));
        m_indices.clear();
        ++m_associated;
    }
    bool VerifyObj() override
    {
        ++asked;
        return m_value != kUnsound;
    }

    static const char* CLASSNAME() { return ClassName(typeid(ArchiveItem)); }
    static SP<BSmartObj> Read(BArchive& archive, int) { return Filled(new ArchiveItem, archive); }
    static SP<ArchiveItem> Filled(SP<ArchiveItem> item, BArchive& archive)
    {
        int count = 0;
        archive >> item->m_value >> count;
        if (count < 0 || static_cast<std::uint64_t>(count) > archive.BytesLeft() / 4)
            throw ArchiveFormatFault;
        for (int i = 0; i < count; ++i) {
            void* index = nullptr;
            archive >> index;
            item->m_indices.push_back(index);
            if (index != nullptr)
                archive.TakeOutLater(Id(reinterpret_cast<std::uintptr_t>(index)));
        }
        return item;
    }
    static void Register() { RegisterArchiveCallback(CLASSNAME(), &Read); }

    [[nodiscard]] ArchiveItem* Link(std::size_t i) const
    {
        return static_cast<ArchiveItem*>(m_links.at(i).Get());
    }

    static constexpr int kUnsound = -666;
    static inline int asked = 0; // whether they are sound, all of them together

    int m_value;
    std::vector<SP<BSmartObj>> m_links;
    std::vector<void*> m_indices;
    int m_associated = 0;
};

/// The object under `label`, empty unless it is a `T`.
template <class T>
SP<T> TakeOutAs(BArchive& archive, const char* label)
{
    return dynamic_cast<T*>(archive.TakeOut(label).Get());
}

// Writes records as they were in the version 6 of the format.
struct ArchiveOfVersion6 : BArchive {
    using BArchive::BArchive;
    int Version() const override { return 6; }
};

/// Has an archive's file, of the document class "class Doc" in version 7 unless told otherwise.
class ArchiveFileTest : public testing::Test {
protected:
    /// Its bytes when `insert` has put objects into the archive.
    template <typename Insert>
    std::string Written(Insert insert, const char* docClass = "class Doc", int docVersion = 7)
    {
        {
            BArchive archive(m_path, BArchive::ModeWrite, docClass, docVersion);
            insert(archive);
            EXPECT_TRUE(archive.Flush());
        }
        return FileBytes(m_folder / "a.qda");
    }

    void Put(const std::string& bytes)
    {
        std::filesystem::remove(m_folder / "a.qda"); // an overwritten file is written to the disk
        WriteFileBytes(m_folder / "a.qda", bytes);
    }

    [[nodiscard]] BArchive Opened(const char* docClass = "class Doc", int docVersion = 7)
    {
        return BArchive(m_path, BArchive::ModeRead, docClass, docVersion);
    }

    TemporaryFolder m_folder;
    WString m_path = m_folder.Path("a.qda");
};
