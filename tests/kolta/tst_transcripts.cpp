#include "transcript.h"

#include <support/test.h>

/// The programs as their users meet them: every example of docs/commands.md and docs/monitoring.md, and
/// transcripts of what else they do. With KOLTA_REFRESH set a document whose examples print something else is
/// written anew.
class TestTranscripts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void printsWhatIsWritten_data();
    void printsWhatIsWritten();
};

void TestTranscripts::initTestCase()
{
    const QByteArray programs = QFile::encodeName(QFileInfo(QStringLiteral(KOLTA_PROGRAM)).path());
    qputenv("PATH", programs + ':' + qgetenv("PATH"));
    qputenv("COLUMNS", "200");
    qunsetenv("TERM");
}

void TestTranscripts::printsWhatIsWritten_data()
{
    QTest::addColumn<QString>("fileName");
    const QDir transcripts(QStringLiteral(KOLTA_SOURCE_DIR "/tests/kolta/transcripts"));
    QStringList files{QStringLiteral(KOLTA_SOURCE_DIR "/docs/commands.md"),
                      QStringLiteral(KOLTA_SOURCE_DIR "/docs/monitoring.md")};
    for (const QString& name : transcripts.entryList({QStringLiteral("*.txt")}, QDir::Files))
        files.append(transcripts.filePath(name));
    for (const QString& file : qAsConst(files))
        QTest::newRow(QFileInfo(file).fileName().toUtf8().constData()) << file;
}

/// `lines` with what the example prints in the place of what it should.
static void refresh(QStringList& lines, const Example& example, const QStringList& printed, bool isPage)
{
    QStringList text;
    for (const QString& line : printed)
        text.append(isPage && !line.isEmpty() ? QStringLiteral("    ") + line : line);
    if (!text.isEmpty())
        lines[example.line - 1] += QLatin1Char('\n') + text.join(QLatin1Char('\n'));
    const int codeLines = !isPage && example.exitCode != 0 ? 1 : 0;
    for (int i = 0; i < example.expected.size() + codeLines; ++i)
        lines[example.line + i] = QString(QChar::Null);
}

void TestTranscripts::printsWhatIsWritten()
{
    QFETCH(QString, fileName);
    const bool isPage = fileName.endsWith(QLatin1String(".md"));
    const QVector<Example> examples = readExamples(fileName);
    QVERIFY(!examples.isEmpty());
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    ExampleRunner runner(QStringLiteral(KOLTA_SOURCE_DIR), !isPage);
    QStringList problems;
    for (const Example& example : examples) {
        const QString problem = runner.check(example);
        if (problem.isEmpty())
            continue;
        qWarning("%s", qPrintable(problem)); // longer than a failure may be
        problems.append(QString::number(example.line));
        refresh(lines, example, runner.printed(), isPage);
    }
    if (!problems.isEmpty() && qEnvironmentVariableIsSet("KOLTA_REFRESH")) {
        lines.removeAll(QString(QChar::Null));
        QFile out(fileName);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(lines.join(QLatin1Char('\n')).toUtf8());
    }
    QVERIFY2(problems.isEmpty(), qPrintable(QStringLiteral("lines ") + problems.join(QStringLiteral(", "))));
}

KOLTA_TEST(TestTranscripts);
#include "tst_transcripts.moc"
