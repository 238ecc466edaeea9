#include <koltacommon/linksmodel.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>

#include <startup/hostandport.h>

#include <QLocale>
#include <QPointer>
#include <QSet>

#include <algorithm>

namespace Kolta {

namespace {

constexpr const char* kColumns[] = {
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Link"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "State"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Up since"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Round trip"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Last beat"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Queue"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Reconnections"),
    QT_TRANSLATE_NOOP("Kolta::LinksModel", "Last fault"),
};

QString stateText(const LinkFigures& link)
{
    switch (link.state) {
    case LinkFigures::State::Closed:
        return LinksModel::tr("closed");
    case LinkFigures::State::Connecting:
        return LinksModel::tr("connecting");
    case LinkFigures::State::Up:
        return LinksModel::tr("up");
    case LinkFigures::State::Waiting:
        return LinksModel::tr("waiting, next try in %1 s").arg((link.nextTryMs + 999) / 1000);
    case LinkFigures::State::GivenUp:
        return LinksModel::tr("given up");
    }
    return QString();
}

bool isNumber(int column)
{
    return column == LinksModel::eRoundTripColumn || column == LinksModel::eLastBeatColumn ||
           column == LinksModel::eQueueColumn || column == LinksModel::eReconnectionsColumn;
}

/// Of what a row of its kind does not have.
QString none()
{
    return QStringLiteral("–");
}

/// Of a LinkFigures or BranchFigures.
template<class Figures>
QString trafficText(const Figures& figures)
{
    if (figures.messagesOut + figures.messagesIn == 0)
        return QString();
    const QLocale locale;
    const auto amount = [&locale](quint64 messages, quint64 bytes) {
        return QStringLiteral("%1 (%2)").arg(
            locale.toString(messages),
            locale.formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeSIFormat));
    };
    return LinksModel::tr("Messages sent: %1; received: %2")
        .arg(amount(figures.messagesOut, figures.bytesOut), amount(figures.messagesIn, figures.bytesIn));
}

/// What the columns have no room for.
QString toolTip(const LinkFigures& link)
{
    QStringList lines;
    if (link.headAgeMs >= 0)
        lines.append(LinksModel::tr("The first in the queue has waited for %1 s")
                         .arg(static_cast<double>(link.headAgeMs) / 1000, 0, 'f', 1));
    const QString traffic = trafficText(link);
    if (!traffic.isEmpty())
        lines.append(traffic);
    return lines.join(QLatin1Char('\n'));
}

QVariant known(qint64 milliseconds)
{
    return milliseconds < 0 ? QVariant() : QVariant(milliseconds);
}

} // namespace

IBranchSource::~IBranchSource() = default;

LinksModel::LinksModel(QObject* parent) : QAbstractTableModel(parent)
{
    connect(&KoltaConnectionsViewer::Instance(), &KoltaConnectionsViewer::si_linkChanged, this,
            &LinksModel::refresh, Qt::QueuedConnection);
    connect(&m_timer, &QTimer::timeout, this, &LinksModel::refresh);
    m_timer.start(kRefreshMs);
    refresh();
}

LinksModel::~LinksModel() = default;

void LinksModel::setBranches(const IBranchSource* source)
{
    m_branches = source;
    refresh();
}

LinksModel::Row LinksModel::rowOf(const LinkFigures& link)
{
    const QString peer = Startup::joinHostAndPort(link.host, link.port);
    return {QStringLiteral("link/%1").arg(link.id),
            {{link.name.isEmpty() ? peer : QStringLiteral("%1 (%2)").arg(link.name, peer), stateText(link),
              link.upSince, known(link.roundTripMs), none(), link.queued, link.reconnections,
              KoltaConnection::socketErrorText(link.lastFault)}},
            static_cast<int>(link.state),
            toolTip(link),
            link.lastFaultAt};
}

