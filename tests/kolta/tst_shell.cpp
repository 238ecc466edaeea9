#include "program.h"
#include "terminal.h"
#include <support/installation.h>

#include <xmlmessaging/server.h>

namespace {

const char* const noSuchResource = "send %1 " KOLTA_MESSAGES_DIR "/no-such-resource.xml\n";

} // namespace

/// The shell at a pipe and at a terminal, and the commands that only look at the user.
class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsScripts_data();
    void runsScripts();
    void leavesNothingBehind();
    void runsLinesAsTheyCome();
    void talksAtATerminal();
    void listsRights();
};

void TestShell::runsScripts_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output"); ///< parts in their order, separated by bars
    QTest::addColumn<QString>("errors"); ///< all of it
    const auto row = [](const char* name, const char* options, const QByteArray& script, int exitCode,
                        const char* output, const char* errors) {
        QTest::newRow(name) << words(options) << script << exitCode << words(output) << words(errors);
    };
    const char* const tuner = "ZELM 7 West";
    row("nothing", "", "", 0, "", "");
    row("comments and blanks", "", "\n# dance\n   \t\n  #\r\n", 0, "", "");
    row("quotes, ends of lines", "", "select \"Basic hardware\"\r\n\tselect   HF  --json", 0,
        "ZELM 7 West|\"tuner\":\"KW 1 S", "");
    row("ends by itself", "", "select HF\nexit\ndance\n", 0, "KW 1", "");
    row("stops at a failure", "", "\nselect HF\nselect \"no such\"\nselect HF\n", 1, "KW 1",
        "kolta: there is no tuner class \"no such\"; known: HF, VHF/UHF, Basic, Basic hardware, Wide, "
        "Direction finding\nkolta: line 3 (select \"no such\") ended with exit code 1\n");
    row("stops at wrong words", "", "dance\nselect HF\n", 2, "",
        "kolta: there is no command \"dance\". Try \"help\".\nkolta: line 1 (dance) ended with exit code "
        "2\n");
    row("keeps going", "--keep-going", "shell\nexit now\nrights --user me\nselect \"Basic hardware\"\n", 2,
        tuner,
        "kolta: a shell runs already. Try \"kolta shell --help\".\n"
        "kolta: line 1 (shell) ended with exit code 2\n"
        "kolta: \"exit\" takes no arguments\nkolta: line 2 (exit now) ended with exit code 2\n"
        "kolta: there is no user \"me\"; known: administrator, operator, visitor\n"
        "kolta: line 3 (rights --user me) ended with exit code 1\n");
    row("one installation", "--installation " KOLTA_INSTALLATION_DIR "-noclasses", "select HF\n", 1, "",
        "kolta: there is no tuner class \"HF\"; known: KW, EB, ZELM_5M, ZELM_10M, ZELM_HW20M, "
        "ZELM_HW80M\nkolta: line 1 (select HF) ended with exit code 1\n");
    row("no other", "", "classes --installation /\n", 1, "",
        "kolta: --installation has no place within a shell, which has its own already; give it to \"kolta "
        "shell\"\nkolta: line 1 (classes --installation /) ended with exit code 1\n");
    row("input stays the shell's", "--keep-going", "send 127.0.0.1:1 -\nselect \"Basic hardware\"\n", 1,
        tuner,
        "kolta: standard input: line 1, column 1: no element, expected a root element\n"
        "kolta: line 1 (send 127.0.0.1:1 -) ended with exit code 1\n");
    row("twice the same", "", "demo\nselect HF\ndemo\nclasses\nhelp\n", 0,
        "40 texts, kept in /|. Summary|KW 1|40 texts, kept in /|. Summary|Basic hardware|Commands:", "");
}

void TestShell::runsScripts()
{
    QFETCH(QString, options);
    QFETCH(QByteArray, script);
    QFETCH(QString, output);
    KoltaRun kolta(QStringList{words("shell")} + options.split(QLatin1Char(' '), Qt::SkipEmptyParts), script);
    QTEST(kolta.errors(), "errors");
    QTEST(kolta.exitCode(), "exitCode");
    int place = 0;
    for (const QString& part : output.split(QLatin1Char('|'), Qt::SkipEmptyParts)) {
        place = kolta.output().indexOf(part, place);
        QVERIFY2(place >= 0, qPrintable(part + QLatin1Char('\n') + kolta.output()));
        place += part.size();
    }
    QCOMPARE(kolta.output().isEmpty(), output.isEmpty());
}

