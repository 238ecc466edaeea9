#include <koltacommon/convertproductionresultmap.h>

#include <QStringList>

#include <algorithm>
#include <limits>
#include <tuple>
#include <vector>

namespace values::valueitemmap {

using sorel::RecordIdentifier;

const RecordIdentifier& KeyTraits<RecordIdentifier>::Invalid()
{
    static const RecordIdentifier invalid;
    return invalid;
}

void KeyTraits<RecordIdentifier>::AppendField(std::string& out, const RecordIdentifier& key)
{
    AppendText(out, key.subSystem());
    AppendText(out, key.deviceID());
    AppendText(out, key.recordID());
}

bool KeyTraits<RecordIdentifier>::ReadField(ByteReader& in, RecordIdentifier& key)
{
    QString subSystem;
    QString deviceID;
    QString recordID;
    if (!in.ReadText(subSystem) || !in.ReadText(deviceID) || !in.ReadText(recordID))
        return false;
    key = RecordIdentifier(subSystem, deviceID, recordID);
    return true;
}

} // namespace values::valueitemmap

namespace Kolta {

using sorel::RecordIdentifier;

namespace {

constexpr int kNamedRecords = 10; ///< in the map's text

/// What tidying up may erase.
struct Candidate
{
    RecordIdentifier record;
    qint64 created; ///< milliseconds since 1970; the smallest number for a time that is not valid
    QString text;

    Candidate(const RecordIdentifier& key, const ConvertProductionResult& result)
        : record(key)
        , created(result.creationTime().isValid() ? result.creationTime().toMSecsSinceEpoch()
                                                  : std::numeric_limits<qint64>::min())
        , text(record.toString())
    {
    }
    bool operator<(const Candidate& other) const
    {
        return std::tie(created, text) < std::tie(other.created, other.text);
    }
};

bool mayGo(const ConvertProductionResult& result, const QDateTime& olderThan, bool failedToo)
{
    return (failedToo ? result.finished() : result.sucessfullyFinished()) &&
           (!olderThan.isValid() || result.creationTime() < olderThan);
}

} // namespace

template<class Change>
void ConvertProductionResultMap::change(const RecordIdentifier& record, const Change& apply)
{
    const auto found = data().find(record);
    if (found == data().end())
        return;
    ConvertProductionResult result = found->second;
    apply(result);
    SetAt(record, result, nullptr);
}

void ConvertProductionResultMap::startConverting(const RecordIdentifier& record)
{
    change(record, [](ConvertProductionResult& item) { item.setConverting(); });
}

void ConvertProductionResultMap::setIntermediateResult(const RecordIdentifier& record, const QString& result)
{
    change(record, [&](ConvertProductionResult& item) { item.setResult(result); });
}

void ConvertProductionResultMap::setFinished(const RecordIdentifier& record, bool success,
                                             const QString& result)
{
    change(record, [&](ConvertProductionResult& item) { item.setFinished(success, result); });
}

int ConvertProductionResultMap::tidyUp(quint64 maxCount, const QDateTime& olderThan, bool failedToo)
{
    if (Size() <= maxCount)
        return 0;
    std::vector<Candidate> candidates;
    for (const auto& [record, result] : data()) {
        if (mayGo(result, olderThan, failedToo))
            candidates.emplace_back(record, result);
    }
    std::sort(candidates.begin(), candidates.end());
    const quint64 excess = Size() - maxCount;
    const values::Weak<values::ValueBase> alive(this);
    const auto transaction = CreateTransaction();
    int erased = 0;
    for (const Candidate& candidate : candidates) {
        // Observers may delete the map, erase results and start conversions again.
        if (!alive || static_cast<quint64>(erased) == excess || Size() <= maxCount)
            break;
        const auto found = data().find(candidate.record);
        if (found == data().end() || !mayGo(found->second, olderThan, failedToo))
            continue;
        ++erased;
        EraseAt(candidate.record, nullptr);
    }
    return erased;
}

QString ConvertProductionResultMap::GetStringValue() const
{
    QStringList records;
    for (auto it = data().begin(); it != data().end() && records.size() < kNamedRecords; ++it)
        records.append(it->first.toString());
    const bool isCut = Size() > static_cast<std::size_t>(records.size());
    return QStringLiteral("%1 Conversions: [%2%3]")
        .arg(QString::number(Size()), records.join(QLatin1String(", ")),
             isCut ? QStringLiteral("...") : QString());
}

} // namespace Kolta
