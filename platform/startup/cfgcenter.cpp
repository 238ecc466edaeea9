#include <startup/cfgcenter.h>

#include <startup/tracesource.h>

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QSettings>
#include <QStandardPaths>

namespace Startup {

namespace {

/// Trace points of this file.
enum eTracePoint : int { eUnreadable = 10, eUnwritable = 20 };
constexpr TraceSource kTrace("platform/startup/cfgcenter", eTraceError);

QString defaultFile()
{
    QString fromEnvironment = qEnvironmentVariable("KOLTA_CONFIG");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QString directory = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return directory + QLatin1String("/kolta/kolta.ini");
}

/// QSettings takes "/" and "\" for a step into a group.
QString escaped(QString name)
{
    name.replace(QLatin1Char('%'), QLatin1String("%25"));
    name.replace(QLatin1Char('/'), QLatin1String("%2F"));
    return name.replace(QLatin1Char('\\'), QLatin1String("%5C"));
}

QString unescaped(QString name)
{
    name.replace(QLatin1String("%5C"), QLatin1String("\\"));
    name.replace(QLatin1String("%2F"), QLatin1String("/"));
    return name.replace(QLatin1String("%25"), QLatin1String("%"));
}

/// What QSettings calls the group, with a "/" behind it. Its section [General] is the group without a name.
QString prefix(const QString& group)
{
    if (group.isEmpty() || group.compare(QLatin1String("General"), Qt::CaseInsensitive) == 0)
        return QString();
    return escaped(group) + QLatin1Char('/');
}

std::unique_ptr<QSettings> openIni(const QString& file)
{
    auto settings = std::make_unique<QSettings>(file, QSettings::IniFormat);
    settings->setIniCodec("UTF-8");
    return settings;
}

} // namespace

struct CfgCenter::Store
{
    /// Opens `path`; returns what is wrong with it, empty when nothing is.
    QString load(const QString& path);
    /// Writes one value, or removes it when `value` is null. Returns what went wrong.
    QString write(const QString& name, const QVariant* value);

