// The code of docs/translation.md.

#include "core/base/BString.h"
#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/file/BDirEntry.h"
#include "core/language/BLanguageMap.h"

#include "examples/guides/Guides.h"

#include <cstdio>

WString ScanCaption(int count)
{
    const SP<BLanguageMap> map = BLanguageMap::Instance();
    const WString key = QD_W("$IDS_ScanCount");
    WString text;
    text.Printf((map ? map->Translate(key) : key).CStr(), count); // "%d scans"
    return text;
}

bool WriteMaster(const WString& path)
{
    BLanguageMap master;
    master.Add(QD_W("$IDS_ScanCount"), QD_W("%d scans"), WString(), false, false);
    master.Add(QD_W("$IDS_History"), QD_W("History"), WString(), false, false);
    return master.ExportMapFile(path) == kErrorNone;
}

/// Brings the German files up to date with the program's: tells how many texts are to be
/// translated.
int UpdateGerman(const WString& program, const WString& german)
{
    int newEntries = 0;
    const int code =
        BLanguageMap::MergeMapFiles(program, german, german, QD_W("*.lng"), newEntries);
    return code == kErrorNone ? newEntries : -1;
}

/// At the start of the program, before it has a second thread.
bool LoadLanguage(const WString& folder, WString& log)
{
    SP<BLanguageMap> map(new BLanguageMap);
    map->SetReportMissingTranslations(true);
    const int code = map->ImportMapFiles(folder, QD_W("*.lng"), &log, false);
    BLanguageMap::RegisterInstance(map); // with what could be read
    return code == kErrorNone;
}

void ShowTranslation(const WString& folder)
{
    const WString program = folder + QD_W("program");
    const WString german = folder + QD_W("german");
    const bool isMade = BDirEntry(program).MakeDir() && BDirEntry(german).MakeDir() &&
                        WriteMaster(program + QD_W("/demo.lng"));
    std::printf("%s: %d texts to translate\n", isMade ? "A master file" : "No master file",
                UpdateGerman(program, german));

    BLanguageMap translator; // a person with an editor
    translator.Add(QD_W("$IDS_ScanCount"), QD_W("%d scans"), QD_W("%d Aufnahmen"), false, false);
    translator.ExportMapFile(german + QD_W("/demo.lng"));
    std::printf("Later: %d text to translate\n", UpdateGerman(program, german));

    WString log;
    const bool isWhole = LoadLanguage(german, log);
    std::printf("%s: %s\n", isWhole ? "Whole" : "Not whole",
                static_cast<const char*>(ScanCaption(3).AsString()));
    BLanguageMap::RegisterInstance({});
}
