#include <simulation/installation.h>

#include <simulation/faultids.h>

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/q9rprofiles.h>
#include <koltacommon/servernodes.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/tunerclasses.h>
#include <startup/textplace.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QSettings>
#include <QStringList>
#include <QTextCodec>
#include <QXmlStreamReader>

#include <memory>

namespace KoltaSimulation {

using REPORTGENERATOR::IRGObject;
using RESOURCEMANAGEMENT::HWProcessingOverview;
using RESOURCEMANAGEMENT::ProcessorOverview;
using RESOURCEMANAGEMENT::ResourceDemandClassOverview;
using RESOURCEMANAGEMENT::TunerClassOverview;
using RESOURCEMANAGEMENT::TunerTypeOverview;
using Startup::TextPlace;

namespace {

constexpr FaultId kReportedFaults[] = {eFaultNotUnderstood, eFaultUnknownComponent, eFaultUnknownOperation,
                                       eFaultNoOperation,   eFaultParameterMissing, eFaultNoSuchResource,
                                       eFaultLookUpFailed,  eFaultNoRegisterEntry,  eFaultAdministration};

template<class Overview>
std::unique_ptr<IRGObject> make()
{
    return std::make_unique<Overview>();
}

/// File, node and class of every overview that is published as it stands.
constexpr struct
{
    const char* file;
    Kolta::ServerNodes::eNode node;
    std::unique_ptr<IRGObject> (*make)();
} kFurtherFiles[] = {
    {"demandclasses.xml", Kolta::ServerNodes::eDemandClasses, make<ResourceDemandClassOverview>},
    {"tunerclasses.xml", Kolta::ServerNodes::eTunerClasses, make<TunerClassOverview>},
    {"tunertypes.xml", Kolta::ServerNodes::eTunerTypeOverview, make<TunerTypeOverview>},
    {"hardwareprocessing.xml", Kolta::ServerNodes::eHardwareProcessing, make<HWProcessingOverview>},
    {"actualconfiguration.xml", Kolta::ServerNodes::eActualConfiguration, make<ProcessorOverview>}};

/// Reads a whole UTF-8 text file.
bool readText(const QString& file, QString& text, QString& error)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2, expected a readable file").arg(file, input.errorString());
        return false;
    }
    const QByteArray bytes = input.readAll();
    QTextCodec::ConverterState state;
    text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0) {
        const int position = text.indexOf(QChar::ReplacementCharacter);
        error = TextPlace()
                    .behind(text.left(qMax(0, position)))
                    .message(file, QStringLiteral("not UTF-8, expected text in UTF-8"));
        return false;
    }
    return true;
}

/// Whether `text` is well-formed; says line and column where it is not.
bool checkXml(const QString& file, const QString& text, QString& error)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd())
        reader.readNext();
    if (!reader.hasError())
        return true;
    error = TextPlace::of(reader).message(file, reader.errorString() +
                                                    QStringLiteral(" Expected a well-formed XML document"));
    return false;
}

/// Reads the text of a file as an object of the model.
bool parse(const QString& file, const QString& text, IRGObject& object, QString& error)
{
    if (!checkXml(file, text, error))
        return false;
    try {
        return object.SetXmlString(text, true);
    } catch (const REPORTGENERATOR::RGException& failure) {
        error = QStringLiteral("%1: %2; expected a %3").arg(file, failure.GetText(), object.GetObjectName());
        return false;
    }
}

/// Every resource needs a GUID of its own: it is what requests name it by.
template<class Resource>
bool checkGuids(const QString& file, const char* kind, const QVector<Resource>& resources,
                QSet<QString>& known, QString& error)
{
    int position = 0;
    for (const Resource& resource : resources) {
        ++position;
        const QString guid = resource.GetTavikResource().GetGUID();
        const char* fault = nullptr;
        if (!Kolta::isGuid(guid))
            fault = "is no GUID, expected {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
        else if (known.contains(guid))
            fault = "is already taken, expected a GUID of its own";
        if (fault) {
            error = QStringLiteral("%1: %2 %3: \"%4\" %5")
                        .arg(file, QLatin1String(kind))
                        .arg(position)
                        .arg(guid, QLatin1String(fault));
            return false;
        }
        known.insert(guid);
    }
    if (position == 0) {
        error = QStringLiteral("%1: no element %2, expected at least one").arg(file, QLatin1String(kind));
        return false;
    }
    return true;
}

} // namespace

