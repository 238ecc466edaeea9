#pragma once

#include <QString>

#include <memory>

struct ssl_ctx_st;

namespace distribution {

struct MqttOptions;

/// What one TLS connection is checked by: version 1.2 at least, the broker's certificate by the
/// installation's authorities and by the name of the host, and what this side shows of itself. On the
/// connection's thread.
class TlsContext
{
public:
    /// Null, and why in one line, when a file cannot be used.
    static std::unique_ptr<TlsContext> Make(const MqttOptions& options, QString& error);
    ~TlsContext();

    ssl_ctx_st* Get() const noexcept { return m_context; }
    /// Why the broker's certificate was refused, in one line; empty when it was not.
    const QString& Refusal() const noexcept { return m_refusal; }

    TlsContext(const TlsContext&) = delete;
    TlsContext& operator=(const TlsContext&) = delete;

private:
    TlsContext();
    struct Verification;

    ssl_ctx_st* m_context;
    QString m_host;
    QString m_refusal;
};

} // namespace distribution
