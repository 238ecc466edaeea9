#include "transcript.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace {

/// GUIDs with that between their parts.
QString guidForm(const char* dash)
{
    return QStringLiteral("[0-9a-fA-F]{8}(?:%1[0-9a-fA-F]{4}){3}%1[0-9a-fA-F]{12}").arg(QLatin1String(dash));
}

QString masked(QString text)
{
    static const QVector<QPair<QRegularExpression, QString>> masks{
        {QRegularExpression(QStringLiteral("20\\d\\d-\\d\\d-\\d\\dT[0-9:.]+Z?")), QStringLiteral("<time>")},
        {QRegularExpression(QStringLiteral("CREATED +")), QStringLiteral("CREATED ")},
        {QRegularExpression(QStringLiteral("= [0-9./]+ µs")), QStringLiteral("= <times>")},
        {QRegularExpression(QStringLiteral("(_us\":|\"id\":|timestamp=\"|Message id=\")[0-9.]+")),
         QStringLiteral("\\1<n>")},
        {QRegularExpression(QStringLiteral("<(\\w+)>\\d+</")), QStringLiteral("<\\1><n></")},
        {QRegularExpression(QStringLiteral("(listens on [0-9.:]+:)\\d+")), QStringLiteral("\\1<port>")}};
    for (const auto& [form, mask] : masks)
        text.replace(form, mask);
    return text;
}

QStringList guidsOf(const QString& text)
{
    QStringList guids;
    auto matches = QRegularExpression(guidForm("-")).globalMatch(text);
    while (matches.hasNext())
        guids.append(matches.next().captured().toLower());
    return guids;
}

