#pragma once

#include "core/platform/FileReplacement.h"
#include "core/platform/WideText.h"

#include "tools/qdinspect/Inspectors.h"

#include <cstdint>
#include <filesystem>
#include <string_view>

class BlockReader;

/// A file that comes into being whole when it is closed, and is removed again unless it is kept.
class NewFile {
public:
    using ESync = platform::FileReplacement::ESync;

    explicit NewFile(const platform::WideText& path, ESync sync = ESync::Yes);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Write(std::string_view bytes);
    template <class Number>
    void WriteNumber(Number number)
    {
        Write({reinterpret_cast<const char*>(&number), sizeof number});
    }
    /// A text as UTF-16LE with its mark; all of the file.
    void WriteText(platform::WideView text);
    /// What stands in `file` from its position to `end`.
    void Copy(BlockReader& file, std::uint64_t end);

    /// Closes the file, which is on the disk then if it is synchronised. False when a part of it
    /// could not be written.
    [[nodiscard]] bool Close();
    void Keep() noexcept { m_isThere = false; }

private:
    std::filesystem::path m_path; // made at once, as that takes memory
    platform::FileReplacement m_draft;
    bool m_isGood;
    bool m_isThere = false; // and goes with the object
};

/// Writes a text as UTF-16LE with its mark. The outcome, unless that fails.
[[nodiscard]] EOutcome WriteUtf16(platform::WideView text, const platform::WideText& newPath,
                                  EOutcome outcome);
