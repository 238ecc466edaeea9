#include "installation.h"

#include "files.h"
#include "text.h"

#include <QDir>

QString installationFolder(const char* variant)
{
    const QString sample = QStringLiteral(KOLTA_INSTALLATION_DIR);
    return *variant ? sample + QLatin1Char('-') + QLatin1String(variant) : sample;
}

bool copyInstallation(const QString& from, const QString& to, const char* file, const QByteArray& content)
{
    for (const QString& name : QDir(from).entryList(QDir::Files)) {
        if (name != QLatin1String(file) && !QFile::copy(from + "/"_s + name, to + "/"_s + name))
            return false;
    }
    return writeFile(to + "/"_s + QLatin1String(file), content);
}
