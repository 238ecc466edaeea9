#include <koltacommon/eventmodel.h>

#include <koltacommon/journal.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>
#include <koltacommon/wordsearch.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kolta {

namespace {

constexpr const char* kColumns[] = {
    QT_TRANSLATE_NOOP("Kolta::EventModel", "Time"), QT_TRANSLATE_NOOP("Kolta::EventModel", "Weight"),
    QT_TRANSLATE_NOOP("Kolta::EventModel", "Server"), QT_TRANSLATE_NOOP("Kolta::EventModel", "Kind"),
    QT_TRANSLATE_NOOP("Kolta::EventModel", "What happened")};

QString textOf(const JournalEntry& entry, int column)
{
    const Event& event = entry.event;
    switch (column) {
    case EventModel::eTimeColumn:
        return ViewTexts::exactTime(event.time);
    case EventModel::eWeightColumn:
        return Event::title(event.weight);
    case EventModel::eServerColumn:
        return event.server();
    case EventModel::eKindColumn:
        return Event::title(event.kind);
    default:
        return entry.text();
    }
}

QVariant sortValue(const JournalEntry& entry, int column)
{
    if (column == EventModel::eTimeColumn)
        return entry.number; // as they came
    if (column == EventModel::eWeightColumn)
        return static_cast<int>(entry.event.weight);
    return ViewRoles::sortText(textOf(entry, column));
}

QString searchText(const JournalEntry& entry)
{
    QStringList texts;
    for (int column = 0; column < EventModel::eColumnCount; ++column)
        texts.append(textOf(entry, column));
    return texts.join(QLatin1Char('\n')).toLower();
}

} // namespace

bool EventFilter::matches(const Event& event) const
{
    if (event.weight < least || (from.isValid() && event.time < from) || (to.isValid() && event.time >= to))
        return false;
    if (!servers.isEmpty() && !servers.contains(event.server()))
        return false;
    if (!kinds.isEmpty() && !kinds.contains(event.kind))
        return false;
    const auto has = [&event](const QString& word) {
        const auto isIn = [&word](const QString& text) { return hasWord(text, word, Qt::CaseInsensitive); };
        return isIn(event.text) || isIn(event.server()) || isIn(Event::title(event.kind)) ||
               isIn(Event::title(event.weight)) || isIn(Event::word(event.kind)) ||
               isIn(Event::word(event.weight));
    };
    return std::all_of(words.begin(), words.end(), has) && std::none_of(without.begin(), without.end(), has);
}

EventModel::EventModel(Journal& journal, QObject* parent) : QAbstractItemModel(parent), m_journal(&journal)
{
    connect(&journal, &Journal::added, this, &EventModel::takeAdded);
    connect(&journal, &Journal::aboutToForget, this, &EventModel::takeForgotten);
    connect(&journal, &Journal::changed, this, &EventModel::takeChanged);
    connect(&journal, &Journal::aboutToReset, this, &EventModel::beginResetModel);
    connect(&journal, &Journal::reset, this, [this] {
        readAll();
        endResetModel();
    });
    connect(&journal, &QObject::destroyed, this, [this] {
        beginResetModel();
        readAll();
        endResetModel();
    });
    readAll();
}

EventModel::~EventModel() = default;

bool EventModel::wants(quint64 number) const
{
    const JournalEntry* const entry = m_journal ? m_journal->entry(number) : nullptr;
    return entry && m_filter.matches(entry->event);
}

void EventModel::readAll()
{
    m_numbers.clear();
    m_heldBack.clear();
    m_heldChanges.clear();
    m_next = m_journal ? m_journal->endNumber() : 0;
    for (quint64 number = m_journal ? m_journal->firstNumber() : 0; number < m_next; ++number) {
        if (wants(number))
            (m_isHeld && number >= m_heldFrom ? m_heldBack : m_numbers).push_back(number);
    }
}

void EventModel::setFilter(const EventFilter& filter)
{
    beginResetModel();
    m_filter = filter;
    readAll();
    endResetModel();
    if (m_isHeld)
        Q_EMIT heldBackChanged(heldBack());
}

void EventModel::setHeld(bool isHeld)
{
    if (isHeld == m_isHeld)
        return;
    m_isHeld = isHeld;
    m_heldFrom = m_next;
    if (isHeld)
        return;
    const QPointer<EventModel> guard(this);
    if (!m_heldChanges.isEmpty()) {
        const QSet<quint64> changes = std::exchange(m_heldChanges, {});
        takeChanged(QVector<quint64>(changes.begin(), changes.end()));
    }
    if (!guard || m_heldBack.empty())
        return;
    std::deque<quint64> numbers;
    std::copy_if(m_heldBack.begin(), m_heldBack.end(), std::back_inserter(numbers),
                 [this](quint64 number) { return wants(number); });
    m_heldBack.clear();
    const bool isInOrder = m_numbers.empty() || numbers.empty() || m_numbers.back() < numbers.front();
    if (isInOrder) {
        show(numbers);
    } else { // a line has come to be wanted meanwhile
        for (auto number = numbers.begin(); guard && number != numbers.end(); ++number)
            insert(*number);
    }
    if (guard)
        Q_EMIT heldBackChanged(0);
}

