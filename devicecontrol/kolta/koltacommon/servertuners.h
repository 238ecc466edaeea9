#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerneeds.h>

#include <QPointer>
#include <QString>
#include <QStringList>

#include <memory>

namespace Kolta {

class KoltaServerInterface;
class TunerClassTree;

/// Who has a tuner.
struct KOLTA_COMMON_EXPORT TunerHolder
{
    bool isPlan = false; ///< planned in this process; the rest but `purpose` is empty then
    QString purpose;     ///< name of the order that planned it; empty when no operation did
    QString processor;   ///< GUID of what works with it
    QString kind;        ///< of that, "MCP" for instance
    QString name;
    QString production; ///< GUID; empty for what is within another
    QString owner;      ///< name of who operates that; empty for nobody
    QString ownerHost;

    /// For people: "MCP 'X' (production {…}), operated by N at H", or "planned here", with "for 'X'" when an
    /// order did that. Empty for nobody.
    QString text() const;
    bool operator==(const TunerHolder& other) const;
    bool operator!=(const TunerHolder& other) const { return !(*this == other); }
};

/// What choosing a tuner of one server works on: its mirrored resources, its tuner classes or, where it has
/// none, default ones, and what is planned here. A snapshot of the overviews, but not of the plans; make a
/// new one when they have changed. The server may die first; everything is refused then. One thread.
class KOLTA_COMMON_EXPORT ServerTuners
{
public:
    explicit ServerTuners(KoltaServerInterface& server);
    ~ServerTuners();

    const TunerClassTree& tree() const { return *m_tree; }
    /// Whether the server has no tuner classes and those here are made from its tuners and demand classes.
    bool isDefault() const noexcept { return m_isDefault; }
    /// Empty when there is a class of that name; else a text that names those that there are.
    QString problemOfClass(const QString& name) const;
    /// Chooses among these.
    const TunerClassResourceSelector& selector() const { return m_selector; }
    /// Free tuners that nobody has planned here and that can do what is needed.
    TunerFilter filter(const TunerNeeds& needs = TunerNeeds(),
                       const QStringList& storageGuids = QStringList()) const;
    /// All tuners of the class in the order of choice. The detail of one that is taken names who holds it.
    TunerSelection explain(const QString& className, const TunerNeeds& needs = TunerNeeds(),
                           const QStringList& storageGuids = QStringList()) const;
    /// The same without details: for those who want the holders of few of them.
    TunerSelection weigh(const QString& className, const TunerNeeds& needs,
                         const QStringList& storageGuids) const;
    /// Goes on with the server's present resources, looking only at tuners that are not the same as before.
    /// False when there are no classes but those made from the tuners: make a new one.
    bool refresh();

    static TunerHolder holder(KoltaServerInterface& server, const QString& tunerGuid);
    /// TunerHolder::text().
    static QString holderOf(KoltaServerInterface& server, const QString& tunerGuid);

private:
    QPointer<KoltaServerInterface> m_server;
    std::shared_ptr<TunerClassTree> m_tree;
    TunerClassResourceSelector m_selector;
    bool m_isDefault = false;
};

} // namespace Kolta
