#pragma once

class WriteBack;

/// The defaults that an object's readers are writing. They are its own: a copy has none, and an
/// assignment leaves them.
struct PendingDefaults {
    PendingDefaults() = default;
    PendingDefaults(const PendingDefaults&) noexcept {}
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
    PendingDefaults& operator=(const PendingDefaults&) noexcept { return *this; }

    WriteBack* innermost = nullptr; // not owned
};
