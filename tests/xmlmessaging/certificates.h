#pragma once

#include <support/program.h>

#include <QFile>
#include <QString>
#include <QTemporaryDir>

/// Certificates for one test, made by openssl in a folder of their own: the authority "ca" with "server" (for
/// 127.0.0.1), "expired" and the users "operator" and
/// "visitor", and "stranger", which signs itself. Each file holds
/// certificate and key; "notes" holds neither.
class Certificates
{
public:
    bool make()
    {
        const QString local = QStringLiteral("subjectAltName=IP:127.0.0.1");
        QFile notes(file("notes"));
        return notes.open(QIODevice::WriteOnly) && notes.write("no certificate\n") > 0 &&
               certificate("ca", "authority", {}) &&
               certificate("stranger", "stranger", {QStringLiteral("-addext"), local}) &&
               certificate("server", "server", issuedFor(local)) &&
               certificate("operator", "operator", issuedFor(QStringLiteral("keyUsage=digitalSignature"))) &&
               certificate("visitor", "visitor", issuedFor(QStringLiteral("keyUsage=digitalSignature"))) &&
               expired(local);
    }
    QString file(const char* name) const
    {
        return m_folder.filePath(QLatin1String(name) + QStringLiteral(".pem"));
    }
    const QString& error() const { return m_error; }

private:
    bool run(const QStringList& arguments)
    {
        Program process;
        process.setWorkingDirectory(m_folder.path());
        process.begin(QStringLiteral("openssl"), arguments);
        const bool isMade = process.result() == 0;
        m_error = QString::fromLocal8Bit(process.complaints());
        return isMade;
    }
    QStringList issuedFor(const QString& extension) const
    {
        return {QStringLiteral("-CA"),     file("ca"),
                QStringLiteral("-CAkey"),  file("ca"),
                QStringLiteral("-addext"), extension,
                QStringLiteral("-addext"), QStringLiteral("basicConstraints=CA:FALSE")};
    }
    bool certificate(const char* name, const char* subject, const QStringList& more)
    {
        const QString key = QLatin1String(name) + QStringLiteral(".key");
        return run(QStringList{QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                               QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                               QStringLiteral("ec_paramgen_curve:P-256"), QStringLiteral("-nodes"),
                               QStringLiteral("-subj"), QStringLiteral("/CN=") + QLatin1String(subject),
                               QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-keyout"), key,
                               QStringLiteral("-out"), file(name)} +
                   more) &&
               join(file(name), m_folder.filePath(key));
    }
    /// The certificate of the server once more, of a day that has gone.
    bool expired(const QString& extension)
    {
        QFile extensions(m_folder.filePath(QStringLiteral("extensions")));
        const auto text = extension.toUtf8();
        if (!extensions.open(QIODevice::WriteOnly) || extensions.write(text) != text.size())
            return false;
        extensions.close();
        return run({QStringLiteral("req"), QStringLiteral("-new"), QStringLiteral("-key"), file("server"),
                    QStringLiteral("-subj"), QStringLiteral("/CN=server"), QStringLiteral("-out"),
                    QStringLiteral("request")}) &&
               run({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"),
                    QStringLiteral("request"), QStringLiteral("-CA"), file("ca"), QStringLiteral("-CAkey"),
                    file("ca"), QStringLiteral("-CAcreateserial"), QStringLiteral("-extfile"),
                    extensions.fileName(), QStringLiteral("-days"), QStringLiteral("-1"),
                    QStringLiteral("-out"), file("expired")}) &&
               join(file("expired"), m_folder.filePath(QStringLiteral("server.key")));
    }
    static bool join(const QString& certificate, const QString& key)
    {
        QFile to(certificate);
        QFile from(key);
        return to.open(QIODevice::Append) && from.open(QIODevice::ReadOnly) && to.write(from.readAll()) > 0;
    }

    QTemporaryDir m_folder;
    QString m_error;
};
