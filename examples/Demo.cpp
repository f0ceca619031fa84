// A small measurement application.
//
// `qddemo save FILE` makes a document, with every change reported to a dispatcher, and saves it.
//
// `qddemo show FILE [LANGUAGE [UNIT]]` loads it, proves that it is the same document, and prints it
// in English or another language ("german"), lengths in "mm", "inch" or "thou".
//
// `qddemo compare FILE` loads it and proves that it is the same document.
//
// `qddemo compute [MILLIONS [LANGUAGE [UNIT]]]` measures a cloud of ten or as many million points
// on a worker thread, with a progress bar; Ctrl+C breaks it off.

#include "core/base/BString.h"
#include "core/diag/BStopWatch.h"
#include "core/file/StdPath.h"
#include "core/operation/BMessageReceiver.h"
#include "core/tree/BNodeItr.h"
#include "support/BThreadDispatcher.h"

#include "examples/Computation.h"
#include "examples/Document.h"
#include "examples/View.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

namespace {

/// Stands for the user interface: counts the changes that it is told of.
class ChangeCounter final : public BMessageReceiver {
public:
    void Receive(unsigned int message, std::uint64_t, std::uint64_t) override
    {
        ++m_counts[message];
    }

    void Print() const
    {
        for (const auto& [message, count] : m_counts)
            std::printf("  message %u: %d times\n", message, count);
    }

private:
    std::map<unsigned int, int> m_counts;
};

int Save(const WString& path)
{
    ChangeCounter counter;
    const SP<BThreadDispatcher> dispatcher(new BThreadDispatcher);
    dispatcher->AddReceiver(&counter);
    BDispatcher::RegisterDispatcher(dispatcher);
    const BStopWatch making;
    const SP<BNode> root = MakeDocument();
    std::printf("Made the document in %.0f ms.\n", making.PeriodD());
    BDispatcher::RegisterDispatcher(nullptr);
    dispatcher->Shutdown();
    std::puts("The dispatcher was told:");
    counter.Print();

    const BStopWatch saving;
    if (!SaveDocument(path, *root)) {
        std::puts("The document could not be saved.");
        return 1;
    }
    std::printf("Saved it in %.0f ms.\n", saving.PeriodD());
    return 0;
}

int Load(const WString& path, bool prints)
{
    const BStopWatch loading;
    const SP<BNode> root = LoadDocument(path);
    if (!root) {
        std::puts("The document could not be loaded.");
        return 1;
    }
    const double loadingTime = loading.PeriodD();
    if (prints)
        PrintTree(*root);
    const SP<BNode> expected = MakeDocument();
    const WString difference = FirstDifference(*expected, *root);
    if (!difference.IsEmpty()) {
        std::printf("The documents differ: %s\n", difference.AsString().CStr());
        return 1;
    }
    int nodes = 0;
    for (BNodeItr itr(root.Get(), BNodeItr::All); itr; ++itr)
        ++nodes;
    std::printf("Loaded %d nodes in %.0f ms: the same tree, and the same objects are shared.\n",
                nodes, loadingTime);
    const auto fileSize = std::filesystem::file_size(std::filesystem::path(path.CStr()));
    std::printf("The file has %llu bytes, the objects of the nodes hold %llu.\n",
                static_cast<unsigned long long>(fileSize),
                static_cast<unsigned long long>(root->AllocatedMemory(false)));
    return 0;
}

int Usage()
{
    std::puts("qddemo save FILE\n"
              "qddemo show FILE [english|german [mm|inch|thou]]\n"
              "qddemo compare FILE\n"
              "qddemo compute [MILLIONS [english|german [mm|inch|thou]]]");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    const auto argument = [&](std::size_t index, std::string_view other) {
        return index < arguments.size() ? arguments[index] : other;
    };
    const bool isShown = SwitchLanguage(argument(2, "english")) && SwitchUnit(argument(3, "mm"));
    const std::string_view command = argument(0, "");
    const std::uint64_t millions = std::strtoull(argument(1, "10").data(), nullptr, 10);
    if (command == "compute" && isShown && millions != 0)
        return RunComputation(millions * 1'000'000);
    if (arguments.size() < 2)
        return Usage();
    const WString file = QDFromStdPath(arguments[1]);
    RegisterDocumentClasses();
    if (command == "save")
        return Save(file);
    if (command == "compare")
        return Load(file, false);
    return command == "show" && isShown ? Load(file, true) : Usage();
}
