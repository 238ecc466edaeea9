#pragma once

#include <kolta/cli/command.h>

#include <QString>
#include <QStringList>
#include <QVector>

namespace Kolta {
class KoltaServerInterface;
}

namespace KoltaCli {

/// What a word of a command line names.
enum class NameKind {
    None, ///< nothing that is known beforehand
    Command,
    File,
    Folder,
    Path, ///< in the value tree
    Server,
    ServerAddress, ///< a server by its name, where names stand for addresses
    TunerClass,
    DemandClass,
    Tuner,
    Unit, ///< tuner, processing or storage unit
    Processor,
    Mcp,
    Ffp,
    Profile,
    ProfileList ///< separated by commas
};

/// What belongs to an argument, or to an option, as its name says.
NameKind kindOf(const Argument& argument);
NameKind kindOf(const Option& option);

/// The names of that kind that there are, in no order, where a command with the `words` of a command line
/// would look: in the shell's installation, in the tree, or in simulated servers. Of files and paths, which
/// are many, only those in the folder that `begin` names. Prints nothing; none where nothing is found soon.
QStringList knownNames(NameKind kind, const QString& begin, const QStringList& words);
/// The same of these servers, of those alone that "--server" names where the words have it. Looks nowhere
/// else and waits for nothing.
QStringList namesAmong(NameKind kind, QVector<Kolta::KoltaServerInterface*> servers, const QString& begin,
                       const QStringList& words);

} // namespace KoltaCli