QString Installation::usualName(int number)
{
    return QStringLiteral("S%1").arg(number);
}

QString Installation::sampleFolder()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../share/koltacommon/installation"));
}

bool Installation::load(const QString& folder, QString& error)
{
    const QDir directory(folder);
    if (!directory.exists()) {
        error = QStringLiteral("%1: no such folder, expected the folder of an installation").arg(folder);
        return false;
    }
    Installation read;
    if (!read.loadSettings(directory.filePath(QStringLiteral("installation.ini")), error) ||
        !read.loadFaults(directory.filePath(QStringLiteral("faults.sfr")), error) ||
        !read.loadResources(directory.filePath(QStringLiteral("resources.xml")), error) ||
        !read.loadFurtherOverviews(folder, error) ||
        !read.loadProfiles(directory.filePath(QStringLiteral("profiles.xml")), error)) {
        return false;
    }
    *this = read;
    return true;
}

void Installation::setServerName(const QString& name)
{
    m_basePath = m_basePath.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/') + name;
    m_serverName = name;
}

bool Installation::loadSettings(const QString& file, QString& error)
{
    QString text;
    if (!readText(file, text, error))
        return false;
    QSettings settings(file, QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        error = QStringLiteral("%1: cannot be parsed, expected [Section] and Key=value lines").arg(file);
        return false;
    }
    if (!loadTexts(file, settings, error))
        return false;
    if (!m_basePath.startsWith(QLatin1Char('/')) || m_basePath.endsWith(QLatin1Char('/'))) {
        error = QStringLiteral(
                    "%1: [Server] BasePath is \"%2\", expected a path like /ConnectManager/AdminTree/%3")
                    .arg(file, m_basePath, m_serverName);
        return false;
    }
    if (!loadNumbers(file, settings, error))
        return false;
    settings.beginGroup(QStringLiteral("WorkingState"));
    QMap<QString, QString> states;
    for (const QString& key : settings.childKeys())
        states.insert(key, settings.value(key).toStringList().join(QLatin1Char(',')));
    return loadWorkingStates(file, states, error);
}

bool Installation::loadTexts(const QString& file, const QSettings& settings, QString& error)
{
    const struct
    {
        const char* section;
        const char* key;
        QString& target;
    } entries[] = {{"Server", "Name", m_serverName},
                   {"Server", "BasePath", m_basePath},
                   {"Server", "HostName", m_hostName},
                   {"Application", "Name", m_application.name},
                   {"Application", "Guid", m_application.guid},
                   {"Application", "Version", m_application.version},
                   {"Application", "Build", m_application.build},
                   {"Application", "InterfaceVersion", m_application.interfaceVersion}};
    for (const auto& entry : entries) {
        const QString key = QLatin1String(entry.section) + QLatin1Char('/') + QLatin1String(entry.key);
        // A value with commas is read as a list.
        entry.target = settings.value(key).toStringList().join(QLatin1Char(','));
        if (entry.target.isEmpty()) {
            error = QStringLiteral("%1: [%2] %3 is missing, expected %3=TEXT")
                        .arg(file, QLatin1String(entry.section), QLatin1String(entry.key));
            return false;
        }
    }
    return true;
}

bool Installation::loadNumbers(const QString& file, const QSettings& settings, QString& error)
{
    const struct
    {
        const char* section;
        const char* key;
        int& target;
    } entries[] = {{"Startup", "StepMs", m_startupStep}, {"Processing", "CreditsPerUnit", m_creditsPerUnit}};
    for (const auto& entry : entries) {
        const QString key = QLatin1String(entry.section) + QLatin1Char('/') + QLatin1String(entry.key);
        if (!settings.contains(key))
            continue;
        const QString text = settings.value(key).toStringList().join(QLatin1Char(','));
        bool ok = false;
        entry.target = text.toInt(&ok);
        if (!ok || entry.target < 0) {
            error = QStringLiteral("%1: [%2] %3 is \"%4\", expected a number from 0")
                        .arg(file, QLatin1String(entry.section), QLatin1String(entry.key), text);
            return false;
        }
    }
    return true;
}

