#pragma once

#include <usermanagement/export.h>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Nax {

/// One user of the installation and what the user may do.
struct User
{
    qint32 id = -1; ///< from 0; -1 stands for nobody
    QString name;
    QHash<QString, int> rights; ///< by full name; how often each may be used at a time, at least once
};

/// The users of an installation without a running user management, read from one XML file. A value.
///
///     <Users loggedIn="operator">
///       <User id="1" name="operator">
///         <Right name="VeskManagement.StartAndStopFfp" count="4"/>
///         <Right name="VeskManagement.ManageShortTime"/>
///       </User>
///     </Users>
///
/// Whatever is not known here is refused, not passed over: a slip of the pen must not change what a user may
/// do.
class KOLTA_USERMANAGEMENT_EXPORT UserDirectory
{
public:
    /// Replaces the content by that of `file`. On failure the result is false, there are no users, and
    /// `error` names the file, the line and what was expected.
    bool load(const QString& file, QString& error);

    /// Null when there is no such user; until the content changes.
    const User* findByName(const QString& name) const;
    const User* findByID(qint32 id) const;
    /// In the order of the file.
    QStringList names() const;
    /// Name of the user whom the file says to be logged in; empty for nobody.
    const QString& loggedIn() const noexcept { return m_loggedIn; }

private:
    class Reader;

    QVector<User> m_users;
    QString m_loggedIn;
};

} // namespace Nax
