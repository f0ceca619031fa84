#include "support/SaveArchive.h"

#include "core/platform/FileReplacement.h"

bool SaveArchive(const WString& path, BString docClass, int docVersion,
                 const std::function<void(BArchive&)>& insert)
{
    platform::FileReplacement replacement(path);
    if (replacement.Stream() == nullptr)
        return false;
    {
        // Closed before it is moved: Windows moves no file that is open.
        BArchive archive(replacement.Path().c_str(), BArchive::ModeWrite, docClass, docVersion);
        insert(archive);
        if (!archive.Flush())
            return false;
    }
    return replacement.Commit();
}
