#include "socketoptions.h"

#include <QAbstractSocket>

#ifdef Q_OS_UNIX
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

namespace XmlCommunication {

namespace {

#ifdef Q_OS_LINUX
void setTcpOption(QAbstractSocket& socket, int option, int value)
{
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), IPPROTO_TCP, option, &value, sizeof value);
}
#endif

} // namespace

void tuneSocket(QAbstractSocket& socket)
{
    socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
#ifdef Q_OS_LINUX
    setTcpOption(socket, TCP_KEEPIDLE, 30);
    setTcpOption(socket, TCP_KEEPINTVL, 10);
    setTcpOption(socket, TCP_KEEPCNT, 3);
#endif
}

void limitUnacknowledgedTime(QAbstractSocket& socket, std::chrono::milliseconds time)
{
#ifdef Q_OS_LINUX
    setTcpOption(socket, TCP_USER_TIMEOUT, static_cast<int>(time.count()));
#else
    Q_UNUSED(socket)
    Q_UNUSED(time)
#endif
}

void resetOnClose(QAbstractSocket& socket)
{
#ifdef Q_OS_UNIX
    const linger discard{1, 0};
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &discard,
                 sizeof discard);
#else
    Q_UNUSED(socket)
#endif
}

void shutdownSending(QAbstractSocket& socket)
{
#ifdef Q_OS_UNIX
    ::shutdown(static_cast<int>(socket.socketDescriptor()), SHUT_WR);
#else
    Q_UNUSED(socket)
#endif
}

} // namespace XmlCommunication
