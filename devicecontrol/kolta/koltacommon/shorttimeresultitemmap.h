#pragma once

#include <koltacommon/export.h>
#include <koltacommon/shorttimeresult.h>

namespace Kolta {

/// The short-time results by number.
class KOLTA_COMMON_EXPORT ShortTimeResultItemMap
    : public values::ValueItemMap<ShortTimeResult, ShortTimeResult_ItemFormat, ShortTimeResult_TextAdapter>
{
public:
    static constexpr int type = 107;

    using ValueItemMap::ValueItemMap;

    /// Stores a result under a new number, which the stored result has as its own too, and returns it.
    unsigned int AddNew(ShortTimeResult result, IObserver* observer = nullptr);

    int GetType() const override { return type; }
    QString GetTypeName() const override { return QStringLiteral("ShortTimeResultItemMap"); }
};

} // namespace Kolta
