#pragma once

#include <startup/export.h>

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <mutex>

namespace Startup {

/// The application's configuration: groups of keys over one INI file in UTF-8.
///
/// The file is, in this order: the one given to Open(), the environment variable KOLTA_CONFIG,
/// "<generic configuration location>/kolta/kolta.ini". A missing file reads as empty and is written on the
/// first SetValue(). Any character may be used in groups and keys; in the file they appear with "/", "\" and
/// "%" escaped. The group "General" (and the empty one) holds what the file says before its first section or
/// in its section [General]. All operations may be called from any thread.
class KOLTA_STARTUP_EXPORT CfgCenter
{
public:
    static CfgCenter& Instance();

    /// Uses `file` from now on. Returns false, with a trace line naming the file and the reason, when the
    /// file exists but cannot be read or parsed; the configuration is then empty and read-only.
    bool Open(const QString& file);
    /// Path of the file in use.
    QString FileName() const;

    /// The value of `key` in `group`, or `defaultValue` when it is not set.
    QVariant Value(const QString& group, const QString& key, const QVariant& defaultValue = QVariant()) const;
    /// Value() as text. A text with commas that the file does not put in quotes comes back with ", " between
    /// its parts.
    QString Text(const QString& group, const QString& key, const QString& defaultValue = QString()) const;
    /// Sets and writes through to the file. Returns false, with a trace line, when the file cannot be
    /// written; the value then holds for this process only, until another file is opened. An empty key is
    /// refused.
    bool SetValue(const QString& group, const QString& key, const QVariant& value);
    /// Removes the key, also from the file; a trace line tells when that cannot be written.
    void Remove(const QString& group, const QString& key);
    /// The keys of one group, sorted.
    QStringList Keys(const QString& group) const;

    CfgCenter(const CfgCenter&) = delete;
    CfgCenter& operator=(const CfgCenter&) = delete;

private:
    struct Store;

    CfgCenter();
    ~CfgCenter();
    std::unique_lock<std::mutex> lockOpened() const;
    bool write(const QString& group, const QString& key, const QVariant& value);

    const std::unique_ptr<Store> m_store;
};

/// The administrator's settings of this machine: the group "Administrator" of the same file.
class KOLTA_STARTUP_EXPORT AdministratorConfiguration
{
public:
    static AdministratorConfiguration& Instance();

    /// The value of `key`, or an empty text.
    QString Value(const QString& key) const;
    void SetValue(const QString& key, const QString& value);
    /// "TavikDataDir": the installation's data folder, without a trailing slash.
    /// Default: "<generic data location>/kolta".
    QString TavikDataDir() const;

    AdministratorConfiguration(const AdministratorConfiguration&) = delete;
    AdministratorConfiguration& operator=(const AdministratorConfiguration&) = delete;

private:
    AdministratorConfiguration() = default;
};

} // namespace Startup
