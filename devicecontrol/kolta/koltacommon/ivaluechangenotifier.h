#pragma once

#include <koltacommon/export.h>
#include <koltacommon/instancecount.h>

#include <QObject>
#include <QString>

namespace REPORTGENERATOR {
class RGException;
}

namespace Kolta {

/// The signals that every observer of an overview value has, whatever the overview's type.
/// Emitted on the thread of the value tree, each after the observer's own reaction to the same event.
class KOLTA_COMMON_EXPORT IValueChangeNotifier : public QObject
{
    Q_OBJECT

public:
    ~IValueChangeNotifier() override;

Q_SIGNALS:
    /// A new text was parsed and the mirror replaced.
    void si_ValueChanged(IValueChangeNotifier* pThis = nullptr);
    /// A new text could not be parsed; the mirror keeps the last good overview. `sError` is one line for the
    /// user.
    void si_ParsingError(QString sError, IValueChangeNotifier* pThis = nullptr);
    /// A user notice arrived on the observed value.
    void si_VC_USER_Received(IValueChangeNotifier* pThis = nullptr);
    /// The observed value was deleted; the mirror keeps the last good overview unless the observer says
    /// otherwise.
    void si_ValueDeleted(IValueChangeNotifier* pThis = nullptr);

protected:
    explicit IValueChangeNotifier(QObject* parent = nullptr);

    /// `path` up to, not including, its last "/"; the whole path when there is none.
    static QString parentNodePath(const QString& path);
    /// Writes the trace line of a model object that could not be mirrored.
    static void traceReportException(const REPORTGENERATOR::RGException& exception);

private:
    InstanceCount<IValueChangeNotifier> m_instanceCount;
};

} // namespace Kolta
