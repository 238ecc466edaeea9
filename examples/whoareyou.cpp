// Asks a server for its name and prints it: a connection, a request and its reply.
#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

/// The query for the server's application description; ends the connection when the answer is there.
class WhoAreYou : public Kolta::AppDescription
{
public:
    explicit WhoAreYou(Kolta::KoltaConnection& connection) : m_connection(connection) {}

    Kolta::ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) override
    {
        AppDescription::processReply(reply);
        std::printf("%s %s\n", qPrintable(getAppName()), qPrintable(getAppGuid()));
        m_connection.close(true);
        return {};
    }

private:
    Kolta::KoltaConnection& m_connection;
};

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: whoareyou ADDRESS:PORT\n", stderr);
        return 2;
    }

    Kolta::KoltaConnection connection(QStringLiteral("whoareyou"), QStringLiteral("1.0"),
                                      QString::fromLocal8Bit(argv[1]), false);
    int result = 0;
    QObject::connect(&connection, &Kolta::KoltaConnection::ConnectionError, [&](const QString& error) {
        std::fprintf(stderr, "whoareyou: %s: %s\n", argv[1], qPrintable(error));
        result = 1;
    });
    QObject::connect(&connection, &Kolta::KoltaConnection::Fault,
                     [](const QString& text) { std::fprintf(stderr, "whoareyou: %s\n", qPrintable(text)); });
    QObject::connect(&connection, &Kolta::KoltaConnection::ConnectionClosed, &application,
                     [&] { QCoreApplication::exit(result); });

    // Requests may be executed before the link is up; they wait in the connection's queue.
    connection.open();
    connection.executeRequest(new WhoAreYou(connection));
    return QCoreApplication::exec();
}
