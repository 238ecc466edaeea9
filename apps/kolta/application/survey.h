#pragma once

#include "serverfigures.h"
#include "treemirror.h"

#include <QString>
#include <QVector>

#include <memory>
#include <optional>

namespace KoltaCli {

/// What is known of one server.
struct SurveyedServer
{
    QString name;
    QString link = QStringLiteral("live"); ///< how this process stands to the server, as "servers" tells it
    TreeMirror::Standing standing = TreeMirror::Standing::Live;
    qint64 beatAgeMs = -1;                ///< since its last sign of life; -1: unknown
    std::optional<ServerFigures> figures; ///< none while its content has not come

    bool isLive() const { return standing == TreeMirror::Standing::Live; }
};

/// Looks at the servers of an installation as they are, also at those that are not there: for commands that
/// report instead of working on them.
class Survey
{
public:
    /// How servers are reached and picked, with a command's own options before that.
    static QVector<Option> options(const QVector<Option>& own = {});
    /// Waits until all servers are live, at most as long as --tree-timeout says, and goes on without those
    /// that are not. Null, and an error is printed, when the words make no sense.
    static std::unique_ptr<Survey> start(const CommandLine& line);

    /// By name.
    QVector<SurveyedServer> servers() const;
    /// Null while the servers live in this process.
    const TreeMirror* mirror() const { return m_installation->treeMirror(); }

private:
    Survey(std::shared_ptr<EmbeddedInstallation> installation, QStringList wanted);

    const std::shared_ptr<EmbeddedInstallation> m_installation;
    const QStringList m_wanted; ///< empty: all
};

} // namespace KoltaCli
