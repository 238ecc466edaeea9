#include "manualpage.h"

#include <QDir>
#include <QSaveFile>

namespace KoltaApps {

namespace {

/// Such that it is shown as it is, wherever in a line it stands but at its beginning.
QString escaped(const QString& text)
{
    QString result = text.simplified();
    result.replace(QLatin1Char('\\'), QLatin1String("\\e"));
    result.replace(QLatin1Char('-'), QLatin1String("\\-"));
    return result;
}

/// A whole line, which is no command of the formatter.
QString line(const QString& text)
{
    return QLatin1String("\\&") + escaped(text) + QLatin1Char('\n');
}

QString bold(const QString& text)
{
    return QLatin1String("\\fB") + escaped(text) + QLatin1String("\\fR");
}

/// Within the quotes of a command's argument.
QString quoted(const QString& text)
{
    return QLatin1Char('"') + escaped(text).replace(QLatin1Char('"'), QLatin1String("\\(dq")) +
           QLatin1Char('"');
}

} // namespace

ManualPage::ManualPage(const QString& name, const QString& summary, const QString& version)
    : m_name(name)
    , m_text(QStringLiteral(".TH %1 1 \"\" %2 %3\n.ad l\n.nh\n")
                 .arg(quoted(name.toUpper()), quoted(QStringLiteral("KoltaCommon ") + version),
                      quoted(QStringLiteral("User Commands"))))
{
    addSection(QStringLiteral("NAME"));
    m_text += escaped(name) + QLatin1String(" \\- ") + escaped(summary) + QLatin1Char('\n');
}

void ManualPage::addSection(const QString& title)
{
    m_text += QLatin1String(".SH ") + quoted(title) + QLatin1Char('\n');
}

void ManualPage::addUsage(const QString& words, const QString& rest)
{
    m_text += bold(words) + QLatin1Char(' ') + escaped(rest) + QLatin1Char('\n');
}

void ManualPage::addText(const QString& text)
{
    m_text += QLatin1String(".PP\n") + line(text);
}

void ManualPage::addEntry(const QString& term, const QString& text)
{
    const QString first = term.section(QLatin1Char(' '), 0, 0);
    const QString rest = term.mid(first.size() + 1);
    m_text += QLatin1String(".TP\n") + bold(first);
    if (!rest.isEmpty())
        m_text += QLatin1Char(' ') + escaped(rest);
    m_text += QLatin1Char('\n') + line(text);
}

void ManualPage::addOptions(const QVector<Option>& options)
{
    for (const Option& option : options) {
        QString term = option.spellings().join(QLatin1String(", "));
        if (option.value != Value::None)
            term += QLatin1Char(' ') + QString::fromUtf8(option.valueName).toUpper();
        if (!option.isHidden)
            addEntry(term, option.fullHelp());
    }
}

void ManualPage::addReferences(const QStringList& names)
{
    QStringList pages;
    for (const QString& name : names)
        pages.append(bold(name) + QLatin1String("(1)"));
    addSection(QStringLiteral("SEE ALSO"));
    m_text += pages.join(QLatin1String(",\n")) + QLatin1Char('\n');
}

bool ManualPage::write(const QString& folder, QString& error) const
{
    QDir().mkpath(folder);
    QSaveFile file(QDir(folder).filePath(m_name + QLatin1String(".1")));
    if (file.open(QIODevice::WriteOnly) && file.write(m_text.toUtf8()) >= 0 && file.commit())
        return true;
    error = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
    return false;
}

} // namespace KoltaApps
