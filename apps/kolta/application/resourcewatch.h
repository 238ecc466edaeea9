#pragma once

#include <koltacommon/koltaresourceobserver.h>

#include <QHash>
#include <QObject>
#include <QString>

namespace KoltaCli {

/// Turns the change signals of a resource observer into lines of text, in the order in which they come.
class ResourceWatch : public QObject
{
    Q_OBJECT

public:
    explicit ResourceWatch(const Kolta::KoltaResourceObserver& observer);

Q_SIGNALS:
    /// `guid` is that of the tuner or unit.
    void changed(const QString& guid, const QString& text);

private:
    QString nameOf(const QString& guid);
    void watchTuners();
    void watchUnits();

    const Kolta::KoltaResourceObserver& m_observer;
    QHash<QString, QString> m_names; ///< by GUID; a tuner that has gone is only known here
};

} // namespace KoltaCli
