// The code of docs/settings-dialogue.md.

#include "core/base/BArray.h"
#include "core/base/BMap.h"
#include "core/base/BString.h"
#include "core/base/WString.h"
#include "core/profile/BIniProfile.h"
#include "core/profile/IProfile.h"

#include "examples/guides/Guides.h"

#include <cstdio>

/// What the page "Probe" of the dialogue shows; made with the defaults.
struct ProbeSettings {
    WString name = QD_W("Probe 1");
    double radius = 2.5; // millimetres
    int speed = 40;      // percent
    bool isSilent = false;

    void Load(const IProfile& store);
    [[nodiscard]] bool Save(const IProfile& store) const;
};

void ProbeSettings::Load(const IProfile& store)
{
    store.SetSection(QD_W("Probe"));
    store.Read(QD_W("Name"), name);
    store.Read(QD_W("Radius"), radius);
    store.Read(QD_W("Speed"), speed, 1, 100); // 250 in the file becomes 100
    store.Read(QD_W("Silent"), isSilent);
}

bool ProbeSettings::Save(const IProfile& store) const
{
    store.SetSection(QD_W("Probe"));
    return store.Write(QD_W("Name"), name) && store.Write(QD_W("Radius"), radius) &&
           store.Write(QD_W("Speed"), speed) && store.Write(QD_W("Silent"), isSilent);
}

/// Back to what the program was written with.
ProbeSettings Reset(const IProfile& store)
{
    store.DeleteSection(QD_W("Probe"));
    return {};
}

/// Settings in memory, for a test of the dialogue or a try before "Apply".
class MemoryProfile : public IProfile {
public:
    MemoryProfile()
        : IProfile(TypeNone, WString(), false)
    {}

protected:
    WString GetString(const WString& key, const WString& defaultValue) override
    {
        const auto* const section = m_sections.Find(GetSection());
        const auto* const entry = section != nullptr ? section->value.Find(key) : nullptr;
        return entry != nullptr ? entry->value : defaultValue;
    }
    bool WriteKeyImpl(const WString& key, const WString& value) const override
    {
        if (m_sections.Find(GetSection()) == nullptr)
            m_sections.Insert(GetSection(), {});
        m_sections.Find(GetSection())->value.Insert(key, value);
        return true;
    }
    bool DeleteSectionImpl(const WString& section) const override
    {
        return m_sections.Remove(section);
    }
    BArray<WString> GetAllKeys() override { return BArray<WString>(); }

private:
    mutable BMap<WString, BMap<WString, WString>> m_sections;
};

void ShowSettingsDialogue(const WString& folder)
{
    MemoryProfile memory;
    ProbeSettings settings;
    settings.speed = 250; // what the user typed
    settings.isSilent = true;
    const bool isSaved = settings.Save(memory);
    ProbeSettings loaded;
    loaded.Load(memory);
    std::printf("%s: speed %d, %s\n", isSaved ? "Saved" : "Not saved", loaded.speed,
                loaded.isSilent ? "silent" : "not silent");
    loaded = Reset(memory);
    loaded.Load(memory);
    std::printf("Reset: speed %d, radius %g\n", loaded.speed, loaded.radius);

    const BIniProfile file(folder + QD_W("dialogue.ini"), QD_W("Probe"), true);
    loaded.Load(file); // and writes what is missing
    WString name;
    file.Read(QD_W("Name"), name);
    std::printf("In the file: %s\n", static_cast<const char*>(name.AsString()));
}
