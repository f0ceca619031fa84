// What crosses the border between a program and the library: classes of the program that the
// library calls, creates and casts, exceptions of the library, the support library's thread.

#include "core/qdcore.h"
#include "support/BThreadDispatcher.h"
#include "support/SaveArchive.h"

#include "qdcore/Version.h"

#include <cstdio>

class PlaneNode : public BNode {
public:
    void WriteData(BArchive& archive) const override
    {
        BNode::WriteData(archive);
        archive << m_flatness;
    }
    static SP<BSmartObj> Read(BArchive& archive, int)
    {
        const SP<PlaneNode> plane(new PlaneNode);
        plane->ReadData(archive);
        archive >> plane->m_flatness;
        return plane;
    }

    double m_flatness = 0; // millimetres
};

class Receiver : public BMessageReceiver {
public:
    void Receive(unsigned int message, std::uint64_t, std::uint64_t) override
    {
        m_message = message;
    }

    unsigned int m_message = 0;
};

static bool SaveAndLoad(const WString& path)
{
    RegisterArchiveCallback(BSmartObj::ClassName(typeid(PlaneNode)), &PlaneNode::Read);
    const SP<PlaneNode> plane(new PlaneNode);
    plane->SetText(QD_W("Plane"));
    plane->m_flatness = 0.25;
    if (!SaveArchive(path, "class Part", 1,
                     [&](BArchive& archive) { archive.Insert(plane.Get(), "plane"); }))
        return false;
    BArchive archive(path, BArchive::ModeRead, "class Part", 1);
    const SP<BSmartObj> object = archive.TakeOut("plane");
    const auto* loaded = dynamic_cast<PlaneNode*>(object.Get());
    return loaded != nullptr && loaded->m_flatness == 0.25 && loaded->GetText() == QD_W("Plane");
}

static bool Catch()
{
    try {
        BError(7001, QD_W("$IDS_Hint"), nullptr, nullptr, nullptr).Throw(); // inside the library
    } catch (const BError& error) {
        return error.Error() == 7001 && error.Argument(0) == QD_W("$IDS_Hint");
    }
}

static bool Send()
{
    Receiver receiver;
    BThreadDispatcher dispatcher;
    dispatcher.AddReceiver(&receiver);
    return dispatcher.Send(7, 0, 0) && receiver.m_message == 7;
}

int main()
{
    const bool version = QDVersion() == QD_VERSION;
    const bool loaded = SaveAndLoad(QD_W("part.qda")), caught = Catch(), sent = Send();
    std::printf("%s: version %d, loaded %d, caught %d, sent %d\n", QD_VERSION_TEXT, version, loaded,
                caught, sent);
    return version && loaded && caught && sent ? 0 : 1;
}
