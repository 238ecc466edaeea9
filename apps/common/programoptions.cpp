#include "programoptions.h"

#include "manualpage.h"

namespace KoltaApps {

ProgramOptions::ProgramOptions(ProgramText program, std::vector<OptionText> options,
                               QHash<QString, QStringList> choices)
    : m_program(std::move(program)), m_options(std::move(options)), m_choices(std::move(choices))
{
    m_parser.setApplicationDescription(QString::fromUtf8(m_program.description));
    for (const OptionText& text : m_options) {
        QCommandLineOption option(QString::fromLatin1(text.name), helpOf(text),
                                  QString::fromLatin1(text.value));
        if (text.preset)
            option.setDefaultValue(QString::fromLatin1(text.preset));
        m_parser.addOption(option);
    }
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
        for (const QString& word : m_choices.value(m_parser.value(choices)))
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

int ProgramOptions::choice(const char* name, QString& problem) const
{
    const QStringList words = m_choices.value(QLatin1String(name));
    const int place = words.indexOf(value(name));
    if (place < 0)
        problem = QStringLiteral("--%1: expected one of %2, found \"%3\"")
                      .arg(QLatin1String(name), words.join(QStringLiteral(", ")), value(name));
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

QString ProgramOptions::helpOf(const OptionText& option) const
{
    const QString help = QString::fromUtf8(option.help);
    const QStringList words = m_choices.value(QLatin1String(option.name));
    return words.isEmpty() ? help : help.arg(words.join(QStringLiteral(", ")));
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
    for (const OptionText& option : m_options)
        page.addEntry(
            QStringLiteral("--%1 %2").arg(QLatin1String(option.name), QLatin1String(option.value)).trimmed(),
            helpOf(option));
    page.addReferences(m_program.seeAlso);
    return page.write(folder, error);
}

} // namespace KoltaApps