QStringList trimmedLines(const QString& text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    // Most commands begin with it.
    lines.removeAll(QStringLiteral("kolta: the servers are simulated and end with this command"));
    while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

QVector<Example> readExamples(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const bool isPage = fileName.endsWith(QLatin1String(".md"));
    QVector<Example> examples;
    bool inExample = false;
    int number = 0;
    for (QString line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        ++number;
        const bool isText = isPage ? !line.startsWith(QLatin1String("    ")) && !line.isEmpty()
                                   : line.startsWith(QLatin1Char('#'));
        line = isPage ? line.mid(4) : line;
        const bool inShell = line.startsWith(QLatin1String("kolta> "));
        if (isText) {
            inExample = false;
        } else if (inShell || line.startsWith(QLatin1String("$ "))) {
            inExample = true;
            examples.append({number, inShell, line.mid(inShell ? 7 : 2), {}, isPage ? -1 : 0});
        } else if (inExample) {
            examples.last().expected.append(line);
        }
    }
    static const QRegularExpression exitCode(QStringLiteral("^\\[(\\d+)\\]$"));
    for (Example& example : examples) {
        example.expected = trimmedLines(example.expected.join(QLatin1Char('\n')));
        const auto match = exitCode.match(example.expected.isEmpty() ? QString() : example.expected.last());
        if (match.hasMatch()) {
            example.exitCode = match.captured(1).toInt();
            example.expected.removeLast();
        }
    }
    return examples;
}

/// `text` with each place of `from` in the place of the one of `to`, all in one pass: an address of this run
/// may be one of the document, or begin like one.
static QString withPlaces(const QString& text, const QStringList& from, const QStringList& to)
{
    if (from.isEmpty())
        return text;
    QStringList forms;
    for (const QString& place : from)
        forms.append(QRegularExpression::escape(place));
    const QRegularExpression any(QLatin1String("(?:") + forms.join(QLatin1Char('|')) +
                                     QLatin1String(")(?!\\d)"),
                                 QRegularExpression::CaseInsensitiveOption);
    QString result;
    int end = 0;
    for (auto matches = any.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const auto place = std::find_if(from.begin(), from.end(), [&match](const QString& candidate) {
            return candidate.compare(match.captured(), Qt::CaseInsensitive) == 0;
        });
        result += text.mid(end, match.capturedStart() - end) + to.at(int(place - from.begin()));
        end = match.capturedEnd();
    }
    return result + text.mid(end);
}

ExampleRunner::ExampleRunner(const QString& sourceFolder, bool strict) : m_strict(strict)
{
    for (const QString& folder : {QStringLiteral("share"), QStringLiteral("examples")})
        QFile::link(sourceFolder + QLatin1Char('/') + folder, m_folder.filePath(folder));
}

void ExampleRunner::endShell()
{
    if (!m_shell)
        return;
    m_shell->closeWriteChannel();
    m_shell->ends();
    m_shell.reset();
}

QString ExampleRunner::check(const Example& example)
{
    m_printed.clear();
    m_exitCode = run(example);
    QString problem;
    if (!matches(example.expected, m_printed))
        problem = QStringLiteral("expected\n%1\nprinted\n%2\n")
                      .arg(example.expected.join(QLatin1Char('\n')), m_printed.join(QLatin1Char('\n')));
    if (example.exitCode >= 0 && m_exitCode != example.exitCode)
        problem += QStringLiteral("exit code %1, expected %2").arg(m_exitCode).arg(example.exitCode);
    return problem.isEmpty() ? problem
                             : QStringLiteral("line %1: %2\n%3")
                                   .arg(QString::number(example.line), example.command, problem);
}

QStringList ExampleRunner::printed() const
{
    QStringList lines = m_printed;
    for (QString& line : lines) {
        line = withPlaces(line, m_places.values(), m_places.keys());
        line.replace(m_folder.path(), QStringLiteral("@"));
        if (m_strict)
            line = masked(line);
    }
    if (m_strict && m_exitCode != 0)
        lines.append(QStringLiteral("[%1]").arg(m_exitCode));
    return lines;
}

/// With the addresses and GUIDs of this run.
QString ExampleRunner::translated(const QString& text) const
{
    return withPlaces(text, m_places.keys(), m_places.values())
        .replace(QLatin1String("@/"), m_folder.path() + QLatin1Char('/'));
}

int ExampleRunner::run(const Example& example)
{
    const QString command = translated(example.command);
    if (example.inShell)
        return runInShell(command);
    const QStringList words = command.split(QLatin1Char(' '));
    const QString file = m_folder.path() + QLatin1Char('/') + words.last();
    if (command.endsWith(QLatin1Char('&')) && startServer(example.command)) {
        m_printed = example.expected;
        return 0;
    }
    if (words.size() == 2 && words.first() == QLatin1String("cat") && !QFile::exists(file)) {
        QFile made(file);
        if (made.open(QIODevice::WriteOnly))
            made.write(translated(example.expected.join(QLatin1Char('\n'))).toUtf8() + '\n');
        m_printed = example.expected;
        return 0;
    }
    if (words.value(1) == QLatin1String("shell") && !command.contains(QLatin1Char('<'))) {
        endShell();
        m_shellCommand = command;
        m_printed = example.expected; // the greeting, which only a terminal sees
        return 0;
    }
    Program process;
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.begin(QStringLiteral("sh"), {QStringLiteral("-c"), command});
    const int result = process.result();
    m_printed = trimmedLines(QString::fromUtf8(process.said()));
    return result;
}

/// What it prints ends where the shell complains that it does not hold what nothing holds.
int ExampleRunner::runInShell(const QString& command)
{
    if (!m_shell || m_shell->state() == QProcess::NotRunning) {
        m_shell = std::make_unique<Program>();
        m_shell->setWorkingDirectory(m_folder.path());
        m_shell->setProcessChannelMode(QProcess::MergedChannels);
        const QString shell = m_shellCommand.isEmpty() ? QStringLiteral("kolta shell") : m_shellCommand;
        m_shell->begin(QStringLiteral("sh"),
                       {QStringLiteral("-c"), QStringLiteral("exec %1 --keep-going").arg(shell)});
    }
    m_shell->write(command.toUtf8() + "\nexpect @@@\n");
    m_shell->says("(expect @@@) ended with exit code 1\n");
    QString text = QString::fromUtf8(m_shell->taken());
    text.truncate(text.indexOf(QStringLiteral("kolta: the command before has not printed \"@@@\"")));
    static const QRegularExpression end(
        QStringLiteral("kolta: line \\d+ \\(.*\\) ended with exit code (\\d)\\n$"));
    const auto match = end.match(text);
    if (match.hasMatch())
        text.truncate(match.capturedStart());
    m_printed = trimmedLines(text);
    return match.hasMatch() ? match.captured(1).toInt() : 0;
}

bool ExampleRunner::startServer(const QString& command)
{
    static const QRegularExpression form(QStringLiteral("^koltasim (.*)--listen (\\S+):(\\d+) ?(.*) ?&$"));
    const auto match = form.match(command);
    if (!match.hasMatch())
        return false;
    const QString host = match.captured(2);
    for (const QString& reachable : {host, QStringLiteral("127.0.0.1")}) { // a machine may have no IPv6
        auto server = std::make_unique<Program>();
        server->setWorkingDirectory(m_folder.path());
        const QString options = match.captured(1) + QLatin1Char(' ') + match.captured(4);
        server->begin(QStringLiteral("koltasim"),
                      QStringList{QStringLiteral("--listen"), reachable + QStringLiteral(":0")} +
                          options.split(QLatin1Char(' '), Qt::SkipEmptyParts));
        const QString port = server->line().section(QLatin1Char(':'), -1);
        if (port.isEmpty())
            continue;
        if (match.captured(3) != QLatin1String("0"))
            m_places.insert(host + QLatin1Char(':') + match.captured(3), reachable + QLatin1Char(':') + port);
        m_servers.push_back(std::move(server));
        return true;
    }
    return false;
}

bool ExampleRunner::matches(const QStringList& expected, const QStringList& printed, int e, int p)
{
    for (; e < expected.size(); ++e, ++p) {
        if (expected.at(e).trimmed() == QLatin1String("...")) {
            for (int rest = p; rest <= printed.size(); ++rest) {
                if (matches(expected, printed, e + 1, rest))
                    return true;
            }
            return false;
        }
        if (p >= printed.size() || !matchesLine(expected.at(e), printed.at(p)))
            return false;
    }
    return p == printed.size();
}

bool ExampleRunner::matchesLine(const QString& expected, const QString& printed)
{
    QString form = QRegularExpression::escape(masked(translated(expected)));
    form.replace(QStringLiteral("\\.\\.\\."), QStringLiteral(".*"));
    form.replace(QStringLiteral("\\<guid\\>"), QStringLiteral("\\{%1\\}").arg(guidForm("-")));
    if (!m_strict)
        form.replace(QRegularExpression(guidForm("\\\\-")), guidForm("-"));
    const QRegularExpression whole(QStringLiteral("^%1$").arg(form));
    return whole.match(masked(printed)).hasMatch() && (m_strict || learn(expected, printed));
}

/// A GUID of a page that is another one now is that one from now on.
bool ExampleRunner::learn(const QString& expected, const QString& printed)
{
    const QStringList there = guidsOf(expected);
    const QStringList here = guidsOf(printed);
    for (int i = 0; i < there.size() && there.size() == here.size(); ++i) {
        if (m_places.value(there.at(i), here.at(i)) != here.at(i))
            return false;
        if (there.at(i) != here.at(i))
            m_places.insert(there.at(i), here.at(i));
    }
    return true;
}
