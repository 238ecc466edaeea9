#include "runningprocessors.h"

#include "session.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/viewroles.h>

#include <QUuid>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::ProcessorModel;

namespace {

void read(const Session& session, const QString& server, const QModelIndex& parent, int depth,
          QVector<RunningProcessor>& all)
{
    const ProcessorModel& model = session.processors();
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        const auto text = [&](int column) { return index.sibling(row, column).data().toString(); };
        RunningProcessor processor;
        processor.server = index.data(Roles::ServerRole).toString();
        if (!server.isEmpty() && processor.server != server)
            continue;
        processor.key = index.data(Roles::KeyRole).toString();
        processor.guid = index.data(Roles::GuidRole).toString();
        processor.production = text(ProcessorModel::eProductionColumn);
        processor.name = text(ProcessorModel::eNameColumn);
        processor.owner = text(ProcessorModel::eOwnerColumn);
        processor.isStale = index.data(Roles::StaleRole).toBool();
        if (auto* const its = session.server(processor.server); its && !processor.owner.isEmpty()) {
            processor.ownerInFull = index.data(Roles::HolderRole).toString();
            processor.isMine = its->getGuiOwnerObserver().IsOwnedBy(processor.guid, its->getClientId());
        }
        processor.depth = depth;
        all.append(processor);
        read(session, server, index, depth + 1, all);
    }
}

} // namespace

QVector<RunningProcessor> runningProcessors(const Session& session, const QString& server)
{
    QVector<RunningProcessor> all;
    read(session, server, QModelIndex(), 0, all);
    return all;
}

QStringList meantBy(const QString& word, const QString& server, const QVector<RunningProcessor>& running)
{
    const QUuid guid = Kolta::guidFromText(word);
    QStringList keys;
    for (const RunningProcessor& each : running) {
        const bool isMeant = guid.isNull() ? each.name == word
                                           : guid == Kolta::guidFromText(each.guid) ||
                                                 guid == Kolta::guidFromText(each.production);
        if (isMeant && (server.isEmpty() || each.server == server))
            keys.append(each.key);
    }
    return keys;
}

QString serverOfProcessor(const Session& session, const QUuid& guid)
{
    const ProcessorModel& model = session.processors();
    for (int row = 0; !guid.isNull() && row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, ProcessorModel::eServerColumn);
        if (Kolta::guidFromText(index.data(Roles::GuidRole).toString()) == guid)
            return index.data().toString();
    }
    return QString();
}

} // namespace KoltaConsole