    std::mutex mutex;
    bool opened = false;
    QString file;
    std::unique_ptr<QSettings> settings; ///< null when the file is unusable
    QMap<QString, QVariant> unwritten;   ///< what could not be written; it covers the file's values
};

QString CfgCenter::Store::load(const QString& path)
{
    opened = true;
    file = path;
    settings.reset();
    unwritten.clear();

    const QFileInfo info(path);
    if (path.isEmpty())
        return QStringLiteral("Configuration file: no file name given");
    if (info.exists() && !info.isFile())
        return QStringLiteral("Configuration file %1: not a file").arg(path);
    if (info.exists() && !info.isReadable())
        return QStringLiteral("Configuration file %1: no permission to read it").arg(path);
    auto opening = openIni(path);
    opening->allKeys();
    switch (opening->status()) {
    case QSettings::FormatError:
        return QStringLiteral(
                   "Configuration file %1: not an INI file (expected [section] and key=value lines)")
            .arg(path);
    case QSettings::AccessError:
        return QStringLiteral("Configuration file %1: cannot be read").arg(path);
    case QSettings::NoError:
        break;
    }
    settings = std::move(opening);
    return QString();
}

QString CfgCenter::Store::write(const QString& name, const QVariant* value)
{
    const auto apply = [&](QSettings& target) {
        if (value)
            target.setValue(name, *value);
        else
            target.remove(name);
    };
    if (!settings)
        return QStringLiteral("Configuration file %1: not written, since it could not be read").arg(file);
    // QSettings never forgets an error; a fresh one tells about this write alone.
    if (settings->status() != QSettings::NoError)
        settings = openIni(file);
    apply(*settings);
    settings->sync();
    if (settings->status() != QSettings::NoError)
        return QStringLiteral("Configuration file %1: cannot be written").arg(file);
    return QString();
}

CfgCenter::CfgCenter() : m_store(std::make_unique<Store>()) {}

CfgCenter::~CfgCenter() = default;

CfgCenter& CfgCenter::Instance()
{
    static CfgCenter center;
    return center;
}

bool CfgCenter::Open(const QString& file)
{
    QString problem;
    {
        const std::lock_guard<std::mutex> lock(m_store->mutex);
        problem = m_store->load(file);
    }
    // Never under the lock: the error handler may read its mask from here.
    if (!problem.isEmpty())
        kTrace(eUnreadable, problem);
    return problem.isEmpty();
}

QString CfgCenter::FileName() const
{
    const auto lock = lockOpened();
    return m_store->file;
}

QVariant CfgCenter::Value(const QString& group, const QString& key, const QVariant& defaultValue) const
{
    if (key.isEmpty())
        return defaultValue;
    const QString name = prefix(group) + escaped(key);
    const auto lock = lockOpened();
    const auto it = m_store->unwritten.constFind(name);
    if (it != m_store->unwritten.constEnd())
        return it->isValid() ? *it : defaultValue;
    return m_store->settings ? m_store->settings->value(name, defaultValue) : defaultValue;
}

QString CfgCenter::Text(const QString& group, const QString& key, const QString& defaultValue) const
{
    const QVariant value = Value(group, key, defaultValue);
    return value.type() == QVariant::StringList ? value.toStringList().join(QLatin1String(", "))
                                                : value.toString();
}

bool CfgCenter::SetValue(const QString& group, const QString& key, const QVariant& value)
{
    return write(group, key, value);
}

void CfgCenter::Remove(const QString& group, const QString& key)
{
    write(group, key, QVariant());
}

QStringList CfgCenter::Keys(const QString& group) const
{
    const QString before = prefix(group);
    const auto lock = lockOpened();
    QStringList names = m_store->settings ? m_store->settings->allKeys() : QStringList();
    for (auto it = m_store->unwritten.constBegin(); it != m_store->unwritten.constEnd(); ++it) {
        names.removeAll(it.key());
        if (it->isValid())
            names.append(it.key());
    }
    QStringList keys;
    for (const QString& name : qAsConst(names)) {
        if (name.startsWith(before) && !name.midRef(before.size()).contains(QLatin1Char('/')))
            keys.append(unescaped(name.mid(before.size())));
    }
    keys.sort();
    return keys;
}

/// Locks; opens the default file when none has been opened yet.
std::unique_lock<std::mutex> CfgCenter::lockOpened() const
{
    std::unique_lock<std::mutex> lock(m_store->mutex);
    if (m_store->opened)
        return lock;
    const QString problem = m_store->load(defaultFile());
    if (!problem.isEmpty()) {
        lock.unlock();
        kTrace(eUnreadable, problem);
        lock.lock();
    }
    return lock;
}

/// Sets a value; an invalid one removes the key.
bool CfgCenter::write(const QString& group, const QString& key, const QVariant& value)
{
    QString problem;
    if (key.isEmpty()) {
        problem = QStringLiteral("Configuration group \"%1\": empty key").arg(group);
    } else {
        const QString name = prefix(group) + escaped(key);
        const auto lock = lockOpened();
        problem = m_store->write(name, value.isValid() ? &value : nullptr);
        if (problem.isEmpty())
            m_store->unwritten.remove(name);
        else
            m_store->unwritten.insert(name, value);
    }
    if (!problem.isEmpty())
        kTrace(eUnwritable, problem, eTraceWarning);
    return problem.isEmpty();
}

AdministratorConfiguration& AdministratorConfiguration::Instance()
{
    static AdministratorConfiguration configuration;
    return configuration;
}

QString AdministratorConfiguration::Value(const QString& key) const
{
    return CfgCenter::Instance().Text(QStringLiteral("Administrator"), key);
}

void AdministratorConfiguration::SetValue(const QString& key, const QString& value)
{
    CfgCenter::Instance().SetValue(QStringLiteral("Administrator"), key, value);
}

QString AdministratorConfiguration::TavikDataDir() const
{
    QString directory = Value(QStringLiteral("TavikDataDir"));
    if (directory.isEmpty()) {
        const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        directory = base + QLatin1String("/kolta");
    }
    while (directory.endsWith(QLatin1Char('/')))
        directory.chop(1);
    return directory;
}

} // namespace Startup
