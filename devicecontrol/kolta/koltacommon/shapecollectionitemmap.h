#pragma once

#include <koltacommon/export.h>
#include <koltacommon/shapecollectionitem.h>

namespace Kolta {

/// The spectral shapes by name.
class KOLTA_COMMON_EXPORT ShapeCollectionItemMap
    : public values::ValueItemMap<ShapeCollectionItem, ShapeCollectionItem_ItemFormat,
                                  ShapeCollectionItem_TextAdapter>
{
public:
    static constexpr int type = 130;

    using ValueItemMap::ValueItemMap;

    int GetType() const override { return type; }
    QString GetTypeName() const override { return QStringLiteral("ShapeCollectionItemMap"); }
};

} // namespace Kolta
