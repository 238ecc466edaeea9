#pragma once

#include <koltacommon/export.h>
#include <koltacommon/textcolumns.h>

#include <recording/recordidentifier.h>
#include <values/valueitemmap.h>

#include <QDateTime>
#include <QString>

#include <string>

namespace Kolta {

/// The request that starts the conversion of a recording.
struct ConvertProductionResultRequest
{
    sorel::RecordIdentifier record; ///< the recording that is to be converted
    QString productionID;           ///< of the conversion production
    QString productionName;
    QString pirmID;     ///< identifier in the client library of the requesting party
    QString resultType; ///< kind of result
};

/// Progress and outcome of the conversion of one recording. An item of ConvertProductionResultMap.
class KOLTA_COMMON_EXPORT ConvertProductionResult
    : public values::valueitemmap::IKeyItemTemplate<sorel::RecordIdentifier>
{
public:
    /// It travels as 32 bits.
    enum State : qint32 { eNotStarted = 0, eConverting = 1, eFinished = 2 };

    /// Not started, all empty. The creation time is the present time, as with the next two.
    ConvertProductionResult();
    ConvertProductionResult(const sorel::RecordIdentifier& record, const QString& productionID,
                            const QString& productionName, const QString& pirmID, const QString& resultType,
                            State state, bool success, const QString& result);
    /// The requested conversion, not started.
    explicit ConvertProductionResult(const ConvertProductionResultRequest& request);

    /// When the object was made, in UTC; copies have the time of the original.
    const QDateTime& creationTime() const noexcept { return m_creationTime; }
    const QString& productionID() const noexcept { return m_productionID; }
    const QString& productionName() const noexcept { return m_productionName; }
    const QString& pirmID() const noexcept { return m_pirmID; }
    const QString& resultType() const noexcept { return m_resultType; }
    /// Intermediate or final result.
    const QString& result() const noexcept { return m_result; }
    State state() const noexcept { return m_state; }

    bool finished() const noexcept { return m_state == eFinished; }
    /// The spelling belongs to the interface.
    bool sucessfullyFinished() const noexcept { return finished() && m_success; }
    /// Whether the record identifier is valid.
    bool valid() const noexcept { return m_record.valid(); }

    void setConverting() { m_state = eConverting; }
    void setFinished(bool success, const QString& result);
    /// Changes only the result text.
    void setResult(const QString& result) { m_result = result; }

    /// The converted recording.
    sorel::RecordIdentifier GetKey() const override { return m_record; }
    bool operator==(const ConvertProductionResult& other) const;
    bool operator!=(const ConvertProductionResult& other) const { return !(*this == other); }

private:
    friend class ConvertProductionResult_ItemFormat;

    QDateTime m_creationTime;
    sorel::RecordIdentifier m_record;
    QString m_productionID;
    QString m_productionName;
    QString m_pirmID;
    QString m_resultType;
    State m_state = eNotStarted;
    bool m_success = false; ///< means something once it is finished
    QString m_result;
};

/// Conversion results as text and as bytes.
class KOLTA_COMMON_EXPORT ConvertProductionResult_ItemFormat
{
public:
    /// "Record_" and the text of the record identifier.
    static QString GetString(const ConvertProductionResult& item);
    /// The item field. Unlike those of other items it begins without a format version, which is meant.
    static std::string toStandardString(const ConvertProductionResult& item);
    /// Reads an item field, which must be there as a whole, and moves `*stream` behind it. What the field
    /// lacks reads as zero or empty. Always true.
    static bool fromCharStream(const char** stream, ConvertProductionResult& item);

private:
    /// Writes or reads the fields behind the record.
    template<class Field, class Item>
    static void doRest(Field& field, Item& item);
};

/// Conversion results in views.
class KOLTA_COMMON_EXPORT ConvertProductionResult_TextAdapter
    : public ColumnTextAdapter<ConvertProductionResult_TextAdapter, ConvertProductionResult>
{
public:
    static const TextColumns<ConvertProductionResult>& columns();
    /// "not started", "converting", "finished" or "failed"; another number as it is.
    static QString stateText(const ConvertProductionResult& result);
};

} // namespace Kolta
