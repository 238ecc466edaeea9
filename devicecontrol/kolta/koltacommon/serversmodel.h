#pragma once

#include <koltacommon/export.h>
#include <koltacommon/recordmodel.h>

#include <QPointer>
#include <QStringList>

#include <memory>
#include <vector>

namespace Kolta {

class KoltaServerInterface;
class KoltaServerRegistry;

/// What models of several servers at once have in common: which servers those are, and what becomes of their
/// rows when they come, vanish, return and go.
///
/// The rows of a server that vanishes stay as they are and become stale (ViewRoles::StaleRole); when it
/// returns they take over what is different then, and persistent indexes and selections stay. Rows leave with
/// removeServer(), with the server's interface, and with its entry in the registry that is followed.
class KOLTA_COMMON_EXPORT ServersModel : public RecordModel
{
    Q_OBJECT

public:
    ~ServersModel() override;

    /// Shows the servers of the registry, those that come later too, in the order in which they came, until
    /// they are removed from it. The registry may go first.
    void followRegistry(KoltaServerRegistry& registry);
    /// Shows a server behind those that are shown; false when one with that address is.
    bool addServer(KoltaServerInterface& server);
    /// False when none with that address is shown.
    bool removeServer(const QString& address);
    /// Of the servers that are shown, in their order.
    QStringList addresses() const;

protected:
    /// One server's part of the model; derived models add where its rows come from.
    struct Section : Origin
    {
        explicit Section(KoltaServerInterface& shown);
        virtual ~Section();
        /// Whether the rows are stale although the server is there.
        virtual bool isInDoubt() const { return false; }
        /// A key that no row of another server has.
        QString keyOf(const QString& name) const { return address + QLatin1Char('/') + name; }
        /// Its rows are about to go; a section of the same server may have come already.
        bool isGone() const noexcept { return m_isGone; }

        const QPointer<KoltaServerInterface> server;
        int rowCount = 0; ///< rows at the top
        QObject context;  ///< of connections, which end with the section

    private:
        friend class ServersModel;
        bool m_isDue = true;
        bool m_isStaleDue = false;
        bool m_isGone = false;
    };
    struct TunersSection;
    using Sections = std::vector<std::unique_ptr<Section>>;

    template<int N>
    ServersModel(const char* context, const ModelColumn (&columns)[N], QObject* parent)
        : RecordModel(context, columns, parent)
    {
    }

    /// The part of a server that is to be shown; its sources call follow() with it.
    virtual std::unique_ptr<Section> makeSection(KoltaServerInterface& server) = 0;
    // These bring the rows into the section's state. False when a slot has deleted the model.
    virtual bool show(Section& section) = 0;
    /// Its server is away, or back.
    virtual bool showStale(Section& section);
    /// Its rows, which stand from `firstRow` on, go; it is among the sections no more.
    virtual bool hide(Section& section, int firstRow);

    /// What the section shows has changed: shows it, at once or after what is being told.
    void follow(Section& section);
    /// From now on notes what changes on the section's board, and follows.
    void followBoard(TunersSection& section);
    /// Asks anew whether the section is stale.
    void followDoubt(Section& section);
    const Sections& sections() const { return m_sections; }
    /// Place of the section's first row where sections stand one behind the other at the top.
    int firstRow(const Section& section) const;
    /// Shows `wanted` as the rows of such a section.
    bool replaceSection(Section& section, Rows& wanted);

private:
    Section* find(const QString& address) const;
    void setGone(Section& section);
    void work();
    bool workOn(Section& section);

    Sections m_sections;
    bool m_isWorking = false;
};

} // namespace Kolta
