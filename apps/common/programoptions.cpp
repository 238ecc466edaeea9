#include "programoptions.h"

#include "manualpage.h"

namespace KoltaApps {

namespace {

QVector<Option> optionsOfAll()
{
    return {lettered('h', flag("help", "Shows this help.")),
            lettered('v', flag("version", "Displays version information.")),
            hidden(text("manual", "FOLDER", "")), hidden(text("choices", "OPTION", ""))};
}

} // namespace

ProgramOptions::ProgramOptions(ProgramText program, const QVector<Option>& options)
    : m_program(std::move(program)), m_options(options + optionsOfAll()), m_parser(m_program.description)
{
    m_parser.add(m_options);
}

ProgramOptions::Result ProgramOptions::read(const QStringList& arguments, QString& text)
{
    text = m_parser.read(arguments.mid(1));
    if (!text.isEmpty())
        return Result::Wrong;
    if (has("manual"))
        return writeManual(value("manual"), text) ? Result::Show : Result::Failed;
    if (has("choices")) {
        const QString option = value("choices");
        for (const QString& word : option.isEmpty() ? spellingsOf(m_options) : m_parser.choicesOf(option))
            text += word + QLatin1Char('\n');
        return Result::Show;
    }
    if (has("help"))
        text = m_parser.help();
    else if (has("version"))
        text = QStringLiteral("%1 " KOLTA_VERSION "\n").arg(QLatin1String(m_program.name));
    if (!text.isEmpty())
        return Result::Show;
    const QStringList words = m_parser.arguments();
    text = words.isEmpty() ? m_parser.problemOfValues()
                           : QStringLiteral("found \"%1\", expected options only").arg(words.first());
    return text.isEmpty() ? Result::Run : Result::Wrong;
}

QString ProgramOptions::problemOfPairs(std::initializer_list<std::pair<const char*, const char*>> pairs) const
{
    for (const auto& [name, needed] : pairs) {
        if (has(name) && !has(needed))
            return QStringLiteral("--%1: expected --%2 with it")
                .arg(QLatin1String(name), QLatin1String(needed));
    }
    return QString();
}

bool ProgramOptions::writeManual(const QString& folder, QString& error) const
{
    const QString name = QString::fromLatin1(m_program.name);
    ManualPage page(name, QString::fromUtf8(m_program.summary), QStringLiteral(KOLTA_VERSION));
    page.addSection(QStringLiteral("SYNOPSIS"));
    page.addUsage(name, QStringLiteral("[options]"));
    page.addSection(QStringLiteral("DESCRIPTION"));
    page.addText(QString::fromUtf8(m_program.description));
    page.addSection(QStringLiteral("OPTIONS"));
    page.addOptions(m_options);
    page.addReferences(m_program.seeAlso);
    return page.write(folder, error);
}

} // namespace KoltaApps