LinksModel::Row LinksModel::rowOf(const BranchFigures& branch)
{
    return {QStringLiteral("branch/") + branch.name,
            {{branch.host.isEmpty() ? branch.name : tr("%1 at %2").arg(branch.name, branch.host),
              branch.stateText, branch.liveSince, known(branch.roundTripMs), known(branch.beatAgeMs),
              branch.openWishes, branch.reconnections, branch.lastFault}},
            static_cast<int>(branch.state),
            trafficText(branch),
            branch.lastFaultAt};
}

/// Both lists have what they share in the same order.
void LinksModel::refresh()
{
    QVector<Row> wanted;
    for (const LinkFigures& link : KoltaConnectionsViewer::Instance().links())
        wanted.append(rowOf(link));
    if (m_branches) {
        for (const BranchFigures& branch : m_branches->branches())
            wanted.append(rowOf(branch));
    }
    QSet<QString> keys;
    for (const Row& row : qAsConst(wanted))
        keys.insert(row.key);
    const QPointer<LinksModel> guard(this);
    for (int row = m_rows.size() - 1; guard && row >= 0; --row) {
        if (row >= m_rows.size() || keys.contains(m_rows.at(row).key))
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_rows.removeAt(row);
        endRemoveRows();
    }
    for (int row = 0; guard && row < wanted.size(); ++row) {
        if (row >= m_rows.size() || m_rows.at(row).key != wanted.at(row).key) {
            beginInsertRows(QModelIndex(), row, row);
            m_rows.insert(row, wanted.at(row));
            endInsertRows();
        } else if (m_rows.at(row) != wanted.at(row)) {
            m_rows[row] = wanted.at(row);
            Q_EMIT dataChanged(index(row, 0), index(row, eColumnCount - 1));
        }
    }
}

int LinksModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int LinksModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : eColumnCount;
}

QString LinksModel::textOf(const Row& row, int column)
{
    const QVariant& cell = row.cells[static_cast<std::size_t>(column)];
    if (column == eUpSinceColumn)
        return ViewTexts::time(cell.toDateTime());
    if (column == eLastFaultColumn && row.lastFaultAt.isValid())
        return QStringLiteral("%1 %2").arg(ViewTexts::time(row.lastFaultAt), cell.toString());
    return cell.type() == QVariant::LongLong ? tr("%1 ms").arg(cell.toLongLong()) : cell.toString();
}

QVariant LinksModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return QVariant();
    const Row& row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return textOf(row, index.column());
    case Qt::TextAlignmentRole:
        return isNumber(index.column()) ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
    case Qt::ToolTipRole:
        return row.toolTip.isEmpty() ? QVariant() : row.toolTip;
    case ViewRoles::KeyRole:
        return row.key;
    case ViewRoles::StateRole:
        return row.state;
    case ViewRoles::SortRole: {
        if (index.column() == eLastFaultColumn)
            return row.lastFaultAt;
        const QVariant& cell = row.cells[static_cast<std::size_t>(index.column())];
        return cell.type() == QVariant::String ? ViewRoles::sortText(cell.toString()) : cell;
    }
    case ViewRoles::StaleRole:
        return row.state != static_cast<int>(LinkFigures::State::Up);
    case ViewRoles::SinceRole:
        return row.cells[eUpSinceColumn];
    case ViewRoles::SearchRole: {
        QStringList texts;
        for (int column = 0; column < eColumnCount; ++column)
            texts.append(textOf(row, column));
        return texts.join(QLatin1Char('\n')).toLower();
    }
    default:
        return QVariant();
    }
}

QVariant LinksModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= eColumnCount)
        return QVariant();
    if (role == Qt::TextAlignmentRole && isNumber(section))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    return role == Qt::DisplayRole ? QVariant(tr(kColumns[section])) : QVariant();
}

QHash<int, QByteArray> LinksModel::roleNames() const
{
    return ViewRoles::namesBeside(QAbstractTableModel::roleNames());
}

} // namespace Kolta
