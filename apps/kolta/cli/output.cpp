#include "output.h"

#include "interruption.h"
#include "terminal.h"

#include <startup/onelinetext.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <cerrno>
#include <cstdio>

#include <utility>

namespace KoltaCli {

namespace {

constexpr int kDigitsInJson = 12;
const char kBold[] = "\033[1m";
const char kRed[] = "\033[31m";
const char kPlain[] = "\033[0m";

constexpr int kBlanksSetIn = 3;

bool isLost = false;
int manners = OutputManner::eAsUsual;
OutputManner* innermost = nullptr;

QString printable(QString text, bool isOneLine)
{
    for (QChar& letter : text) {
        const bool isAllowed = letter == QLatin1Char('\n') && !isOneLine;
        if (!isAllowed && Startup::forgesLines(letter))
            letter = QChar::ReplacementCharacter;
    }
    return text;
}

bool write(FILE* file, const QByteArray& bytes)
{
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, file) == size && std::fflush(file) == 0;
}

QByteArray setIn(const QByteArray& bytes)
{
    QByteArrayList lines = bytes.split('\n');
    for (QByteArray& line : lines) {
        if (!line.isEmpty())
            line.prepend(QByteArray(kBlanksSetIn, ' '));
    }
    return lines.join('\n');
}

void writeOutput(QByteArray bytes)
{
    if (manners & OutputManner::eSetIn)
        bytes = setIn(bytes);
    if (isLost || (manners & OutputManner::eSilent) || write(stdout, bytes))
        return;
    const int error = errno;
    isLost = true;
    if (error != EPIPE)
        printError(QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(error)));
}

QJsonValue rounded(const QJsonValue& value)
{
    if (value.isDouble())
        return QString::number(value.toDouble(), 'g', kDigitsInJson).toDouble();
    if (value.isArray()) {
        QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i)
            array[i] = rounded(array.at(i));
        return array;
    }
    if (!value.isObject())
        return value;
    QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member)
        member.value() = rounded(member.value());
    return object;
}

} // namespace

void remember(const QString& text)
{
    for (OutputManner* manner = innermost; manner; manner = manner->m_outer)
        manner->m_lines += text.split(QLatin1Char('\n'));
}

OutputManner::OutputManner(int added) : m_outer(innermost), m_outerManners(manners)
{
    innermost = this;
    manners |= added;
}

OutputManner::~OutputManner()
{
    innermost = m_outer;
    manners = m_outerManners;
}

void printLine(const QString& text)
{
    remember(text);
    writeOutput(printable(text, false).toUtf8() + '\n');
}

void printHeading(const QString& text)
{
    remember(text);
    const QByteArray bytes = printable(text, true).toUtf8();
    writeOutput(hasColour(fileno(stdout)) ? QByteArray(kBold + bytes + kPlain + '\n')
                                          : QByteArray(bytes + '\n'));
}

void printError(const QString& text)
{
    remember(QStringLiteral("kolta: ") + text);
    if (manners & OutputManner::eErrorsAsOutput)
        return writeOutput("kolta: " + printable(text, true).toUtf8() + '\n');
    if (manners & OutputManner::eSilent)
        return;
    const QByteArray name =
        hasColour(fileno(stderr)) ? QByteArray(kRed) + "kolta:" + kPlain : QByteArray("kolta:");
    write(stderr, name + ' ' + printable(text, true).toUtf8() + '\n');
}

void printJson(const QJsonObject& object)
{
    printLine(QString::fromUtf8(QJsonDocument(rounded(object).toObject()).toJson(QJsonDocument::Compact)));
}

int blanksBeforeOutput()
{
    return manners & OutputManner::eSetIn ? kBlanksSetIn : 0;
}

QString counted(int number, const QString& noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(number), noun,
                                         number == 1 ? QString() : QStringLiteral("s"));
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

QString secondsText(int milliseconds)
{
    return QString::number(milliseconds / 1000.0) + QStringLiteral(" s");
}

QString orInterrupted(const QString& text)
{
    return isInterrupted() ? QStringLiteral("interrupted") : text;
}

bool outputIsLost()
{
    return isLost;
}

void setOutputLost()
{
    isLost = true;
}

namespace {
int startFailure = eExitFailed;
}

int takeStartFailure()
{
    return std::exchange(startFailure, eExitFailed);
}

void setStartFailure(int exitCode)
{
    startFailure = exitCode;
}

} // namespace KoltaCli
