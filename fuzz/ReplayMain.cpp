// Stands in for libFuzzer: runs a target once on each file that the arguments name, and on each
// file of a folder that they name. File names are ASCII.
//
//     TARGET FILES              as they are
//     TARGET --damage SECONDS SEED PART PARTS FILES
//                               damaged in every systematic way: cut at every byte, every bit
//                               flipped, and every 2, 4 and 8 bytes set to 0, 1, the limits and
//                               their neighbours; then in two of these ways at once
//
// Damages have numbers from file to file. All of them are done when there is time, from a number on
// that the seed chooses, so that runs with one seed after the other come to all of them soon. The
// pairs that follow are random. Each of PARTS processes does every PARTS-th damage.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<std::string> FilesOf(std::string_view name)
{
    using Path = std::filesystem::path;
    const Path path = Path::string_type(name.begin(), name.end());
    if (!std::filesystem::is_directory(path))
        return {std::string(name)};
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        const Path::string_type& file = entry.path().native();
        if (entry.is_regular_file())
            files.emplace_back(file.begin(), file.end());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::optional<Bytes> Read(const std::string& file)
{
    std::FILE* const stream = std::fopen(file.c_str(), "rb");
    if (!stream)
        return std::nullopt;
    Bytes bytes;
    for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream))
        bytes.push_back(static_cast<std::uint8_t>(byte));
    std::fclose(stream);
    return bytes;
}

// Of a field of any size: the lower bytes of as many of them as differ in these.
constexpr std::uint64_t kValues[] = {
    0,
    1,
    2,
    0x7FFE,
    0x7FFF,
    0x8000,
    0x8001,
    0xFFFE,
    0xFFFF,
    0x7FFFFFFE,
    0x7FFFFFFF,
    0x80000000,
    0x80000001,
    0xFFFFFFFE,
    0xFFFFFFFF,
    INT64_MAX - 1,
    INT64_MAX,
    1ULL << 63U,
    UINT64_MAX - 1,
    UINT64_MAX,
};
constexpr struct {
    std::size_t size, values; // bytes, and how many of the values
} kFieldKinds[] = {{2, 9}, {4, 15}, {8, std::size(kValues)}};
constexpr std::size_t kFields =
    kFieldKinds[0].values + kFieldKinds[1].values + kFieldKinds[2].values;
constexpr std::size_t kDamagesAByte =
    1 + 8 + kFields; // a cut, its bits, the fields that begin there

Bytes Damaged(Bytes bytes, std::size_t number)
{
    const std::size_t at = number / kDamagesAByte;
    std::size_t kind = number % kDamagesAByte;
    if (kind == 0) {
        bytes.resize(at);
    } else if (kind <= 8) {
        bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ 1U << (kind - 1));
    } else {
        kind -= 9;
        const auto* field = std::begin(kFieldKinds);
        for (; kind >= field->values; ++field)
            kind -= field->values;
        for (std::size_t i = 0; i < field->size && at + i < bytes.size(); ++i)
            bytes[at + i] = static_cast<std::uint8_t>(kValues[kind] >> (8 * i));
    }
    return bytes;
}

/// Damaged copies of files, one after the other.
class Damages {
public:
    Damages(const std::vector<Bytes>& files, std::size_t seed, std::size_t part, std::size_t parts)
        : m_files(files)
        , m_part(part)
        , m_parts(parts)
        , m_random(seed * parts + part)
    {
        for (const Bytes& file : files)
            m_count += file.size() * kDamagesAByte;
        // Multiples of the golden ratio fall into the largest gap that the ones before left.
        const double share = static_cast<double>(seed) * 0.6180339887498949;
        m_first =
            static_cast<std::size_t>((share - std::floor(share)) * static_cast<double>(m_count));
    }

    [[nodiscard]] Bytes Next()
    {
        const std::size_t number = m_done++ * m_parts + m_part;
        if (number < m_count)
            return Once((m_first + number) % m_count);
        Bytes bytes = Once(m_random() % m_count);
        if (bytes.empty())
            return bytes;
        const std::size_t second = m_random() % (bytes.size() * kDamagesAByte);
        return Damaged(std::move(bytes), second);
    }

private:
    [[nodiscard]] Bytes Once(std::size_t number) const
    {
        auto file = m_files.begin();
        for (; number >= file->size() * kDamagesAByte; ++file)
            number -= file->size() * kDamagesAByte;
        return Damaged(*file, number);
    }

    const std::vector<Bytes>& m_files;
    std::size_t m_part, m_parts;
    std::mt19937_64 m_random;
    std::size_t m_count = 0; // of damages
    std::size_t m_first = 0; // one of them
    std::size_t m_done = 0;
};

// How many damaged copies were read.
std::size_t ReplayDamaged(Damages damages, double seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::size_t done = 0;
    for (; std::chrono::steady_clock::now() < end; ++done) {
        const Bytes damaged = damages.Next();
        LLVMFuzzerTestOneInput(damaged.data(), damaged.size());
    }
    return done;
}

} // namespace

int main(int count, char** arguments)
{
    const bool isDamage = count > 6 && std::string_view(arguments[1]) == "--damage";
    const auto number = [&](int index) { return std::strtoul(arguments[index], nullptr, 10); };
    std::vector<Bytes> files;
    for (int index = isDamage ? 6 : 1; index < count; ++index) {
        for (const std::string& file : FilesOf(arguments[index])) {
            std::optional<Bytes> bytes = Read(file);
            if (!bytes) {
                std::fprintf(stderr, "cannot read %s\n", file.c_str());
                return 1;
            }
            files.push_back(std::move(*bytes));
        }
    }
    if (isDamage) {
        const std::size_t done =
            ReplayDamaged(Damages(files, number(3), number(4), number(5)), std::atof(arguments[2]));
        std::printf("%zu reads\n", done);
        return done == 0;
    }
    for (const Bytes& bytes : files)
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    std::printf("replayed %zu files\n", files.size());
    return files.empty();
}