void EventModel::show(const std::deque<quint64>& numbers)
{
    if (numbers.empty())
        return;
    beginInsertRows(QModelIndex(), 0, static_cast<int>(numbers.size()) - 1);
    m_numbers.insert(m_numbers.end(), numbers.begin(), numbers.end());
    endInsertRows();
}

/// At its place among the others.
void EventModel::insert(quint64 number)
{
    const auto place = std::lower_bound(m_numbers.begin(), m_numbers.end(), number);
    const int row = static_cast<int>(m_numbers.end() - place);
    beginInsertRows(QModelIndex(), row, row);
    m_numbers.insert(place, number);
    endInsertRows();
}

void EventModel::takeAdded()
{
    std::deque<quint64> fresh;
    for (; m_next < m_journal->endNumber(); ++m_next) {
        if (wants(m_next))
            fresh.push_back(m_next);
    }
    if (!m_isHeld)
        return show(fresh);
    if (fresh.empty())
        return;
    m_heldBack.insert(m_heldBack.end(), fresh.begin(), fresh.end());
    Q_EMIT heldBackChanged(heldBack());
}

/// The lines are still there, so that whoever is told of the rows can look at them.
void EventModel::takeForgotten(quint64 count)
{
    const quint64 first = m_journal->firstNumber() + count;
    const auto behind = std::lower_bound(m_numbers.begin(), m_numbers.end(), first);
    const int going = static_cast<int>(behind - m_numbers.begin());
    while (!m_heldBack.empty() && m_heldBack.front() < first)
        m_heldBack.pop_front();
    if (going == 0)
        return;
    const int rows = static_cast<int>(m_numbers.size());
    beginRemoveRows(QModelIndex(), rows - going, rows - 1);
    m_numbers.erase(m_numbers.begin(), m_numbers.begin() + going);
    endRemoveRows();
}

/// A line that says something else may come to be wanted, or no longer; while it is held, once that ends.
void EventModel::takeChanged(const QVector<quint64>& numbers)
{
    const QPointer<EventModel> guard(this);
    for (const quint64 number : numbers) {
        const auto place = std::lower_bound(m_numbers.begin(), m_numbers.end(), number);
        const int row = static_cast<int>(m_numbers.end() - place) - 1;
        const bool isShown = place != m_numbers.end() && *place == number;
        if (isShown && (m_isHeld || wants(number))) {
            if (m_isHeld)
                m_heldChanges.insert(number);
            Q_EMIT dataChanged(index(row, 0), index(row, eColumnCount - 1));
        } else if (isShown) {
            beginRemoveRows(QModelIndex(), row, row);
            m_numbers.erase(place);
            endRemoveRows();
        } else if (wants(number) && !std::binary_search(m_heldBack.begin(), m_heldBack.end(), number)) {
            if (m_isHeld)
                holdBack(number);
            else
                insert(number);
        }
        if (!guard)
            return;
    }
}

void EventModel::holdBack(quint64 number)
{
    m_heldBack.insert(std::lower_bound(m_heldBack.begin(), m_heldBack.end(), number), number);
    Q_EMIT heldBackChanged(heldBack());
}

QModelIndex EventModel::index(int row, int column, const QModelIndex& parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

QModelIndex EventModel::parent(const QModelIndex&) const
{
    return {};
}

int EventModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_numbers.size());
}

int EventModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : eColumnCount;
}

QVariant EventModel::data(const QModelIndex& index, int role) const
{
    const bool isRow = index.isValid() && index.row() < rowCount();
    const JournalEntry* const entry = isRow && m_journal ? m_journal->entry(numberAt(index.row())) : nullptr;
    if (!entry)
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
        return textOf(*entry, index.column());
    case Qt::ToolTipRole:
        return index.column() == eTextColumn ? entry->text() : entry->event.timeText();
    case ViewRoles::KeyRole:
        return entry->number;
    case ViewRoles::ItemRole:
        return QVariant::fromValue(entry->event);
    case ViewRoles::GroupRole:
        return Event::title(entry->event.kind);
    case ViewRoles::ServerRole:
        return entry->event.server();
    case ViewRoles::GuidRole:
        return entry->event.guid();
    case ViewRoles::SortRole:
        return sortValue(*entry, index.column());
    case ViewRoles::StateRole:
        return static_cast<int>(entry->event.weight);
    case ViewRoles::StaleRole:
        return false;
    case ViewRoles::SinceRole:
        return entry->event.time;
    case ViewRoles::SearchRole:
        return searchText(*entry);
    default:
        return QVariant();
    }
}

QVariant EventModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= eColumnCount)
        return QVariant();
    return tr(kColumns[section]);
}

QHash<int, QByteArray> EventModel::roleNames() const
{
    return ViewRoles::namesBeside(QAbstractItemModel::roleNames());
}

} // namespace Kolta
