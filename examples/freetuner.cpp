// Mirrors a resource overview from the value tree and picks a free tuner. The overview comes from a file
// here; in an installation a server writes it.
#include <koltacommon/koltaresourceobserver.h>
#include <values/value.h>

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: freetuner RESOURCES.XML TUNER-TYPE\n", stderr);
        return 2;
    }
    QFile file(QString::fromLocal8Bit(argv[1]));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "freetuner: %s: %s\n", argv[1], qPrintable(file.errorString()));
        return 1;
    }

    const QString path = QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION/Resources");
    auto* value = values::Tree::Instance().Emplace<values::StringValue>(path);

    Kolta::KoltaResourceObserver observer(path);
    QObject::connect(&observer, &Kolta::KoltaResourceObserver::si_NewTuner, [&](const QString& guid) {
        std::printf("new tuner %s\n", qPrintable(observer.GetDisplayNameByGUID(guid)));
    });
    QObject::connect(&observer, &Kolta::IValueChangeNotifier::si_ParsingError, [](const QString& error) {
        std::fprintf(stderr, "freetuner: %s\n", qPrintable(error));
    });

    // What a server does: it writes the whole overview as one text. The observer tells what is new in it.
    value->SetValue(QString::fromUtf8(file.readAll()));

    const QString guid = observer.GetGUIDForFreeTuner(QString::fromLocal8Bit(argv[2]));
    if (guid.isEmpty()) {
        std::fprintf(stderr, "freetuner: no tuner of type %s is free\n", argv[2]);
        return 1;
    }
    std::printf("free: %s, address %s\n", qPrintable(observer.GetDisplayNameByGUID(guid)),
                qPrintable(observer.FindResourceAddress(guid)));
    return 0;
}