bool Installation::loadWorkingStates(const QString& file, const QMap<QString, QString>& states,
                                     QString& error)
{
    const QString selectedKey = QStringLiteral("Selected");
    const QString closingKey = QStringLiteral("ShuttingDown");
    for (auto it = states.begin(); it != states.end(); ++it) {
        if (it.key() == selectedKey || it.key() == closingKey)
            continue;
        bool ok = false;
        const int state = it.key().toInt(&ok);
        if (!ok || state < 0) {
            error = QStringLiteral("%1: [WorkingState] has the key \"%2\", expected a number, Selected or "
                                   "ShuttingDown")
                        .arg(file, it.key());
            return false;
        }
        m_workingStates.insert(state, it.value());
    }
    const auto readState = [&](const QString& key, int& state) {
        bool ok = false;
        state = states.value(key).toInt(&ok);
        if (ok && m_workingStates.contains(state))
            return true;
        error = QStringLiteral("%1: [WorkingState] %2 is \"%3\", expected the number of a state listed there")
                    .arg(file, key, states.value(key));
        return false;
    };
    return readState(selectedKey, m_initialWorkingState) &&
           (!states.contains(closingKey) || readState(closingKey, m_closingWorkingState));
}

bool Installation::loadResources(const QString& file, QString& error)
{
    QString text;
    if (!readText(file, text, error) || !parse(file, text, m_resources, error))
        return false;
    QSet<QString> known;
    return checkGuids(file, "Tuner", m_resources.GetTuner(), known, error) &&
           checkGuids(file, "ProcessingUnit", m_resources.GetProcessingUnit(), known, error) &&
           checkGuids(file, "StorageUnit", m_resources.GetStorageUnit(), known, error);
}

bool Installation::loadFaults(const QString& file, QString& error)
{
    QString text;
    if (!readText(file, text, error))
        return false;
    QSet<quint32> known;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty())
            continue;
        ResourceConverter::FaultDescription fault;
        if (!Kolta::readFaultLine(line, fault) || fault.text.isEmpty()) {
            error = TextPlace{i + 1, 1}.message(
                file, QStringLiteral("found \"%1\", expected NUMBER|TEXT").arg(line));
            return false;
        }
        if (known.contains(fault.id)) {
            error = TextPlace{i + 1, 1}.message(
                file, QStringLiteral("fault %1 stands here again, expected it once").arg(fault.id));
            return false;
        }
        known.insert(fault.id);
        m_faults.append(fault);
    }
    for (const FaultId id : kReportedFaults) {
        if (!known.contains(id)) {
            error = TextPlace{lines.size(), 1}.message(
                file, QStringLiteral("no fault %1 up to here, expected a line %1|TEXT").arg(quint32(id)));
            return false;
        }
    }
    return true;
}

bool Installation::loadFurtherOverviews(const QString& folder, QString& error)
{
    for (const auto& further : kFurtherFiles) {
        const QString file = QDir(folder).filePath(QLatin1String(further.file));
        const std::unique_ptr<IRGObject> overview = further.make();
        QString text = overview->GetXmlString();
        if (QFile::exists(file) && (!readText(file, text, error) || !parse(file, text, *overview, error)))
            return false;
        m_furtherOverviews.insert(Kolta::ServerNodes::name(further.node), text);
        if (const auto* const classes = dynamic_cast<const ResourceDemandClassOverview*>(overview.get()))
            m_demandClasses = *classes;
    }
    return true;
}

bool Installation::loadProfiles(const QString& file, QString& error)
{
    if (!QFile::exists(file))
        return true;
    const auto profiles = std::make_shared<VESK_Q9R::ShortTimeProfiles>();
    error = VESK_Q9R::readProfileFile(file, *profiles).error;
    m_profiles = profiles;
    return error.isEmpty();
}

} // namespace KoltaSimulation
