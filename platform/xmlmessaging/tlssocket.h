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
/// Gives back what TLS keeps for the calling thread, whose last protected socket has gone. OpenSSL does that
/// by itself when a thread has gone; but QThread::wait() returns a moment before, and at the end of a process
/// OpenSSL's own tables may go in that moment.
void leaveTls();

} // namespace XmlCommunication
