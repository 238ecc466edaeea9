#pragma once

#include <koltacommon/convertproductionresult.h>
#include <koltacommon/export.h>

namespace values::valueitemmap {

/// The key field is the three texts of the identifier.
template<>
struct KOLTA_COMMON_EXPORT KeyTraits<sorel::RecordIdentifier>
{
    static const sorel::RecordIdentifier& Invalid();
    static void AppendField(std::string& out, const sorel::RecordIdentifier& key);
    static bool ReadField(ByteReader& in, sorel::RecordIdentifier& key);
    static QString ToText(const sorel::RecordIdentifier& key) { return key.toString(); }
};

} // namespace values::valueitemmap

namespace Kolta {

/// The conversion results by record identifier. Who owns them adds them with Add().
class KOLTA_COMMON_EXPORT ConvertProductionResultMap
    : public values::ValueItemMap<ConvertProductionResult, ConvertProductionResult_ItemFormat,
                                  ConvertProductionResult_TextAdapter>
{
public:
    static constexpr int type = 131;

    using ValueItemMap::ValueItemMap;

    bool contains(const sorel::RecordIdentifier& record) const { return Contains(record); }
    /// These change one result and announce it; a record that is not there changes nothing.
    void startConverting(const sorel::RecordIdentifier& record);
    void setIntermediateResult(const sorel::RecordIdentifier& record, const QString& result);
    void setFinished(const sorel::RecordIdentifier& record, bool success, const QString& result);
    /// Erases results until `maxCount` are left, as one transaction, and returns how many it erased. It
    /// erases finished results only, so more may be left: those that finished successfully or, with
    /// `failedToo`, any; those made before `olderThan` or, when that is not valid, of any time; the oldest
    /// first, of the same time in the order of their identifiers' texts.
    int tidyUp(quint64 maxCount, const QDateTime& olderThan, bool failedToo);

    /// "2 Conversions: [a, b]" with the texts of the record identifiers; of more than ten the first ten, as
    /// the map has them, and "...".
    QString GetStringValue() const override;
    int GetType() const override { return type; }
    QString GetTypeName() const override { return QStringLiteral("ConvertProductionResultMap"); }

private:
    template<class Change>
    void change(const sorel::RecordIdentifier& record, const Change& apply);
};

} // namespace Kolta