/// Neither the user nor the configuration and the texts of faults of one command are the next one's.
void TestShell::leavesNothingBehind()
{
    Server server;
    const QString script = words("rights --json --user visitor\nrights --json\n") +
                           words(noSuchResource).replace(words("send"), words("send --faults")) +
                           words(noSuchResource);
    KoltaRun kolta({words("shell"), words("--keep-going")}, script.arg(server.address).toUtf8());
    QCOMPARE(kolta.output().count(words("\"user\":\"visitor\"")), 22);
    QCOMPARE(kolta.output().count(words("\"user\":\"operator\"")), 22);
    const QString errors = kolta.errors();
    const int known = errors.indexOf(words("kolta: No such resource ("));
    const int unknown = errors.indexOf(words("unknown Fault ID: 201>"));
    QVERIFY2(known >= 0 && unknown > known, qPrintable(errors));
}

void TestShell::runsLinesAsTheyCome()
{
    for (const bool byHand : {false, true}) {
        QProcess kolta;
        kolta.start(QStringLiteral(KOLTA_PROGRAM), {words("shell")});
        QByteArray output;
        for (const char* line : {"select HF\n", "select \"Basic hard", "ware\"\n"})
            kolta.write(line);
        QVERIFY(QTest::qWaitFor([&] { return (output += kolta.readAll()).contains("ZELM 7 West"); }, 20000));
        if (byHand)
            kolta.terminate(); // heard while it waits for the next line
        else
            kolta.closeWriteChannel();
        QVERIFY(kolta.waitForFinished());
        QCOMPARE(kolta.exitStatus(), QProcess::NormalExit);
        QCOMPARE(kolta.exitCode(), byHand ? 1 : 0);
    }
}

void TestShell::talksAtATerminal()
{
    XmlCommunication::CServer silent; // takes connections and says nothing
    QVERIFY(silent.listen(QHostAddress(QHostAddress::LocalHost), 0));
    const QByteArray address = "127.0.0.1:" + QByteArray::number(silent.port());
    QTemporaryDir home;
    Terminal terminal({words("shell")}, home.path());
    QVERIFY(terminal.shows("S1 runs in this process.") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("sel\tHF\n"));
    QVERIFY(terminal.shows("KW 1 S") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("\x10\x01"
                          "classes\x0b\n")); // the line before, changed
    QVERIFY(terminal.shows("Direction finding") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("dem\t"));
    QVERIFY(terminal.shows("demand-classes  demo\r\n") && terminal.shows("kolta> dem"));
    QVERIFY(terminal.type("\x03")); // the line goes, nothing else
    QVERIFY(terminal.shows("^C") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("listen --c\t1 --t\t"));
    QVERIFY(terminal.shows("--count 1 --t") && terminal.shows("--timeout  --trace\r\n"));
    QVERIFY(terminal.type("\x15nonsense \xc3\xbc\n"));
    QVERIFY(terminal.shows("there is no command \"nonsense\"") && terminal.shows("kolta> "));
    for (const QByteArray command :
         {"describe --timeout 60 ", "listen --timeout 60 ", "ping --timeout 60 "}) {
        QVERIFY(terminal.type(command + address + '\n'));
        QTRY_COMPARE(silent.links().size(), 1);
        QVERIFY(terminal.type("\x03")); // the command goes, the shell stays
        QVERIFY(terminal.shows("kolta: interrupted") && terminal.shows("kolta> "));
        QTRY_VERIFY(silent.links().isEmpty());
    }
    QVERIFY(terminal.type("select \"Basic hardware\"\n"));
    QVERIFY(terminal.shows("ZELM 7 West") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("\x04"));
    QVERIFY(terminal.ends());
    QCOMPARE(terminal.exitStatus(), QProcess::NormalExit);
    QCOMPARE(terminal.exitCode(), 0);
    QVERIFY(QDir(home.path()).isEmpty());
}

void TestShell::listsRights()
{
    KoltaRun table({words("rights")});
    for (const char* line : {"operator (user 2) is logged in\n", "StartAndStopFfp         yes      40\n",
                             "AdministrateSubsystem   no        0\n"})
        QVERIFY2(table.output().contains(words(line)), qPrintable(table.output()));
    QCOMPARE(table.output().count(QLatin1Char('\n')), 24);

    QTemporaryDir folder;
    QVERIFY(copyInstallation(words(KOLTA_INSTALLATION_DIR "-noclasses"), folder.path(), "users.xml",
                             "<Users>\n<User/></Users>"));
    KoltaRun refused({words("rights"), words("--installation"), folder.path()});
    QCOMPARE(refused.exitCode(), 1);
    QCOMPARE(refused.output(), QString());
    QCOMPARE(refused.errors(), words("kolta: %1:2: <User> has id=\"\", expected a whole number from 0 to "
                                     "2147483647\n")
                                   .arg(folder.filePath(words("users.xml"))));
}

QTEST_GUILESS_MAIN(TestShell)
#include "tst_shell.moc"
