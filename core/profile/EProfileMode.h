#pragma once

#include <cstdint>

/// What a profile may do with its file. Any other value stands for `ProfileReadWrite`.
enum EProfileMode : std::int32_t {
    // What writes or deletes throws BError `kErrorGeneral` with "$IDS_ErrorHint61".
    ProfileReadOnly = 0,
    ProfileNew = 1,       // starts empty, whatever the file holds
    ProfileReadWrite = 2, // starts with what the file holds; a missing file comes into being
};
