// Asks a server for its name and prints it: a connection, a request and its reply.
#include <koltacommon/koltaconnection.h>
#include <koltacommon/requestoperation.h>
#include <xmlmessaging/converters.h>

#include <QCoreApplication>

#include <cstdio>

using XmlCommunication::CAppDescription;

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: whoareyou ADDRESS:PORT\n", stderr);
        return 2;
    }

    Kolta::KoltaConnection connection(QStringLiteral("whoareyou"), QStringLiteral("1.0"),
                                      QString::fromLocal8Bit(argv[1]), false);
    connection.open();

    // Requests may be made before the link is up; they wait in the connection's queue.
    const XmlCommon::ptrCXmlMessage query(new XmlCommon::CXmlMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY));
    query->addFragment(CAppDescription::makeFragment());
    auto* const request = new Kolta::RequestOperation(connection, query, &application);
    request->then(&application, [&](Kolta::Operation& ended) {
        const bool isDone = ended.state() == Kolta::Operation::State::Done;
        if (isDone) {
            const CAppDescription description(request->reply()->getFragment(0));
            std::printf("%s %s\n", qPrintable(description.getAppName()),
                        qPrintable(description.getAppGuid()));
        } else {
            std::fprintf(stderr, "whoareyou: %s: %s\n", argv[1], qPrintable(ended.text()));
        }
        QCoreApplication::exit(isDone ? 0 : 1);
    });
    const int exitCode = QCoreApplication::exec();
    connection.closeAndWaitForFinished(1000, false);
    return exitCode;
}
