#include "support/SaveArchive.h"

#include "core/platform/FileReplacement.h"

#include <new>

namespace {

// Tells the problem of an archive, by the path of the document, also where an exception ends it.
class Telling {
public:
    Telling(const BArchive& archive, const WString& path, BProblem& problem)
        : m_archive(archive)
        , m_path(path)
        , m_problem(problem)
    {}
    ~Telling()
    {
        m_problem = m_archive.Problem();
        if (m_problem)
            m_problem.path = m_path;
    }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;

private:
    const BArchive& m_archive;
    const WString& m_path;
    BProblem& m_problem;
};

bool Save(const WString& path, const BString& docClass, int docVersion,
          const std::function<void(BArchive&)>& insert, BProblem& told)
{
    const auto failed = [&] {
        told = BProblem::OfSystem();
        told.path = path;
        return false;
    };
    platform::FileReplacement replacement(path);
    if (replacement.Stream() == nullptr)
        return failed();
    {
        // Closed before it is moved: Windows moves no file that is open.
        BArchive archive(replacement.Path().c_str(), BArchive::ModeWrite, docClass, docVersion);
        const Telling telling(archive, path, told);
        insert(archive);
        if (!archive.Flush())
            return false;
    }
    return replacement.Commit() || failed();
}

} // namespace

bool SaveArchive(const WString& path, BString docClass, int docVersion,
                 const std::function<void(BArchive&)>& insert, BProblem* problem)
{
    BProblem ignored;
    BProblem& told = problem != nullptr ? *problem : ignored;
    told = {};
    try {
        return Save(path, docClass, docVersion, insert, told);
    } catch (const std::bad_alloc&) {
        if (!told)
            told = {.code = EProblem::Memory, .path = path};
        throw;
    }
}
