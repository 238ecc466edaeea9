#include <support/program.h>
#include <support/test.h>

namespace {

/// The console as nobody at a desktop starts it.
const Program::Variables noDisplay{
    {"DISPLAY", QString()}, {"WAYLAND_DISPLAY", QString()}, {"QT_QPA_PLATFORM", QString()}};

} // namespace

/// What the program says and how it ends, before there is a window.
class TestProgramEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// One line on standard error and exit code 2.
    void withOneLine_data()
    {
        const Rows<QString, QString, QString> row("words platform expected");
        row("nothing to show", "", "offscreen", "which installation?");
        row("unknown page", "--simulate --page x", "offscreen", "--page wants one of overview");
        row("no page", "--simulate --page=", "offscreen", "--page wants one of overview");
        row("no such server", "--simulate --screenshot x.png --vanish S9", "offscreen",
            "from S1 to S5, found \"S9\"");
        row("nobody to vanish", "--tree mqtt://h --vanish S1", "offscreen", "--simulate");
        row("nobody sees it vanish", "--simulate --vanish S1", "offscreen", "expected --screenshot with it");
        row("sizes of what is not simulated", "--tree mqtt://h --tuners 9", "offscreen",
            "--tuners: expected --simulate");
        row("no file", "--simulate --screenshot=", "offscreen", "png");
        row("no such picture", "--simulate --screenshot x.pgn", "offscreen", "found \"x.pgn\"");
        row("nobody to be asked", "--ask --screenshot x.png", "offscreen", "exclude each other");
        row("unknown option", "--simulate --pages", "offscreen", "pages");
        row("two installations", "--simulate --tree mqtt://h", "offscreen", "exclude each other");
        row("a URL that is none", "--tree nonsense", "offscreen", "expected mqtt");
        row("neither broker nor recording", "--tree nonsense:x", "offscreen", "or replay:FILE");
        row("no recording", "--tree replay:/no/such/file", "offscreen", "/no/such/file");
        row("no number", "--simulate --servers 0", "offscreen", "from 1 to 1000");
        row("no display", "--simulate", "", "DISPLAY is not set");
        row("a display that is not there", "--simulate", "xcb", "cannot be reached");
        row("no such platform", "--simulate", "nonsense", "no platform \"nonsense\"");
    }
    void withOneLine()
    {
        QFETCH(QString, words);
        QFETCH(QString, platform);
        QFETCH(QString, expected);
        auto variables = noDisplay;
        if (!platform.isEmpty())
            variables.append({"QT_QPA_PLATFORM", platform});
        if (platform == QLatin1String("xcb"))
            variables.append({"DISPLAY", QStringLiteral("127.0.0.1:9")});
        Program program(QStringLiteral(KOLTACONSOLE_PROGRAM), ::words(words), variables);
        QCOMPARE(program.result(), 2);
        const QString said = QString::fromLocal8Bit(program.complaints());
        QCOMPARE(said.count(QLatin1Char('\n')), 1);
        QVERIFY2(said.startsWith(QLatin1String("koltaconsole: ")) && said.contains(expected),
                 qPrintable(said));
    }

    /// Completion asks for them, at a terminal without a display too.
    void tellsChoices()
    {
        for (const auto& [option, expected] :
             {std::pair("--choices=theme", "light\ndark\nsystem\n"), std::pair("--choices=tree", "")}) {
            Program program(QStringLiteral(KOLTACONSOLE_PROGRAM), {QLatin1String(option)});
            QVERIFY(program.ends());
            QCOMPARE(program.said(), QByteArray(expected));
        }
    }

    /// A picture needs no display; one that cannot be written is an error.
    void photographs()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("page.png"));
        for (const QString& target : {file, folder.filePath(QStringLiteral("none/page.png"))}) {
            Program program(QStringLiteral(KOLTACONSOLE_PROGRAM),
                            {QStringLiteral("--simulate"), QStringLiteral("--screenshot=") + target},
                            noDisplay);
            QCOMPARE(program.result(), target == file ? 0 : 1);
        }
        QVERIFY(QFile(file).size() > 10000);
    }
};

KOLTA_TEST(TestProgramEnds);
#include "tst_console_program.moc"
