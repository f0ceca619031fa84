#include "core/geometry/BFColor.h"

#include "core/archive/BArchive.h"
#include "core/base/BArray.h"

#include <cstdint>

constinit const BFColor BFColor::Color[21] = {
    {0.0f, 0.0f, 0.0f, 1.0f},   {1.0f, 1.0f, 1.0f, 1.0f},   {1.0f, 0.0f, 0.0f, 1.0f},
    {0.0f, 1.0f, 0.0f, 1.0f},   {0.0f, 0.0f, 1.0f, 1.0f},   {1.0f, 1.0f, 0.0f, 1.0f},
    {1.0f, 0.0f, 1.0f, 1.0f},   {0.0f, 1.0f, 1.0f, 1.0f},   {0.5f, 0.0f, 0.0f, 1.0f},
    {0.0f, 0.5f, 0.0f, 1.0f},   {0.0f, 0.0f, 0.5f, 1.0f},   {0.5f, 0.5f, 0.0f, 1.0f},
    {0.5f, 0.0f, 0.5f, 1.0f},   {0.0f, 0.5f, 0.5f, 1.0f},   {0.5f, 0.5f, 0.5f, 1.0f},
    {0.75f, 0.5f, 0.25f, 1.0f}, {0.25f, 0.75f, 0.5f, 1.0f}, {0.5f, 0.25f, 0.75f, 1.0f},
    {0.25f, 0.5f, 0.75f, 1.0f}, {0.75f, 0.25f, 0.5f, 1.0f}, {0.5f, 0.75f, 0.25f, 1.0f},
};

BFColor BFColor::Average(BArray<BFColor>* colors)
{
    if (!colors || colors->Count() == 0)
        return {0.0f, 0.0f, 0.0f, 0.0f};
    double sums[4] = {}; // a float loses the last of some millions of colours
    for (const BFColor& color : *colors)
        for (int channel = 0; channel < 4; ++channel)
            sums[channel] += color.m_channels[channel];
    const auto mean = [&](double sum) {
        return static_cast<float>(sum / static_cast<double>(colors->Count()));
    };
    return {mean(sums[0]), mean(sums[1]), mean(sums[2]), mean(sums[3])};
}

bool BFColor::Write(std::FILE* file) const
{
    return file && std::fwrite(m_channels, sizeof m_channels, 1, file) == 1;
}

bool BFColor::Read(std::FILE* file)
{
    BFColor color; // so that half a colour changes nothing
    if (!file || std::fread(color.m_channels, sizeof m_channels, 1, file) != 1)
        return false;
    *this = color;
    return true;
}

// Free functions here and not members of the archive, which stands on a lower floor.

BArchive& operator<<(BArchive& archive, const BFColor& color)
{
    return archive << color.Red() << color.Green() << color.Blue() << color.Alpha();
}

BArchive& operator>>(BArchive& archive, BFColor& color)
{
    float* channels = color;
    return archive >> channels[0] >> channels[1] >> channels[2] >> channels[3];
}
