#include "commands.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <algorithm>

namespace KoltaCli {

namespace {

void printBranches(const QVector<TreeMirror::Branch>& branches)
{
    Table table({QStringLiteral("SERVER"), QStringLiteral("STATE"), QStringLiteral("HOST"),
                 QStringLiteral("LAST BEAT"), QStringLiteral("NUMBERS"), QStringLiteral("OPEN"),
                 QStringLiteral("EPOCH")});
    table.alignRight({3, 5});
    for (const TreeMirror::Branch& branch : branches) {
        const QString age =
            branch.beatAgeMs < 0
                ? QString()
                : secondsText(static_cast<int>(std::min(branch.beatAgeMs, qint64(999999999))));
        QStringList numbers;
        for (const auto& [channel, number] : branch.numbers)
            numbers.append(QStringLiteral("%1:%2").arg(channel).arg(number));
        table.addRow({branch.name, branch.stateText(), branch.host, age, numbers.join(QLatin1Char(' ')),
                      QString::number(branch.openWishes), branch.epoch});
    }
    printTable(table, QStringLiteral("no server publishes itself there"));
}

/// Shows the dead ones too, so it does not fail for them.
int servers(const CommandLine& line)
{
    // Two mirrors in one tree would take each other's changes for those of their program.
    const auto shell = EmbeddedInstallation::isShared() ? EmbeddedInstallation::look(line) : nullptr;
    if (EmbeddedInstallation::isShared() && !shell)
        return takeStartFailure();
    if (shell ? shell->isSimulated() : TreeMirror::urlOf(line).isEmpty())
        return line.usageError(QStringLiteral("there is no tree to look at; name one with --tree, KOLTA_TREE "
                                              "or the configuration's Distribution/Url"));
    const auto own = shell ? nullptr : TreeMirror::open(line);
    TreeMirror* const mirror = shell ? shell->treeMirror() : own.get();
    if (!mirror)
        return takeStartFailure();
    mirror->waitForLive({}, line.number("tree-timeout") * 1000);
    const QVector<TreeMirror::Branch> branches = mirror->branches();
    const QString problem = mirror->problem();
    if (!problem.isEmpty())
        printError(problem);
    if (!problem.isEmpty() && branches.isEmpty())
        return eExitNoTree;
    if (line.json())
        std::for_each(branches.begin(), branches.end(),
                      [](const auto& branch) { printJson(branch.toJson()); });
    else
        printBranches(branches);
    const auto isThere = [](const auto& branch) { return branch.isLive() || branch.hasLeft(); };
    const auto isLive = [](const auto& branch) { return branch.isLive(); };
    return problem.isEmpty() && std::any_of(branches.begin(), branches.end(), isLive) &&
                   std::all_of(branches.begin(), branches.end(), isThere)
               ? eExitOk
               : eExitNoTree;
}

} // namespace

Command serversCommand()
{
    return {"servers",
            "list the servers that publish their value trees",
            "Lists the servers that publish themselves at a broker: how this process stands to each, its "
            "host, the age of "
            "its last sign of life, and the numbers of its newest changes. Ends with 4 unless all are live "
            "that have not left by themselves, and at least one is.",
            {},
            TreeMirror::options(),
            servers};
}

} // namespace KoltaCli
