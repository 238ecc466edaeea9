#pragma once

#include <xmlmessaging/export.h>

#include <QString>

class QSslConfiguration;

namespace XmlCommunication {

/// How a link is protected: not at all, or by TLS 1.2 or newer with certificates of an own authority. All
/// files are PEM.
struct KOLTA_XMLMESSAGING_EXPORT TlsSettings
{
    bool required = false;
    QString caFile;          ///< who signs the peers' certificates
    QString certificateFile; ///< what this end shows, with the authorities between it and the peer's one
                             ///< behind it
    QString keyFile;         ///< its key, without a passphrase; empty: it stands in the certificate's file
    QString peerName; ///< what a server's certificate must be made out to; empty: the host connected to
    QString problem;  ///< why the settings are none; a link with such ends at once, never unprotected

    /// The configuration's for a server of its own: group "XmlServer". With a `caFile` clients have to show a
    /// certificate.
    static TlsSettings ofServer();
    /// The configuration's for links to a server: group "XmlClient", and key by key before it
    /// "XmlClient host:port", without brackets around an IPv6 address.
    static TlsSettings ofClient(const QString& host, quint16 port);

    enum End { eClient, eServer };
    /// Reads the files. False, with an `error` that names file and reason, when one is missing or unreadable.
    bool load(End end, QSslConfiguration& configuration, QString& error) const;
};

} // namespace XmlCommunication
