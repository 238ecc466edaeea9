#pragma once

#include <koltacommon/shorttimemodels.h>
#include <koltaconsole/session/keptdrafts.h>
#include <koltaconsole/widgets/filterwords.h>

#include <QAbstractTableModel>
#include <QHash>
#include <QMap>
#include <QSet>

namespace KoltaConsole {

class Session;

/// Which FFP looks for which profile: FFPs down, profiles across. Ticks are a draft until they are sent; what
/// others change meanwhile shows where nothing was touched.
class AssignmentMatrix : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Role : int {
        TickRole = Qt::UserRole + 200, ///< bool: assigned, in the draft
        NewRole,                       ///< bool: not sent yet
        NoCoverRole,                   ///< bool: the FFP's tuner cannot reach the profile
        CoverageRole                   ///< int: per cent; of what is assigned
    };

    AssignmentMatrix(Session& session, QObject* parent);

    /// Empties it for another server; refresh() reads what there is.
    void showServer(const QString& address);
    /// Reads anew what there is.
    void refresh();
    void toggle(const QModelIndex& index) { set({index}, !index.data(TickRole).toBool()); }
    /// Ticks all of them or none: all, unless all are.
    void toggleAll(const QModelIndexList& indexes);
    /// Whether the words fit the FFP and the profile of that cell.
    bool fits(const FilterWords& words, int row, int column) const;
    /// Names of all FFPs that look for a profile, by its name; of those that do not run the GUIDs.
    const QHash<QString, QStringList>& uses() const noexcept { return m_uses; }
    /// What is shown is of a server that is away.
    bool isLastKnown() const noexcept { return m_isLastKnown; }
    int changeCount() const noexcept { return m_changeCount; } ///< ticks that differ from what is so
    void undo();
    /// The assignments to ask for, one for each FFP whose ticks differ.
    QVector<Kolta::ShortTimeFFPAssignment> wanted() const;
    /// It has been sent, and is decided once takeEnd() tells so; until then ticks are no more what was sent.
    void noteSent(const Kolta::ShortTimeFFPAssignment& sent) { m_sending.append(sent.ffpGuid); }
    bool isSending() const;
    /// What was sent and granted is no draft any more; what was ticked since is.
    void takeEnd(const QString& server, const Kolta::ShortTimeFFPAssignment& sent, bool isGranted);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void si_DraftChanged();

private:
    struct Ffp
    {
        QString guid;
        QString name;      ///< "MCP 1 · FFP 1"
        QString tuner;     ///< its name
        double from = 0.0; ///< what its tuner reaches, Hz; both 0: not told
        double to = 0.0;
        Kolta::ShortTimeFFPAssignment assignment; ///< null: none
        QSet<QString> assigned;                   ///< its profiles

        bool operator==(const Ffp& other) const { return guid == other.guid && name == other.name; }
    };

    void set(const QModelIndexList& indexes, bool isOn);
    void keepDraft();
    void forgetTicks(const QString& server, const QString& ffp, const QStringList& sent);
    bool isSending(const Ffp& ffp) const;
    void readFfps(const QModelIndex& parent, const QString& above, QVector<Ffp>& ffps) const;
    void readAssignments(QVector<Ffp>& ffps);
    void readReach(QVector<Ffp>& ffps) const;
    void readSearches();
    void tellDraft();
    bool isTicked(const Ffp& ffp, const QString& profile) const;
    QString cellText(const Ffp& ffp, const Kolta::ShortTimeProfile& profile) const;
    static bool isOutOfReach(const Ffp& ffp, const Kolta::ShortTimeProfile& profile);

    Session& m_session;
    QString m_server;
    QVector<Ffp> m_ffps;
    QVector<Kolta::ShortTimeProfile> m_profiles;
    QHash<QString, QString> m_searches; ///< what filters find of a profile, by its name
    QHash<QString, QStringList> m_uses;
    bool m_isLastKnown = false;
    int m_changeCount = 0;
    QHash<QString, QMap<QString, bool>> m_draft; ///< by FFP and profile, what was touched
    QStringList m_sending;                       ///< FFPs whose assignments have been sent
    KeptDrafts m_drafts;
};

} // namespace KoltaConsole
