// Runs the code of the guides and prints what comes of it: `qdguides`. Its files are in a folder
// "qdguides-files" below the current one, and gone at the end.

#include "examples/guides/Guides.h"

#include "core/file/StdPath.h"

#include <filesystem>

int main()
{
    const std::filesystem::path path = std::filesystem::current_path() / "qdguides-files";
    std::filesystem::remove_all(path);
    std::filesystem::create_directory(path);
    const WString folder = QDFromStdPath(path / ""); // with a separator behind it
    ShowReadme(folder);
    ShowDocuments(folder);
    ShowTrees();
    ShowSettings(folder);
    ShowSettingsDialogue(folder);
    ShowOperations();
    ShowTexts(folder);
    ShowTranslation(folder);
    ShowComingFrom(folder);
    std::filesystem::remove_all(path);
    return 0;
}
