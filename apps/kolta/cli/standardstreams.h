#pragma once

#include <QByteArray>
#include <QString>

namespace KoltaCli {

/// Whether a file name stands for standard input or standard output: "-".
bool isStandardStream(const QString& fileName);
/// As messages call it: "standard input" for "-".
QString nameOfInput(const QString& fileName);
/// Reads a file, or standard input, of at most `maxBytes`. On failure the result is false and `error` names
/// the file and the reason.
bool readInput(const QString& fileName, qint64 maxBytes, QByteArray& bytes, QString& error);

} // namespace KoltaCli
