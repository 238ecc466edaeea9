#include "programoptions.h"

#include "manualpage.h"

namespace KoltaApps {

ProgramOptions::ProgramOptions(ProgramText program, const QVector<Option>& options)
    : m_program(std::move(program)), m_options(options)
{
    m_parser.setApplicationDescription(QString::fromUtf8(m_program.description));
    for (const Option& option : m_options)
        m_parser.addOption({QString::fromLatin1(option.name), option.fullHelp(),
                            QString::fromUtf8(option.valueName), QString::fromUtf8(option.preset)});
}

ProgramOptions::Result ProgramOptions::read(const QStringList& arguments, QString& text)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    m_parser.addOption(help);
    const QCommandLineOption version = m_parser.addVersionOption();
    QCommandLineOption manual(QStringLiteral("manual"), QString(), QStringLiteral("FOLDER"));
    QCommandLineOption choices(QStringLiteral("choices"), QString(), QStringLiteral("OPTION"));
    for (QCommandLineOption* const hidden : {&manual, &choices}) {
        hidden->setFlags(QCommandLineOption::HiddenFromHelp);
        m_parser.addOption(*hidden);
    }

    if (!m_parser.parse(arguments)) {
        text = m_parser.errorText();
        return Result::Wrong;
    }
    text.clear();
    if (m_parser.isSet(manual))
        return writeManual(m_parser.value(manual), text) ? Result::Show : Result::Failed;
    if (m_parser.isSet(choices)) {
        for (const QString& word : choicesOf(m_parser.value(choices)))
            text += word + QLatin1Char('\n');
        return Result::Show;
    }
    if (m_parser.isSet(help))
        text = m_parser.helpText();
    else if (m_parser.isSet(version))
        text = QStringLiteral("%1 " KOLTA_VERSION "\n").arg(QLatin1String(m_program.name));
    if (!text.isEmpty())
        return Result::Show;
    const QStringList words = m_parser.positionalArguments();
    if (words.isEmpty())
        return Result::Run;
    text = QStringLiteral("found \"%1\", expected options only").arg(words.first());
    return Result::Wrong;
}

QStringList ProgramOptions::choicesOf(const QString& name) const
{
    for (const Option& option : m_options) {
        if (name == QLatin1String(option.name))
            return option.choices;
    }
    return {};
}

int ProgramOptions::choice(const char* name, QString& problem) const
{
    const QStringList words = choicesOf(QLatin1String(name));
    const int place = words.indexOf(value(name));
    if (place < 0)
        problem = QStringLiteral("--%1: expected one of %2, found \"%3\"")
                      .arg(QLatin1String(name), listed(words), value(name));
    return place;
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
    for (const Option& option : m_options)
        page.addEntry(
            QStringLiteral("%1 %2").arg(option.typed(), QString::fromUtf8(option.valueName)).trimmed(),
            option.fullHelp());
    page.addReferences(m_program.seeAlso);
    return page.write(folder, error);
}

} // namespace KoltaApps
