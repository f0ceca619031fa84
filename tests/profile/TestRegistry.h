#pragma once

#include "core/base/WString.h"

#include "tests/TemporaryFolder.h"

/// A registry for one test, gone at its end: off Windows a file of its own, on Windows a key of its
/// own.
class TestRegistry {
public:
    TestRegistry();
    ~TestRegistry();
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    /// The path of the test's key below the user's root.
    [[nodiscard]] const WString& Path() const { return m_path; }
    /// The path of a key in it.
    [[nodiscard]] WString operator/(const WChar* name) const { return m_path + QD_W("\\") + name; }

private:
    TemporaryFolder m_folder; // of the file
    WString m_path;
};
