#pragma once

#include <koltacommon/export.h>
#include <koltacommon/textcolumns.h>

#include <values/valueitemmap.h>

#include <QString>
#include <QVector>

#include <string>

namespace Kolta {

/// A named spectral shape, to which the spectra of received signals are compared. An item of
/// ShapeCollectionItemMap.
class KOLTA_COMMON_EXPORT ShapeCollectionItem : public values::valueitemmap::IKeyItemTemplate<QString>
{
public:
    QString name;                ///< the key
    QString description;         ///< for people
    QString signalClass;         ///< what a signal of this shape is called
    quint64 centreFrequency = 0; ///< where the shape was taken, Hz; 0 when it is good for any frequency
    double span = 0;             ///< width that the samples cover, Hz
    double tolerance = 0; ///< largest mean deviation from the samples of a signal that counts as alike, dB
    /// Levels relative to the strongest one, dB, equally spaced from the lower to the upper end of the span.
    QVector<float> samples;

    QString GetKey() const override { return name; }
    bool isNull() const { return name.isEmpty(); }
    bool operator==(const ShapeCollectionItem& other) const;
    bool operator!=(const ShapeCollectionItem& other) const { return !(*this == other); }
};

/// Shapes as text and as bytes.
class KOLTA_COMMON_EXPORT ShapeCollectionItem_ItemFormat
{
public:
    /// "Shape_" and the name.
    static QString GetString(const ShapeCollectionItem& shape);
    /// The item field: format version 1, then the members in the order of their declaration.
    static std::string toStandardString(const ShapeCollectionItem& shape);
    /// Reads an item field, which must be there as a whole, and moves `*stream` behind it. What the field
    /// lacks reads as zero or empty. Always true.
    static bool fromCharStream(const char** stream, ShapeCollectionItem& shape);
};

/// Shapes in views.
class KOLTA_COMMON_EXPORT ShapeCollectionItem_TextAdapter
    : public ColumnTextAdapter<ShapeCollectionItem_TextAdapter, ShapeCollectionItem>
{
public:
    static const TextColumns<ShapeCollectionItem>& columns();
};

} // namespace Kolta
