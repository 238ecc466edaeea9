#include "knownnames.h"

#include "processordirectory.h"

#include <kolta/cli/commandtable.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/servertuners.h>
#include <koltacommon/shorttimemaps.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/tunerclasstree.h>
#include <values/tree.h>

#include <QDir>

#include <algorithm>
#include <functional>

namespace KoltaCli {

namespace {

/// Somebody sits at the keyboard and waits.
constexpr int kSoonMs = 1000;

struct NamedKind
{
    const char* name;
    NameKind kind;
};

constexpr NamedKind kArguments[] = {
    {"COMMAND", NameKind::Command},
    {"FILE", NameKind::File},
    {"FOLDER", NameKind::Folder},
    {"PATH", NameKind::Path},
    {"SERVER", NameKind::Server},
    {"HOST:PORT", NameKind::ServerAddress},
    {"CLASS", NameKind::TunerClass},
    {"TUNER", NameKind::Tuner},
    {"UNIT", NameKind::Unit},
    {"GUID", NameKind::Processor},
    {"PROCESSOR", NameKind::Processor},
    {"MCP", NameKind::Mcp},
    {"FFP", NameKind::Ffp},
    {"PROFILE", NameKind::Profile},
};

constexpr NamedKind kOptions[] = {
    {"installation", NameKind::Folder},
    {"file", NameKind::File},
    {"script", NameKind::File},
    {"server", NameKind::Server},
    {"class", NameKind::TunerClass},
    {"demand-class", NameKind::DemandClass},
    {"tuner", NameKind::Tuner},
    {"storage", NameKind::Unit},
    {"mcp", NameKind::Mcp},
    {"ffp", NameKind::Ffp},
    {"profile", NameKind::Profile},
    {"profiles", NameKind::ProfileList},
};

template<std::size_t count>
NameKind find(const NamedKind (&kinds)[count], const char* name)
{
    const auto it = std::find_if(std::begin(kinds), std::end(kinds),
                                 [name](const NamedKind& each) { return qstrcmp(each.name, name) == 0; });
    return it == std::end(kinds) ? NameKind::None : it->kind;
}

QStringList namesOfFiles(const QString& begin, QDir::Filters filters)
{
    const QString folder = begin.left(begin.lastIndexOf(QLatin1Char('/')) + 1);
    const QString place = folder.startsWith(QLatin1String("~/")) ? QDir::homePath() + folder.mid(1) : folder;
    if (begin.mid(folder.size()).startsWith(QLatin1Char('.')))
        filters |= QDir::Hidden;
    QStringList names;
    for (const QFileInfo& file : QDir(place).entryInfoList(filters | QDir::NoDotAndDotDot))
        names.append(folder + file.fileName() + (file.isDir() ? QStringLiteral("/") : QString()));
    return names;
}

QStringList namesOfItems(const QString& begin)
{
    const QString folder = begin.left(begin.lastIndexOf(QLatin1Char('/')));
    const auto* const item = values::Tree::Instance().Find(folder.isEmpty() ? QStringLiteral("/") : folder);
    QStringList names;
    for (const auto* child : item ? item->GetChildren() : QVector<values::TreeItem*>())
        names.append(child->GetPath());
    return names;
}

template<class Resources>
QStringList namesOf(const Resources& resources)
{
    QStringList names;
    for (const auto& resource : resources)
        names.append(resource.GetTavikResource().GetDisplayName());
    return names;
}

QStringList namesOfResources(Server& server, bool all)
{
    const auto& resources = server.getResourceObserver().GetCurrentResources();
    QStringList names = namesOf(resources.GetTuner());
    if (all)
        names += namesOf(resources.GetProcessingUnit()) + namesOf(resources.GetStorageUnit());
    return names;
}

QStringList namesOfClasses(Server& server)
{
    QStringList names;
    const Kolta::ServerTuners tuners(server);
    tuners.tree().getRootItem()->applyToAllDescendants([&names](const Kolta::ptrTunerClassTreeItem& item) {
        if (item->isClassItem())
            names.append(item->getName());
    });
    return names;
}

QStringList namesOfDemandClasses(Server& server)
{
    QStringList names;
    for (const auto& entry : server.getRdcObserver().GetCurrentDemandClasses().GetResourceDemandClass())
        names.append(entry.GetDemandClassName());
    return names;
}

QStringList namesOfProfiles(Server& server)
{
    const auto* const map = Kolta::shortTimeMap<Kolta::ShortTimeProfileItemMap>(server.getServerBasePath());
    QStringList names;
    if (map) {
        for (const auto& entry : map->data())
            names.append(entry.first);
    }
    return names;
}

/// A name that several have means none of them; these are known by their GUIDs.
QStringList namesOfProcessors(const QVector<Server*>& servers, const QString& kind)
{
    const ProcessorDirectory directory(servers);
    QStringList names;
    for (const ProcessorEntry& entry : directory.all()) {
        QString problem;
        if (kind.isEmpty() || entry.kind == kind)
            names.append(directory.find(entry.name, kind, problem)
                             ? entry.name
                             : Kolta::guidFromText(entry.guid).toString(QUuid::WithoutBraces));
    }
    return names;
}

QStringList namesAt(NameKind kind, Server& server)
{
    switch (kind) {
    case NameKind::Server:
        return {server.getAddress()};
    case NameKind::ServerAddress:
        return EmbeddedInstallation::endpointOf(server.getAddress()) ? QStringList{server.getAddress()}
                                                                     : QStringList();
    case NameKind::TunerClass:
        return namesOfClasses(server);
    case NameKind::DemandClass:
        return namesOfDemandClasses(server);
    case NameKind::Tuner:
    case NameKind::Unit:
        return namesOfResources(server, kind == NameKind::Unit);
    case NameKind::Profile:
    case NameKind::ProfileList:
        return namesOfProfiles(server);
    default:
        return {};
    }
}

QStringList namesIn(NameKind kind, const QVector<Server*>& servers, const QString& begin)
{
    switch (kind) {
    case NameKind::Path:
        return namesOfItems(begin);
    case NameKind::Processor:
        return namesOfProcessors(servers, QString());
    case NameKind::Mcp:
        return namesOfProcessors(servers, QStringLiteral("MCP"));
    case NameKind::Ffp:
        return namesOfProcessors(servers, QStringLiteral("FFP"));
    default:
        break;
    }
    QStringList names;
    for (Server* server : servers)
        names += namesAt(kind, *server);
    return names;
}

/// Those of the words that are one of these options, with their values.
QStringList wordsOf(std::initializer_list<const char*> options, const QStringList& words)
{
    QStringList found;
    for (int i = 0; i < words.size(); ++i) {
        for (const char* name : options) {
            if (words.at(i) == QLatin1String(name) && i + 1 < words.size())
                found += QLatin1String(name) + QLatin1Char('=') + words.at(i + 1);
            else if (words.at(i).startsWith(QLatin1String(name) + QLatin1Char('=')))
                found += words.at(i);
        }
    }
    return found;
}

} // namespace

NameKind kindOf(const Argument& argument)
{
    return find(kArguments, argument.name);
}

NameKind kindOf(const Option& option)
{
    const bool isName = option.value == Value::Text && qstrcmp(option.valueName, "GUID") != 0;
    return isName ? find(kOptions, option.name) : NameKind::None;
}

QStringList namesAmong(NameKind kind, QVector<Server*> servers, const QString& begin,
                       const QStringList& words)
{
    if (kind == NameKind::File || kind == NameKind::Folder)
        return namesOfFiles(begin, kind == NameKind::File ? QDir::Dirs | QDir::Files : QDir::Dirs);
    const QStringList wanted = wordsOf({"--server"}, words);
    const auto isUnwanted = [&](const Server* server) {
        return !wanted.contains(QStringLiteral("--server=") + server->getAddress());
    };
    if (!wanted.isEmpty() && kind != NameKind::Server)
        servers.erase(std::remove_if(servers.begin(), servers.end(), isUnwanted), servers.end());
    return namesIn(kind, servers, begin);
}

QStringList knownNames(NameKind kind, const QString& begin, const QStringList& words)
{
    if (kind == NameKind::File || kind == NameKind::Folder)
        return namesAmong(kind, {}, begin, words);
    QStringList names;
    const auto look = [&](const CommandLine& line) {
        const bool isNew = !EmbeddedInstallation::isShared();
        const auto installation = EmbeddedInstallation::look(line);
        if (!installation)
            return takeStartFailure();
        const QVector<Server*> servers = installation->interfaces();
        const auto areUp = [&servers] {
            return std::all_of(servers.begin(), servers.end(),
                               [](const Server* each) { return isUp(*each); });
        };
        if (isNew)
            waitUntil(areUp, kSoonMs);
        names = namesAmong(kind, servers, begin, words);
        return int(eExitOk);
    };
    const OutputManner silent(OutputManner::eSilent);
    const QStringList limit{QStringLiteral("--tree-timeout"), QString::number(kSoonMs / 1000)};
    CommandTable({{"look", "", "", {}, Servers::options(), look}}, QString(), QString(), QString())
        .run(QStringList{QStringLiteral("look")} + limit +
             wordsOf({"--tree", "--installation", "--server"}, words));
    return names;
}

} // namespace KoltaCli
