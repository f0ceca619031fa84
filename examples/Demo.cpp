// A small measurement application.
//
//   qddemo save FILE      makes a document, with every change reported to a dispatcher, and saves
//   it qddemo show FILE      loads it, proves that it is the same document, and prints it qddemo
//   compare FILE   loads it and proves that it is the same document

#include "core/base/BString.h"
#include "core/operation/BMessageReceiver.h"
#include "core/tree/BNodeItr.h"
#include "support/BThreadDispatcher.h"

#include "examples/Document.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string_view>

namespace {

constexpr int kChildrenShown = 4;
constexpr int kLevelsShown = 4;

class StopWatch {
public:
    [[nodiscard]] double Milliseconds() const
    {
        const std::chrono::duration<double, std::milli> passed =
            std::chrono::steady_clock::now() - m_start;
        return passed.count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

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

void PrintNode(BNode& node, int level)
{
    WString line;
    line.Fill(static_cast<std::size_t>(2 * level), QD_W(' '));
    line += node.GetText();
    if (BSmartObj* object = node.GetObj())
        line += QD_W(": ") + object->Properties();
    for (BNodeAttribItr itr(node); itr; ++itr)
        line += QD_W(", ") + itr.Current()->Properties();
    if (!node.IsActive())
        line += QD_W(" (inactive)");
    if (node.IsLocked())
        line += QD_W(" (locked)");
    std::printf("%s\n", line.AsString().CStr());
}

void PrintTree(BNode& node, int level)
{
    PrintNode(node, level);
    int shown = 0;
    for (BNodeChildItr itr(node); itr; ++itr) {
        if (shown++ == kChildrenShown || level == kLevelsShown) {
            int below = 0;
            for (; itr; ++itr)
                ++below;
            std::printf("%*s... %d more\n", 2 * level + 2, "", below);
            return;
        }
        PrintTree(*itr.Current(), level + 1);
    }
}

int Save(const WString& path)
{
    ChangeCounter counter;
    const SP<BThreadDispatcher> dispatcher(new BThreadDispatcher);
    dispatcher->AddReceiver(&counter);
    BDispatcher::RegisterDispatcher(dispatcher);
    const StopWatch making;
    const SP<BNode> root = MakeDocument();
    std::printf("Made the document in %.0f ms.\n", making.Milliseconds());
    BDispatcher::RegisterDispatcher(nullptr);
    dispatcher->Shutdown();
    std::puts("The dispatcher was told:");
    counter.Print();

    const StopWatch saving;
    if (!SaveDocument(path, *root)) {
        std::puts("The document could not be saved.");
        return 1;
    }
    std::printf("Saved it in %.0f ms.\n", saving.Milliseconds());
    return 0;
}

int Load(const WString& path, bool prints)
{
    const StopWatch loading;
    const SP<BNode> root = LoadDocument(path);
    if (!root) {
        std::puts("The document could not be loaded.");
        return 1;
    }
    const double loadingTime = loading.Milliseconds();
    if (prints)
        PrintTree(*root, 0);
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

} // namespace

int main(int argc, char** argv)
{
    const std::string_view command = argc == 3 ? argv[1] : "";
    RegisterDocumentClasses();
    if (command == "save")
        return Save(WString(std::filesystem::path(argv[2]).string<WChar>().c_str()));
    if (command == "show" || command == "compare")
        return Load(WString(std::filesystem::path(argv[2]).string<WChar>().c_str()),
                    command == "show");
    std::puts("qddemo save|show|compare FILE");
    return 2;
}
