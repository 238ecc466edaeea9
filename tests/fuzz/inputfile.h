#pragma once

#include "fuzz.h"

#include <QFile>
#include <QTemporaryDir>

namespace Fuzz {

/// A file that holds one input after the other, for what reads files only.
class InputFile
{
public:
    QString path() const { return m_folder.filePath(QStringLiteral("input")); }
    void write(const QByteArray& content) const
    {
        QFile file(path());
        require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(),
                "the input cannot be written");
    }

private:
    QTemporaryDir m_folder;
};

} // namespace Fuzz
