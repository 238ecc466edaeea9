#include <koltacommon/convertproductionresult.h>

#include <koltacommon/itemfield.h>

#include <tuple>

namespace Kolta {

namespace {

using Result = ConvertProductionResult;

constexpr const char* kContext = "Kolta::ConvertProductionResult_TextAdapter";

constexpr TextColumn<Result> kColumnTable[] = {
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Record"),
     [](const Result& r) { return r.GetKey().toString(); }},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "State"),
     &ConvertProductionResult_TextAdapter::stateText},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Result"),
     [](const Result& r) { return r.result(); }},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Result type"),
     [](const Result& r) { return r.resultType(); }},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Production"),
     [](const Result& r) { return r.productionName().isEmpty() ? r.productionID() : r.productionName(); }},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Requested by"),
     [](const Result& r) { return r.pirmID(); }},
    {QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "Created"), [](const Result& r) {
         return r.creationTime().toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
     }}};

} // namespace

ConvertProductionResult::ConvertProductionResult() : m_creationTime(QDateTime::currentDateTimeUtc()) {}

ConvertProductionResult::ConvertProductionResult(const sorel::RecordIdentifier& record,
                                                 const QString& productionID, const QString& productionName,
                                                 const QString& pirmID, const QString& resultType,
                                                 State state, bool success, const QString& result)
    : m_creationTime(QDateTime::currentDateTimeUtc())
    , m_record(record)
    , m_productionID(productionID)
    , m_productionName(productionName)
    , m_pirmID(pirmID)
    , m_resultType(resultType)
    , m_state(state)
    , m_success(success)
    , m_result(result)
{
}

ConvertProductionResult::ConvertProductionResult(const ConvertProductionResultRequest& request)
    : ConvertProductionResult(request.record, request.productionID, request.productionName, request.pirmID,
                              request.resultType, eNotStarted, false, QString())
{
}

void ConvertProductionResult::setFinished(bool success, const QString& result)
{
    m_success = success;
    m_state = eFinished;
    m_result = result;
}

bool ConvertProductionResult::operator==(const ConvertProductionResult& other) const
{
    const auto all = [](const Result& r) {
        return std::tie(r.m_record, r.m_creationTime, r.m_productionID, r.m_productionName, r.m_pirmID,
                        r.m_resultType, r.m_state, r.m_success, r.m_result);
    };
    return all(*this) == all(other);
}

QString ConvertProductionResult_ItemFormat::GetString(const Result& item)
{
    return QLatin1String("Record_") + item.m_record.toString();
}

template<class Field, class Item>
void ConvertProductionResult_ItemFormat::doRest(Field& field, Item& item)
{
    field(item.m_state);
    field(item.m_productionID);
    field(item.m_productionName);
    field(item.m_pirmID);
    field(item.m_resultType);
    field(item.m_success);
    field(item.m_result);
}

std::string ConvertProductionResult_ItemFormat::toStandardString(const Result& item)
{
    constexpr std::size_t usualSize = 256;
    itemfield::Writer field(usualSize);
    field(item.m_creationTime);
    field(item.m_record.subSystem());
    field(item.m_record.deviceID());
    field(item.m_record.recordID());
    doRest(field, item);
    return field.take();
}

bool ConvertProductionResult_ItemFormat::fromCharStream(const char** stream, Result& item)
{
    itemfield::Reader field(stream);
    QString subSystem;
    QString deviceID;
    QString recordID;
    field(item.m_creationTime);
    field(subSystem);
    field(deviceID);
    field(recordID);
    item.m_record = sorel::RecordIdentifier(subSystem, deviceID, recordID);
    doRest(field, item);
    return true;
}

const TextColumns<Result>& ConvertProductionResult_TextAdapter::columns()
{
    static constexpr TextColumns<Result> all(kContext, kColumnTable);
    return all;
}

QString ConvertProductionResult_TextAdapter::stateText(const Result& result)
{
    const auto translated = [](const char* text) { return QCoreApplication::translate(kContext, text); };
    if (result.sucessfullyFinished())
        return translated(QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "finished"));
    switch (result.state()) {
    case Result::eNotStarted:
        return translated(QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "not started"));
    case Result::eConverting:
        return translated(QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "converting"));
    case Result::eFinished:
        return translated(QT_TRANSLATE_NOOP("Kolta::ConvertProductionResult_TextAdapter", "failed"));
    }
    return QString::number(result.state());
}

} // namespace Kolta
