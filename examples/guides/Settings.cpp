// The code of docs/settings.md.

#include "core/base/BProblem.h"
#include "core/base/ErrorCodes.h"
#include "core/profile/BBinProfile.h"
#include "core/profile/BConfig.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/BProfile.h"
#include "core/profile/OpenProfile.h"

#include "examples/guides/Guides.h"

#include <cstdio>

int ReadWidth(const WString& path)
{
    BProfile profile(path, ProfileReadWrite);
    profile.SetSection(QD_W("Window"));
    return profile.ReadInt(QD_W("Width"), 800); // "Width=800" stands in the file from now on
}

bool ReadSpeed(const WString& path, int& speed)
{
    const BIniProfile profile(path, QD_W("Probe"), true); // missing keys are written
    return profile.Read(QD_W("Speed"), speed, 1, 100);    // clamped to 1..100, but false beyond
}

void SaveView(const WString& path, const double (&matrix)[6])
{
    BBinProfile profile(path, ProfileReadWrite);
    profile.SetSection(QD_W("View"));
    for (int i = 0; i < 6; ++i)
        profile.WriteDouble(i, QD_W("Matrix"), matrix[i]); // Matrix0 to Matrix5, every bit kept
} // written when the profile is destroyed

bool SaveZoom(const WString& path, double zoom)
{
    BBinProfile profile(path, ProfileReadWrite);
    profile.WriteDouble(QD_W("Zoom"), zoom);
    if (profile.Save())
        return true;
    std::printf("%s\n", profile.Problem().Text().AsUtf8().c_str());
    return false;
}

double ReadFirstOfView(const WString& path)
{
    const SP<BProfileBase> profile = OpenProfile(path); // text or binary, by what the file holds
    if (!profile)
        return 0;
    profile->SetSection(QD_W("View"));
    return profile->ReadDouble(0, QD_W("Matrix"), 1.0);
}

int ReadRecentCount(BConfig& config)
{
    int count = 4; // stays when there is none
    config.Child(QD_W("Recent"))->ReadInt(QD_W("Count"), count);
    return count;
}

/// A configuration in which nothing stands, for a test of the function above.
class EmptyConfig final : public BConfig {
public:
    SP<BConfig> Child(WString) override { return new EmptyConfig; }
    int ReadString(WString, WString&) const override { return kErrorGeneral; }
    int WriteString(WString, WString) override { return kErrorGeneral; }
};

void ShowSettings(const WString& folder)
{
    const WString text = folder + QD_W("settings.ini");
    std::printf("Width: %d, ", ReadWidth(text));
    const bool isWritten = BProfile(text, ProfileReadOnly).ExistsSection(QD_W("Window"));
    std::puts(isWritten ? "which is in the file now" : "which is not in the file");

    int speed = 40;
    for (const char* const time : {"first", "second"}) {
        const bool isThere = ReadSpeed(text, speed);
        std::printf("Speed, read for the %s time: %s, %d\n", time, isThere ? "there" : "missing",
                    speed);
    }

    const WString binary = folder + QD_W("view.bin");
    SaveView(binary, {0.1, 0, 0, 0, 1, 0});
    std::printf("The view begins with %.17g, that of a file without one with %g.\n",
                ReadFirstOfView(binary), ReadFirstOfView(text));
    std::puts(SaveZoom(binary, 1.5) ? "The zoom was saved." : "The zoom was lost.");
    BProfile reading(text, ProfileReadOnly);
    static_cast<void>(reading.ReadInt(QD_W("Depth"), 3));
    BProblem problem = reading.Problem();
    problem.path.Clear();
    std::printf("Depth: %s\n", problem.Text().AsUtf8().c_str());
    const SP<BConfig> config = new EmptyConfig;
    std::printf("Without a registry there are %d recent files.\n", ReadRecentCount(*config));
}
