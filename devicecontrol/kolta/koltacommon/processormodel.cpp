#include <koltacommon/processormodel.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorfacts.h>
#include <koltacommon/processorledger.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>
#include <koltacommon/viewtime.h>

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <array>
#include <utility>

namespace Kolta {

namespace {

constexpr ModelColumn kColumns[] = {{QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Processor"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Kind"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Tuner"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Frequency"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Bandwidth"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Demand class"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Unit"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Owner"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Production"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Since"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ProcessorModel", "Server"), false}};

template<class Resource>
bool haveOneName(const Resource& a, const Resource& b)
{
    const auto& before = a.GetTavikResource();
    const auto& after = b.GetTavikResource();
    return before.GetGUID() == after.GetGUID() && before.GetDisplayName() == after.GetDisplayName();
}

/// Whether the same names are to be found in both.
template<class Resource>
bool haveSameNames(const QVector<Resource>& before, const QVector<Resource>& after)
{
    if (before.constData() == after.constData() && before.size() == after.size())
        return true;
    return std::equal(
        before.begin(), before.end(), after.begin(), after.end(),
        [](const Resource& a, const Resource& b) { return a.IsSameAs(b) || haveOneName(a, b); });
}

} // namespace

struct ProcessorModel::Facts
{
    QString guid;
    /// Texts but for the band and the time.
    std::array<QString, eColumnCount> texts;
    ProcessorFacts::Band band;
    QString holder; ///< who owns it, in full
    QDateTime since;
};

struct ProcessorModel::ProcessorRow : Row
{
    ProcessorRow(const QString& rowKey, const Origin* source, Facts shown)
        : Row(rowKey, source), facts(std::move(shown))
    {
    }
    ColumnSet update(Row& fresh) override;
    QString text(int column) const override;
    QVariant sortValue(int column) const override;
    QVariant value(int role) const override;

    Facts facts;
};

/// It runs since it was seen first, whatever has changed.
ColumnSet ProcessorModel::ProcessorRow::update(Row& fresh)
{
    Facts now = static_cast<ProcessorRow&>(fresh).facts;
    now.since = facts.since;
    const Facts before = std::exchange(facts, std::move(now));
    ColumnSet columns = 0;
    for (std::size_t column = 0; column < facts.texts.size(); ++column) {
        if (facts.texts[column] != before.texts[column])
            columns |= columnBit(static_cast<int>(column));
    }
    if (facts.holder != before.holder)
        columns |= columnBit(eOwnerColumn);
    if (facts.band.frequency != before.band.frequency)
        columns |= columnBit(eFrequencyColumn);
    if (facts.band.bandwidth != before.band.bandwidth)
        columns |= columnBit(eBandwidthColumn);
    return columns;
}

QString ProcessorModel::ProcessorRow::text(int column) const
{
    switch (column) {
    case eFrequencyColumn:
        return ViewTexts::hertz(facts.band.frequency);
    case eBandwidthColumn:
        return ViewTexts::hertz(facts.band.bandwidth);
    case eSinceColumn:
        return ViewTexts::time(facts.since);
    default:
        return facts.texts[static_cast<std::size_t>(column)];
    }
}

QVariant ProcessorModel::ProcessorRow::sortValue(int column) const
{
    switch (column) {
    case eFrequencyColumn:
        return facts.band.frequency;
    case eBandwidthColumn:
        return facts.band.bandwidth;
    case eSinceColumn:
        return facts.since;
    default:
        return Row::sortValue(column);
    }
}

QVariant ProcessorModel::ProcessorRow::value(int role) const
{
    switch (role) {
    case ViewRoles::GuidRole:
        return facts.guid;
    case ViewRoles::StateRole:
        return static_cast<int>(origin->isStale ? State::LastKnown : State::Running);
    case ViewRoles::HolderRole:
        return facts.holder;
    case ViewRoles::SinceRole:
        return facts.since.isValid() ? facts.since : QVariant();
    default:
        return QVariant();
    }
}

struct ProcessorModel::ProcessorSection : Section
{
    ProcessorSection(KoltaServerInterface& source, ProcessorModel& model);
    bool isInDoubt() const override { return processors.isInDoubt(); }
    bool isAway() const { return !server || server->getState() == SERVER_STATES::eDisconnected; }
    bool haveNamesChanged();
    Facts factsOf(const ProcessorIndex::Processor& processor) const;
    Rows takeRows();

    ProcessorLedger processors;
    ProcessorIndex shown;
    QVector<RESOURCEMANAGEMENT::Tuner> tuners; ///< whose names are shown
    QVector<RESOURCEMANAGEMENT::ProcessingUnit> units;
    bool areOthersDue = true; ///< names or owners
    bool isFirstLook = true;  ///< what is new now may have begun long ago
};

ProcessorModel::ProcessorSection::ProcessorSection(KoltaServerInterface& source, ProcessorModel& model)
    : Section(source), processors(source)
{
    connect(&processors, &ProcessorLedger::changed, &context, [this, &model] {
        const QPointer<QObject> alive(&context);
        model.follow(*this);
        if (alive)
            model.followDoubt(*this);
    });
    const auto follow = [this, &model] {
        areOthersDue = true;
        if (!isAway())
            model.follow(*this);
    };
    connect(&source.getGuiOwnerObserver(), &KoltaOwnerObserver::si_OwnersChanged, &context, follow);
    connect(&source.getResourceObserver(), &KoltaResourceObserver::si_ResourcesChanged, &context,
            [this, follow] {
                if (haveNamesChanged())
                    follow();
            });
    connect(&source, &KoltaServerInterface::si_ConnectionChanged, &context, [this, follow](bool isConnected) {
        isFirstLook = isFirstLook || !isConnected;
        follow();
    });
    haveNamesChanged();
}

bool ProcessorModel::ProcessorSection::haveNamesChanged()
{
    const auto& now = server->getResourceObserver().GetCurrentResources();
    const auto tunersBefore = std::exchange(tuners, now.GetTuner());
    const auto unitsBefore = std::exchange(units, now.GetProcessingUnit());
    return !haveSameNames(tunersBefore, tuners) || !haveSameNames(unitsBefore, units);
}

ProcessorModel::Facts
ProcessorModel::ProcessorSection::factsOf(const ProcessorIndex::Processor& processor) const
{
    const KoltaResourceObserver& resources = server->getResourceObserver();
    const auto nameOf = [&resources](const QString& guid) {
        const QString name = guid.isEmpty() ? QString() : resources.GetDisplayNameByGUID(guid);
        return name.isEmpty() ? guid : name;
    };
    Facts facts;
    facts.guid = processor.guid();
    facts.band = ProcessorFacts::bandOf(processor);
    facts.texts[eNameColumn] = processor.GetTavikResource().GetDisplayName();
    facts.texts[eKindColumn] = processor.object->GetObjectName();
    facts.texts[eTunerColumn] = nameOf(ProcessorFacts::tunerOf(processor));
    facts.texts[eDemandClassColumn] = processor.record->GetDemandClassName();
    const QString& unit = processor.record->GetUsedProcessingUnit().GetGUID();
    facts.texts[eUnitColumn] = isGuid(unit) ? nameOf(unit) : QString();
    facts.texts[eProductionColumn] = ProcessorFacts::productionOf(processor);
    facts.texts[eServerColumn] = address;
    if (const auto* const owner = server->getGuiOwnerObserver().FindOwner(facts.guid)) {
        facts.texts[eOwnerColumn] = owner->GetName();
        facts.holder = tr("operated by %1 at %2").arg(owner->GetName(), owner->GetHost());
    }
    return facts;
}

/// What did not change is left out, but for its place.
RecordModel::Rows ProcessorModel::ProcessorSection::takeRows()
{
    const ProcessorIndex& now = processors.processors();
    const bool canBeSame = !std::exchange(areOthersDue, false) && now.isUnique() && shown.isUnique();
    Rows tops;
    std::vector<Row*> rows; // by place
    QSet<QString> keys;
    int before = -1;
    for (int place = 0; place < now.processors().size(); ++place) {
        const ProcessorIndex::Processor& processor = now.processors().at(place);
        const bool isSame = canBeSame && now.isUnchanged(place, shown, before + 1);
        before = isSame ? before + 1 : qMax(before, shown.find(processor.guid(), before + 1));
        QString key = keyOf(processor.guid());
        for (int number = 2; keys.contains(key); ++number)
            key = keyOf(processor.guid() + QLatin1Char('\n') + QString::number(number));
        keys.insert(key);
        auto row = std::make_unique<ProcessorRow>(key, this, isSame ? Facts() : factsOf(processor));
        row->isPlaceholder = isSame;
        if (!isFirstLook)
            row->facts.since = ViewTime::now();
        rows.push_back(row.get());
        if (processor.holder < 0)
            tops.push_back(std::move(row));
        else
            rows[static_cast<std::size_t>(processor.holder)]->append(std::move(row));
    }
    shown = now;
    isFirstLook = isFirstLook && (isAway() || processors.isInDoubt());
    return tops;
}

ProcessorModel::ProcessorModel(QObject* parent) : ServersModel("Kolta::ProcessorModel", kColumns, parent) {}

ProcessorModel::~ProcessorModel() = default;

std::unique_ptr<ServersModel::Section> ProcessorModel::makeSection(KoltaServerInterface& server)
{
    return std::make_unique<ProcessorSection>(server, *this);
}

bool ProcessorModel::show(Section& section)
{
    Rows wanted = static_cast<ProcessorSection&>(section).takeRows();
    const int first = firstRow(section);
    if (!moveBetweenParents(root(), first, section.rowCount, wanted))
        return false;
    return replaceSection(section, wanted);
}

} // namespace Kolta
