#include <koltacommon/tunerselection.h>

#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunermodel.h>

#include <QCoreApplication>
#include <QMap>

#include <algorithm>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::XGStorage;

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::TunerSelection", text);
}

} // namespace

TunerFilter TunerFilter::freeTuners(const Exclude& exclude, const QStringList& storageGuids)
{
    TunerFilter filter = anyTuners(exclude, storageGuids);
    filter.m_freeOnly = true;
    return filter;
}

TunerFilter TunerFilter::anyTuners(const Exclude& exclude, const QStringList& storageGuids)
{
    TunerFilter filter;
    filter.m_exclude = exclude;
    filter.m_storageGuids = QSet<QString>(storageGuids.begin(), storageGuids.end());
    filter.m_hasWishes = exclude || !storageGuids.isEmpty();
    return filter;
}

TunerFilter TunerFilter::withNeeds(const TunerNeeds& needs) const
{
    TunerFilter filter = *this;
    filter.m_needs = needs;
    filter.m_hasWishes = filter.m_hasWishes || !needs.isEmpty();
    return filter;
}

TunerRefusal TunerFilter::refusalByState(const Tuner& tuner)
{
    switch (TunerBookingManager::reportedState(tuner)) {
    case TunerBookingManager::eInaccessible:
        return TunerRefusal::NotAccessible;
    case TunerBookingManager::eInUse:
        return TunerRefusal::NotIdle;
    case TunerBookingManager::eFree:
    case TunerBookingManager::ePlanned:
        break;
    }
    return TunerRefusal::None;
}

TunerRefusal TunerFilter::refusalByWishes(const Tuner& tuner) const
{
    if (m_exclude && m_exclude(tuner))
        return TunerRefusal::Excluded;
    if (!hasStorage(tuner))
        return TunerRefusal::NoMatchingStorage;
    switch (misfitOf(tuner, m_needs)) {
    case TunerMisfit::OutOfRange:
        return TunerRefusal::OutOfRange;
    case TunerMisfit::TooNarrow:
        return TunerRefusal::TooNarrow;
    case TunerMisfit::None:
        break;
    }
    return TunerRefusal::None;
}

bool TunerFilter::hasStorage(const Tuner& tuner) const
{
    const QVector<XGStorage>& storages = tuner.GetXGStorage();
    return m_storageGuids.isEmpty() ||
           std::any_of(storages.begin(), storages.end(), [this](const XGStorage& storage) {
               return m_storageGuids.contains(storage.GetGUID());
           });
}

const TunerCandidate* TunerSelection::chosen() const
{
    const bool exists = !candidates.isEmpty() && candidates.first().refusal == TunerRefusal::None;
    return exists ? &candidates.first() : nullptr;
}

QString toText(TunerCriterion criterion)
{
    switch (criterion) {
    case TunerCriterion::None:
        break;
    case TunerCriterion::Cost:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "lower cost"));
    case TunerCriterion::Depth:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "fewer enclosing classes"));
    case TunerCriterion::Bandwidth:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "smaller bandwidth"));
    case TunerCriterion::HardwareProcessing:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "no hardware processing"));
    case TunerCriterion::PanoramaScan:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "no panorama scan"));
    case TunerCriterion::DisplayName:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "name sorts first"));
    case TunerCriterion::Guid:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "GUID sorts first"));
    case TunerCriterion::ListOrder:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "listed first"));
    case TunerCriterion::Policy:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "preferred by the cost function"));
    }
    return QString();
}

QString toText(TunerRefusal refusal)
{
    switch (refusal) {
    case TunerRefusal::None:
        break;
    case TunerRefusal::NotAccessible:
        return TunerModel::stateText(TunerBookingManager::eInaccessible);
    case TunerRefusal::NotIdle:
        return TunerModel::stateText(TunerBookingManager::eInUse);
    case TunerRefusal::Excluded:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "excluded"));
    case TunerRefusal::NoMatchingStorage:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "no matching storage"));
    case TunerRefusal::NotChosen:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "not chosen by the cost function"));
    case TunerRefusal::NotInTree:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "not in the tuner class tree"));
    case TunerRefusal::OutOfRange:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "out of range"));
    case TunerRefusal::TooNarrow:
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "too narrow"));
    }
    return QString();
}

QString refusalSummary(const TunerSelection& selection)
{
    QMap<TunerRefusal, int> counts;
    const TunerCandidate* last = nullptr;
    for (const TunerCandidate& candidate : selection.candidates) {
        if (candidate.refusal == TunerRefusal::None || candidate.refusal == TunerRefusal::NotInTree)
            continue;
        ++counts[candidate.refusal];
        last = &candidate;
    }
    if (!last)
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerSelection", "the class is empty"));
    if (counts.size() == 1 && counts.first() == 1 && !last->detail.isEmpty())
        return last->detail;
    QStringList texts;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        texts.append(QStringLiteral("%1 %2").arg(QString::number(count.value()), toText(count.key())));
    return texts.join(QStringLiteral(", "));
}

} // namespace Kolta
