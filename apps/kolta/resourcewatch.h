#pragma once

#include <koltacommon/koltaresourceobserver.h>

#include <QObject>
#include <QString>
#include <QStringList>

namespace KoltaCli {

/// Turns the change signals of a resource observer into lines of text, in the order in which they come.
class ResourceWatch : public QObject
{
    Q_OBJECT

public:
    explicit ResourceWatch(const Kolta::KoltaResourceObserver& observer);

Q_SIGNALS:
    void changed(const QString& text);

private:
    QString nameOf(const QString& guid) const;
    void watchTuners();
    void watchUnits();

    const Kolta::KoltaResourceObserver& m_observer;
};

/// The tuners and units of an overview as tables for people.
QString resourceTables(const RESOURCEMANAGEMENT::ResourceOverview& overview);

} // namespace KoltaCli
