#pragma once

#include <QByteArray>
#include <QString>

/// The folder of the sample installation, or of the one that is called so: `installationFolder("noclasses")`.
QString installationFolder(const char* variant = "");

/// Copies the installation in `from` to the folder `to`; there `file` holds `content` then. False when a file
/// cannot be read or written.
bool copyInstallation(const QString& from, const QString& to, const char* file, const QByteArray& content);
