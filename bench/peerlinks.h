#pragma once

#include <memory>

/// \file
/// What a request's round trip is measured against: the same bytes over loopback TCP without a library.

namespace Bench {

/// A bare Qt client and its echo server. Thread layout of a connection: the caller's thread owns the link, a
/// thread of its own has the client's socket, a third one the server; bytes cross to and from the owner in
/// queued signals. Every write is flushed at once and small segments are not held back, as a careful author
/// would have it.
class QtLink
{
public:
    QtLink(int requestBytes, int replyBytes);
    ~QtLink();

    /// Sends requests one after the other, each when the reply to the one before has arrived.
    void roundTrips(int count);

    QtLink(const QtLink&) = delete;
    QtLink& operator=(const QtLink&) = delete;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// The least that this machine can do: a blocking socket on the caller's thread, another one on the server's.
class RawLink
{
public:
    RawLink(int requestBytes, int replyBytes);
    ~RawLink();

    void roundTrips(int count);

    RawLink(const RawLink&) = delete;
    RawLink& operator=(const RawLink&) = delete;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Bench
