#include "standardstreams.h"

#include <QFile>

namespace KoltaCli {

bool isStandardStream(const QString& fileName)
{
    return fileName == QLatin1String("-");
}

QString nameOfInput(const QString& fileName)
{
    return isStandardStream(fileName) ? QStringLiteral("standard input") : fileName;
}

bool readInput(const QString& fileName, qint64 maxBytes, QByteArray& bytes, QString& error)
{
    QFile file(fileName);
    bool good =
        isStandardStream(fileName) ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    // Piece by piece and not by the file's size: a pipe has none and gives what it has.
    QByteArray piece;
    do {
        piece = good ? file.read(maxBytes + 1 - bytes.size()) : QByteArray();
        bytes += piece;
    } while (!piece.isEmpty() && bytes.size() <= maxBytes);
    good = good && file.error() == QFile::NoError;
    if (!good)
        error = QStringLiteral("cannot read %1: %2").arg(nameOfInput(fileName), file.errorString());
    else if (bytes.size() > maxBytes)
        error = QStringLiteral("%1 holds more than the %2 bytes that it may have")
                    .arg(nameOfInput(fileName), QString::number(maxBytes));
    return good && bytes.size() <= maxBytes;
}

} // namespace KoltaCli
