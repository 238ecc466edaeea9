#pragma once

#include <QAbstractSocket>
#include <QString>

class QSslSocket;

namespace XmlCommunication {

/// Bytes that were written and have not left, encrypted or not.
qint64 unsentBytes(const QAbstractSocket& socket);
/// Why the handshake or the protected link failed, in one line for people.
QString tlsFailure(const QSslSocket& socket);
/// Whom the peer's certificate names; empty when it showed none.
QString certifiedName(const QAbstractSocket& socket);

} // namespace XmlCommunication
