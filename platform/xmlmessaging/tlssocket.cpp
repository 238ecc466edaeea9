#include "tlssocket.h"

#include <QLibrary>
#include <QSslCertificate>
#include <QSslError>
#include <QSslSocket>
#include <QStringList>

namespace XmlCommunication {

namespace {

/// Of the library that Qt has loaded by itself; this one is not linked to it, so that plain links do without.
QFunctionPointer openSslThreadStop()
{
    const long major = QSslSocket::sslLibraryVersionNumber() >> 28;
    return QLibrary::resolve(QStringLiteral("crypto"),
                             major == 1 ? QStringLiteral("1.1") : QString::number(major),
                             "OPENSSL_thread_stop");
}

} // namespace

qint64 unsentBytes(const QAbstractSocket& socket)
{
    const auto* const protectedSocket = qobject_cast<const QSslSocket*>(&socket);
    return socket.bytesToWrite() + (protectedSocket ? protectedSocket->encryptedBytesToWrite() : 0);
}

QString tlsFailure(const QSslSocket& socket)
{
    QStringList reasons;
    for (const QSslError& error : socket.sslHandshakeErrors())
        reasons.append(error.errorString());
    if (!reasons.isEmpty())
        return QStringLiteral("TLS: certificate refused: %1").arg(reasons.join(QLatin1String("; ")));
    const QString text = socket.errorString();
    if (socket.isEncrypted() || socket.error() != QAbstractSocket::RemoteHostClosedError) {
        // The library's words for bytes that are no record of the protocol at all.
        for (const char* sign : {"wrong version number", "http request", "packet length too long"}) {
            if (text.contains(QLatin1String(sign)))
                return QStringLiteral("TLS: the peer sends plain text, expected TLS");
        }
        return QStringLiteral("TLS: %1").arg(text.simplified());
    }
    return QStringLiteral("TLS: the peer closed the connection during the handshake; it refuses this end's "
                          "certificate or speaks no TLS");
}

QString certifiedName(const QAbstractSocket& socket)
{
    const auto* const protectedSocket = qobject_cast<const QSslSocket*>(&socket);
    return protectedSocket
               ? protectedSocket->peerCertificate().subjectInfo(QSslCertificate::CommonName).value(0)
               : QString();
}

void leaveTls()
{
    static const QFunctionPointer stop = openSslThreadStop();
    if (stop)
        stop();
}

} // namespace XmlCommunication
