#pragma once

#include <koltacommon/export.h>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QtGlobal>

/// What views ask the models for besides texts. One table for all models, so that one delegate or proxy
/// serves them all; the first three have the numbers that models of collections give them.
namespace Kolta::ViewRoles {

enum Role : int {
    KeyRole = Qt::UserRole, ///< what the row is told from all others by, as long as it is shown
    ItemRole,               ///< the record behind the row, where there is one
    GroupRole,              ///< name of the group that the row stands in, or is
    ServerRole,             ///< address of the server
    GuidRole,               ///< GUID of what the row shows
    SortRole,      ///< the cell's number, time or text, such that "S2" comes before "S10"; for proxies
    StateRole,     ///< the state as a number of the enumeration that the model names
    StaleRole,     ///< bool: the server is away, or in doubt; the row shows what was known last
    LastKnownRole, ///< QDateTime since when it is stale, if the model saw that; else invalid
    PlannedRole,   ///< bool: planned in this process
    HolderRole,    ///< text: who holds it, in full
    SinceRole,     ///< QDateTime since when the state is so, if the model saw it begin; else invalid
    SearchRole,    ///< the texts of all columns, each a line, in lower case, for filters
    FreeRole,      ///< how many tuners of those that the row stands for are free
    CountRole      ///< how many it stands for
};

/// What the roles are called in roleNames(), "key" to "count".
KOLTA_COMMON_EXPORT const QHash<int, QByteArray>& names();
/// What roleNames() of a model answers whose base has these: they, and those above.
KOLTA_COMMON_EXPORT QHash<int, QByteArray> namesBeside(QHash<int, QByteArray> ofBase);

/// A text that sorts as people number things, whatever the language: letter case does not count, and "S2"
/// comes before "S10".
KOLTA_COMMON_EXPORT QString sortText(const QString& text);

} // namespace Kolta::ViewRoles
