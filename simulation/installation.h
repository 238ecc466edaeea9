#pragma once

#include <resourcemodel/demandclasses.h>
#include <resourcemodel/resources.h>
#include <xmlmessaging/converters.h>

#include <QMap>
#include <QString>
#include <QVector>

#include <memory>

class QSettings;

namespace VESK_Q9R {
struct ShortTimeProfiles;
}

namespace KoltaSimulation {

/// What a server of an installation is and has, read from the files of one folder:
///
/// - installation.ini: the server's name, base path and host name, its application description, its working
/// states, how fast it starts, how much its processing units can do;
/// - resources.xml: the resource overview;
/// - faults.sfr: the fault reference, one "ID|text" per line, UTF-8;
/// - demandclasses.xml, tunerclasses.xml, tunertypes.xml, hardwareprocessing.xml, actualconfiguration.xml:
/// further overviews, published as they are. They may be absent and are then published empty. What
/// actualconfiguration.xml says runs whenever the server comes up;
/// - profiles.xml: the short-time profiles that the server has whenever it comes up. It may be absent.
class Installation
{
public:
    /// Folder of the sample installation that came with the running program, built or installed:
    /// "../share/koltacommon/installation" beside the program's own folder.
    static QString sampleFolder();

    /// Reads a folder. False when something is missing or wrong; `error` then names the file, the place in it
    /// and what was expected, and this object stays as it was.
    bool load(const QString& folder, QString& error);

    /// What the programs here call their servers: "S1", "S2" and so on.
    static QString usualName(int number);
    const QString& serverName() const noexcept { return m_serverName; }
    /// Path of the server's node in the value tree.
    const QString& basePath() const noexcept { return m_basePath; }
    const QString& hostName() const noexcept { return m_hostName; }
    const XmlCommunication::AppDescriptionData& application() const noexcept { return m_application; }
    /// Names of the working states by key.
    const QMap<int, QString>& workingStates() const noexcept { return m_workingStates; }
    /// Key of the working state in which the server comes up.
    int initialWorkingState() const noexcept { return m_initialWorkingState; }
    /// Key of the working state in which the server goes down; -1 for none.
    int closingWorkingState() const noexcept { return m_closingWorkingState; }
    /// How long the server stays in each working state of its start-up, in milliseconds; 0 passes over them.
    int startupStep() const noexcept { return m_startupStep; }
    /// CPU credits that each processing unit has for processors.
    int creditsPerUnit() const noexcept { return m_creditsPerUnit; }
    const RESOURCEMANAGEMENT::ResourceOverview& resources() const noexcept { return m_resources; }
    /// In the order of the file.
    const QVector<ResourceConverter::FaultDescription>& faults() const noexcept { return m_faults; }
    /// What a job of each class takes, for each kind of processor.
    const RESOURCEMANAGEMENT::ResourceDemandClassOverview& demandClasses() const noexcept
    {
        return m_demandClasses;
    }
    /// Texts of the further overviews by the name of their node, "DemandClasses" for instance.
    const QMap<QString, QString>& furtherOverviews() const noexcept { return m_furtherOverviews; }

    /// As the file has them; null when there is none.
    const VESK_Q9R::ShortTimeProfiles* profiles() const noexcept { return m_profiles.get(); }

    /// Makes this another server of the same kind: its name is also the last part of its base path.
    void setServerName(const QString& name);
    void setHostName(const QString& name) { m_hostName = name; }
    void setResources(const RESOURCEMANAGEMENT::ResourceOverview& resources) { m_resources = resources; }
    /// The text of the further overview with that node, "TunerClasses" for instance.
    void setFurtherOverview(const QString& node, const QString& text)
    {
        m_furtherOverviews.insert(node, text);
    }
    void setCreditsPerUnit(int credits) { m_creditsPerUnit = credits; }
    /// Whether the server tells what it misses as it comes up, as it does unless it misses that on purpose.
    bool isTellingErrors() const noexcept { return m_isTellingErrors; }
    void setTellingErrors(bool isTelling) { m_isTellingErrors = isTelling; }

private:
    bool loadSettings(const QString& file, QString& error);
    bool loadWorkingStates(const QString& file, const QMap<QString, QString>& states, QString& error);
    bool loadTexts(const QString& file, const QSettings& settings, QString& error);
    bool loadNumbers(const QString& file, const QSettings& settings, QString& error);
    bool loadResources(const QString& file, QString& error);
    bool loadFaults(const QString& file, QString& error);
    bool loadFurtherOverviews(const QString& folder, QString& error);
    bool loadProfiles(const QString& file, QString& error);

    QString m_serverName;
    QString m_basePath;
    QString m_hostName;
    XmlCommunication::AppDescriptionData m_application;
    QMap<int, QString> m_workingStates;
    int m_initialWorkingState = 0;
    int m_closingWorkingState = -1;
    int m_startupStep = 0;
    int m_creditsPerUnit = 100;
    bool m_isTellingErrors = true;
    RESOURCEMANAGEMENT::ResourceOverview m_resources;
    QVector<ResourceConverter::FaultDescription> m_faults;
    RESOURCEMANAGEMENT::ResourceDemandClassOverview m_demandClasses;
    QMap<QString, QString> m_furtherOverviews;
    std::shared_ptr<const VESK_Q9R::ShortTimeProfiles> m_profiles;
};

} // namespace KoltaSimulation
