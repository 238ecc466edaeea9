#include <distribution/tlscontext.h>

#include <distribution/mqttoptions.h>
#include <distribution/texts.h>

#include <QFile>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

namespace distribution {

namespace {

/// What OpenSSL says of the newest error of this thread.
QString opensslText()
{
    const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    return reason ? QString::fromUtf8(reason) : Texts::tr("unknown error");
}

/// `text` has places for the file and for what OpenSSL says.
QString cannotUse(const QString& text, const QString& file)
{
    return text.arg(file, opensslText());
}

/// Without it OpenSSL would ask for it at the terminal.
int noPassword(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*data*/)
{
    return 0;
}

} // namespace

struct TlsContext::Verification
{
    /// Called for every certificate of the chain; 0 ends the connection.
    static int check(int isFine, X509_STORE_CTX* store)
    {
        if (isFine)
            return 1;
        const auto* const ssl =
            static_cast<const SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
        auto* const context = static_cast<TlsContext*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)));
        if (context->m_refusal.isEmpty())
            context->m_refusal = text(X509_STORE_CTX_get_error(store), context->m_host);
        return 0;
    }

private:
    static QString text(int error, const QString& host)
    {
        switch (error) {
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return Texts::tr("the broker's certificate has expired");
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return Texts::tr("the broker's certificate is not valid yet");
        case X509_V_ERR_HOSTNAME_MISMATCH:
        case X509_V_ERR_IP_ADDRESS_MISMATCH:
            return Texts::tr("the broker's certificate is not for the host %1").arg(host);
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_CERT_SIGNATURE_FAILURE:
            return Texts::tr("the broker's certificate is not signed by a trusted authority");
        default:
            return Texts::tr("the broker's certificate is refused: %1")
                .arg(QString::fromUtf8(X509_verify_cert_error_string(error)));
        }
    }
};

TlsContext::TlsContext() : m_context(SSL_CTX_new(TLS_client_method())) {}

TlsContext::~TlsContext()
{
    SSL_CTX_free(m_context);
}

std::unique_ptr<TlsContext> TlsContext::Make(const MqttOptions& options, QString& error)
{
    const auto fail = [&error](const QString& text) {
        error = text;
        return nullptr;
    };
    std::unique_ptr<TlsContext> made(new TlsContext);
    SSL_CTX* const context = made->m_context;
    if (!context)
        return fail(opensslText());
    made->m_host = options.address.host;
    SSL_CTX_set_app_data(context, made.get());
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set_default_passwd_cb(context, noPassword);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, &Verification::check);
    X509_VERIFY_PARAM* const wanted = SSL_CTX_get0_param(context);
    const QByteArray host = options.address.host.toUtf8();
    if (X509_VERIFY_PARAM_set1_ip_asc(wanted, host.constData()) != 1)
        X509_VERIFY_PARAM_set1_host(wanted, host.constData(), static_cast<std::size_t>(host.size()));

    const QByteArray ca = QFile::encodeName(options.caFile);
    const QByteArray certificate = QFile::encodeName(options.certificateFile);
    const QByteArray key = QFile::encodeName(options.keyFile);
    ERR_clear_error();
    if (ca.isEmpty() ? SSL_CTX_set_default_verify_paths(context) != 1
                     : SSL_CTX_load_verify_locations(context, ca.constData(), nullptr) != 1)
        return fail(cannotUse(Texts::tr("cannot use the authorities in %1: %2"), options.caFile));
    if (!certificate.isEmpty() && SSL_CTX_use_certificate_chain_file(context, certificate.constData()) != 1)
        return fail(cannotUse(Texts::tr("cannot use the certificate %1: %2"), options.certificateFile));
    if (!key.isEmpty() && (SSL_CTX_use_PrivateKey_file(context, key.constData(), SSL_FILETYPE_PEM) != 1 ||
                           SSL_CTX_check_private_key(context) != 1))
        return fail(cannotUse(Texts::tr("cannot use the key %1: %2"), options.keyFile));
    return made;
}

} // namespace distribution
