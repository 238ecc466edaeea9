#pragma once

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

namespace KoltaConsole {

class Session;

/// What somebody has written for servers and not sent: one draft of a kind for each. Where the session keeps
/// drafts they are on disk a second after each change, and at the end.
class KeptDrafts : public QObject
{
    Q_OBJECT

public:
    /// `kind` names them in the settings.
    KeptDrafts(const Session& session, const QString& kind, QObject* parent);
    ~KeptDrafts() override;

    /// Empty for none.
    QJsonObject of(const QString& server) const;
    /// An empty one is forgotten.
    void set(const QString& server, const QJsonObject& draft);

private:
    QString keyOf(const QString& server) const;
    void save();

    const QString m_kind;
    const QString m_installation; ///< servers of others may have the same names
    const bool m_isKept;
    mutable QHash<QString, QJsonObject> m_drafts; ///< as far as they were asked for, by server
    QSet<QString> m_changed;                      ///< servers whose draft is not on disk yet
    QTimer m_keeping;
};

} // namespace KoltaConsole
