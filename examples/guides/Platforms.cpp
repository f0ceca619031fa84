// The code of docs/platforms.md: a program of its own, `qdplatforms`.

#include "examples/guides/Platforms.h"

#include "core/base/WString.h"
#include "core/file/StdPath.h"
#include "core/profile/BIniProfile.h"

#include <fstream>
#include <iostream>
#include <set>
#include <string>

/// An argument that is a text: UTF-8 on Linux, UTF-16 on Windows.
WString TextOf(const std::string& argument, bool& isWhole)
{
    return WString::FromUtf8(argument, &isWhole);
}
WString TextOf(const std::wstring& argument, bool& isWhole)
{
    return WString::FromWide(argument, &isWhole);
}

/// Puts the inspector's name into each file, and tells what stands there now.
int Inspect(const WString& inspector, const std::vector<std::filesystem::path>& files)
{
    for (const std::filesystem::path& file : files) {
        const WString path = QDFromStdPath(std::filesystem::absolute(file));
        const BIniProfile profile(path, QD_W("Part"), false);
        WString found;
        if (!profile.Write(QD_W("Inspector"), inspector) ||
            !profile.Read(QD_W("Inspector"), found)) {
            std::cerr << path << " cannot be written\n";
            return 1;
        }
        std::cout << QDFromStdPath(file.filename()) << ": " << found << '\n';
    }
    return 0;
}

/// Lists a folder in a text file beside it, which editors on both platforms read as UTF-8.
bool WriteList(const WString& folder)
{
    std::multiset<WString> names; // in the order in which the user sorts them
    for (const auto& entry : std::filesystem::directory_iterator(QDToStdPath(folder)))
        names.insert(QDFromStdPath(entry.path().filename()));
    std::ofstream list(QDToStdPath(folder + QD_W(".txt")), std::ios::binary);
    for (const WString& name : names)
        list << name << '\n';
    return list.flush().good();
}

int Run(const std::vector<std::filesystem::path>& arguments)
{
    if (arguments.size() < 2) {
        std::cerr << "qdplatforms NAME FILE...\n";
        return 2;
    }
    bool isWhole = false;
    const WString inspector = TextOf(arguments[0].native(), isWhole);
    if (!isWhole)
        std::cerr << "The name is no Unicode, and reads " << inspector << " now\n";
    const int result = Inspect(inspector, {arguments.begin() + 1, arguments.end()});
    const std::filesystem::path first = std::filesystem::absolute(arguments[1]);
    return result == 0 && !WriteList(QDFromStdPath(first.parent_path())) ? 1 : result;
}
