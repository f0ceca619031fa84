// The code of docs/coming-from-qt.md that is Qt's.

#include <QBitArray>
#include <QCoreApplication>
#include <QDataStream>
#include <QObject>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QVariant>

bool keepPart(const QString& folder)
{
    QObject part;
    part.setObjectName("Housing");
    const QBitArray scan(640 * 480);
    for (const char* const name : {"Top", "Bottom"}) {
        auto* plane = new QObject(&part); // the parent deletes it
        plane->setObjectName(name);
        plane->setProperty("scan", scan);
    }
    QSaveFile file(folder + "/part.dat");
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream out(&file);
    out << part.objectName() << int(part.children().size());
    for (const QObject* const plane : part.children())
        out << plane->objectName() << plane->property("scan").toBitArray(); // there twice now
    if (!file.commit())
        return false;

    QFile saved(folder + "/part.dat");
    if (!saved.open(QIODevice::ReadOnly))
        return false;
    QDataStream in(&saved);
    QObject loaded;
    QString name;
    int count = 0;
    for (in >> name >> count; count > 0 && in.status() == QDataStream::Ok; --count) {
        QBitArray bits;
        in >> name >> bits;
        auto* plane = new QObject(&loaded);
        plane->setObjectName(name);
        plane->setProperty("scan", bits);
    }
    const QSettings settings(folder + "/part.ini", QSettings::IniFormat);
    return loaded.findChild<QObject*>("Top") != nullptr &&
           settings.value("View/Width", 800).toInt() == 800;
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    return keepPart(folder.path()) ? 0 : 1;
}
