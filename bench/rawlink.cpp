#include "figure.h"
#include "peerlinks.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace Bench {

namespace {

void sendAll(int socket, const std::vector<char>& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t step = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        require(step > 0, "the raw socket cannot send");
        sent += static_cast<std::size_t>(step);
    }
}

/// False at the end of the stream.
bool receiveAll(int socket, std::vector<char>& bytes)
{
    return ::recv(socket, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

void sendAtOnce(int socket)
{
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

} // namespace

struct RawLink::Private
{
    int client = -1;
    std::vector<char> request;
    std::vector<char> reply;
    std::thread server;
};

RawLink::RawLink(int requestBytes, int replyBytes) : d(std::make_unique<Private>())
{
    d->request.assign(static_cast<std::size_t>(requestBytes), 'q');
    d->reply.assign(static_cast<std::size_t>(replyBytes), 'r');

    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(::bind(listener, generic, size) == 0 && ::listen(listener, 1) == 0 &&
                ::getsockname(listener, generic, &size) == 0,
            "the raw socket cannot listen");
    d->client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    require(::connect(d->client, generic, size) == 0, "the raw socket cannot connect");
    const int accepted = ::accept(listener, nullptr, nullptr);
    ::close(listener);
    sendAtOnce(d->client);
    sendAtOnce(accepted);
    d->server = std::thread([accepted, request = d->request, reply = d->reply]() mutable {
        while (receiveAll(accepted, request))
            sendAll(accepted, reply);
        ::close(accepted);
    });
}

RawLink::~RawLink()
{
    ::shutdown(d->client, SHUT_RDWR);
    d->server.join();
    ::close(d->client);
}

void RawLink::roundTrips(int count)
{
    for (int i = 0; i < count; ++i) {
        sendAll(d->client, d->request);
        require(receiveAll(d->client, d->reply), "the raw socket lost its link");
    }
}

} // namespace Bench
