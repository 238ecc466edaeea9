#include "tlssettings.h"

#include <startup/cfgcenter.h>

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>

namespace XmlCommunication {

namespace {

/// A key of the first group that has it.
QString firstOf(const QStringList& groups, const char* key)
{
    for (const QString& group : groups) {
        const QString text = Startup::CfgCenter::Instance().Text(group, QLatin1String(key)).trimmed();
        if (!text.isEmpty())
            return text;
    }
    return QString();
}

TlsSettings settingsOf(const QStringList& groups)
{
    TlsSettings settings;
    const QString mode = firstOf(groups, "Tls");
    settings.required = mode == QLatin1String("required");
    // Fails closed: a slip must not open a link without protection.
    if (!settings.required && !mode.isEmpty() && mode != QLatin1String("off"))
        settings.problem =
            QStringLiteral("%1/Tls: found \"%2\", expected off or required").arg(groups.last(), mode);
    settings.caFile = firstOf(groups, "TlsCaFile");
    settings.certificateFile = firstOf(groups, "TlsCertificateFile");
    settings.keyFile = firstOf(groups, "TlsKeyFile");
    settings.peerName = firstOf(groups, "TlsPeerName");
    return settings;
}

bool readAll(const QString& name, QByteArray& bytes, QString& error)
{
    QFile file(name);
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.readAll();
        return true;
    }
    error = QStringLiteral("TLS: %1: %2").arg(name, file.errorString());
    return false;
}

bool readCertificates(const QString& name, QList<QSslCertificate>& certificates, QString& error)
{
    QByteArray bytes;
    if (!readAll(name, bytes, error))
        return false;
    certificates = QSslCertificate::fromData(bytes, QSsl::Pem);
    if (!certificates.isEmpty())
        return true;
    error = QStringLiteral("TLS: %1: no certificate found, expected PEM").arg(name);
    return false;
}

bool readKey(const QString& name, QSslKey& key, QString& error)
{
    QByteArray bytes;
    if (!readAll(name, bytes, error))
        return false;
    for (const QSsl::KeyAlgorithm algorithm : {QSsl::Rsa, QSsl::Ec}) {
        key = QSslKey(bytes, algorithm, QSsl::Pem);
        if (!key.isNull())
            return true;
    }
    error = QStringLiteral("TLS: %1: no key found, expected RSA or EC in PEM, without passphrase").arg(name);
    return false;
}

} // namespace

TlsSettings TlsSettings::ofServer()
{
    return settingsOf({QStringLiteral("XmlServer")});
}

TlsSettings TlsSettings::ofClient(const QString& host, quint16 port)
{
    const QString group = QStringLiteral("XmlClient");
    return settingsOf({QStringLiteral("%1 %2:%3").arg(group, host, QString::number(port)), group});
}

bool TlsSettings::load(End end, QSslConfiguration& configuration, QString& error) const
{
    error = problem;
    if (error.isEmpty() && !QSslSocket::supportsSsl())
        error = QStringLiteral("TLS: this machine has no library for it");
    if (error.isEmpty() && end == eClient && caFile.isEmpty())
        error = QStringLiteral("TLS: no TlsCaFile given, so no server can be trusted");
    if (error.isEmpty() && end == eServer && certificateFile.isEmpty())
        error = QStringLiteral("TLS: no TlsCertificateFile given, so no client can trust this server");
    if (!error.isEmpty())
        return false;

    QList<QSslCertificate> authorities;
    QList<QSslCertificate> chain;
    QSslKey key;
    if (!caFile.isEmpty() && !readCertificates(caFile, authorities, error))
        return false;
    if (!certificateFile.isEmpty() && (!readCertificates(certificateFile, chain, error) ||
                                       !readKey(keyFile.isEmpty() ? certificateFile : keyFile, key, error)))
        return false;
    configuration = QSslConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setCaCertificates(authorities);
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    configuration.setPeerVerifyMode(authorities.isEmpty() ? QSslSocket::VerifyNone : QSslSocket::VerifyPeer);
    return true;
}

} // namespace XmlCommunication
