#pragma once

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/export.h>
#include <koltacommon/mapoperation.h>

namespace Kolta {

/// The conversion of one recording, from its entry in the collection of conversions to its end.
///
/// Done when it has finished with success, refused when without, or when the recording is being converted
/// already; an entry that has finished is replaced. Intermediate results are its progress. Lost when the
/// entry is erased, or belongs to another production. There is no time limit, and cancelling leaves the
/// entry.
class KOLTA_COMMON_EXPORT ConversionJob : public MapOperation<ConvertProductionResultMap>
{
    Q_OBJECT

public:
    /// The production gets an ID of its own unless the request has one.
    ConversionJob(ConvertProductionResultMap& map, const ConvertProductionResultRequest& request,
                  QObject* parent);

    /// The final or latest intermediate result.
    const QString& result() const noexcept { return m_result; }

protected:
    void ask(ConvertProductionResultMap& map) override;
    void look(const ConvertProductionResultMap& map) override;

private:
    ConvertProductionResultRequest m_request;
    QString m_result;
};

} // namespace Kolta
