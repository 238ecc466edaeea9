#include "program.h"

#include <QFile>
#include <QTemporaryDir>

/// The commands on short-time data. What one changes the next one in a shell finds.
class TestShortTimeCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void livesAWholeLife();
    void comparesFiles();
    void refuses_data();
    void refuses();

private:
    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    void write(const char* name, const QByteArray& content) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    /// The words are separated by blanks; "%" stands for the folder.
    QStringList wordsOf(const QString& line) const
    {
        QStringList words = line.split(QLatin1Char(' '));
        for (QString& word : words)
            word.replace(QLatin1Char('%'), m_folder.path());
        return words;
    }

    QTemporaryDir m_folder;
};

void TestShortTimeCommands::initTestCase()
{
    const QByteArray one = "<ShortTimeProfiles>\n<Profile name=\"A\"><FrequencyRange status=\"1\">1,2"
                           "</FrequencyRange><HopRate status=\"1\">2.5</HopRate></Profile>\n";
    const QByteArray end = "</ShortTimeProfiles>";
    write("one.xml", one + "<Profile name=\"B\"/>" + end);
    write("two.xml", QByteArray(one).replace("1,2", "1,3") + "<Profile name=\"C\"/>" + end);
    write("twice.xml", one + "<Profile name=\"A\"/>" + end);
    write("bad.xml", one + "<Profile name=\"B\"><HopRate>fast</HopRate></Profile>" + end);
    write("more.xml", one + "<Colour/>" + end);
}

void TestShortTimeCommands::livesAWholeLife()
{
    const QByteArray ffp = " 0D0D0D0D-0000-4000-8000-00000000000D ";
    const QByteArray folder = QFile::encodeName(m_folder.path());
    const QPair<QByteArray, const char*> life[] = {
        {"profiles show \"VHF hopper 100\"", "PROFILE      VHF hopper 100\n"
                                             "Type         unspecified\n"
                                             "Frequency    30000000 to 88000000 Hz\n"
                                             "Duration     7000 to 9500\n"
                                             "Bandwidth    16000 to 25000 Hz\n"
                                             "Symbol rate  15800 to 16200 Bd\n"
                                             "Shift        7500 to 8500 Hz\n"
                                             "Hop rate     100 /s\n"
                                             "Modulation   FSK2\n"},
        {"profiles import " + folder + "/one.xml --type burst",
         "2 profiles read, 2 of them new; S1 now has 24\n"},
        // Keeps the types of those that it knows.
        {"profiles import " + folder + "/two.xml --replace --json",
         "{\"new\":1,\"profiles\":2,\"read\":2}\n"},
        {"profiles list",
         "NAME  TYPE         FREQUENCY  DURATION  BANDWIDTH  SYMBOL RATE  SHIFT  HOP RATE  MODULATION\n"
         "A     burst        1 to 3 Hz                                           2.5 /s\n"
         "C     unspecified\n"},
        {"profiles show A --json",
         "{\"frequency\":[1,3],\"hopRate\":2.5,\"name\":\"A\",\"type\":\"burst\"}\n"},
        {"profiles import " + folder + "/bad.xml", ""},
        {"profiles export " + folder + "/out.xml --json --timeout 9",
         "{\"file\":\"@/out.xml\",\"profiles\":2}\n"},
        {"profiles diff " + folder + "/two.xml " + folder + "/out.xml", "the 2 profiles are the same\n"},
        {"profiles export " + folder + "/none/out.xml", ""},
        {"assignments list", "nothing is assigned\n"},
        {"assignments set" + ffp + "--profiles \"C, A\" --radio 7 --record",
         "S1 has assigned 2 profiles to the FFP {0d0d0d0d-0000-4000-8000-00000000000d}\n"},
        {"assignments set" + ffp + "--profiles B", ""},
        // What is not given stays.
        {"assignments set" + ffp + "--coverage 70 --resource 3 --disabled --json",
         "{\"coverage\":70,\"enabled\":false,\"ffp\":\"{0d0d0d0d-0000-4000-8000-00000000000d}\","
         "\"granted\":true,\"profiles\":[\"C\",\"A\"],\"radio\":7,\"record\":false,\"resource\":3}\n"},
        {"assignments show" + ffp,
         "FFP                                     ENABLED  RECORD  COVERAGE %  RADIO  RESOURCE  PROFILES\n"
         "{0d0d0d0d-0000-4000-8000-00000000000d}  no       no              70      7         3  C, A\n"},
        {"assignments show 0d0d0d0d-0000-4000-8000-00000000000e", ""},
        {"assignments set nobody", ""},
        {"produce mcp --class HF", "PRODUCTION                              NAME   SERVER  TUNER     "
                                   "PROCESSOR\n<guid>  MCP 1  S1      KW 1 Süd  <guid>\n"},
        {"produce ffp", "PRODUCTION                              NAME   SERVER  TUNER  PROCESSOR\n<guid>  "
                        "FFP 1  S1             <guid>\n"},
        {"assignments set \"FFP 1\" --profiles A", "S1 has assigned 1 profile to the FFP <guid>\n"},
        {"conversions start a/b/c --type wav", "a/b/c: converting\n"},
        {"conversions start a/b/c", ""},
        {"conversions start a/b/d", "a/b/d: converting\n"},
        {"conversions finish a/b/c --result \"no disk\" --failed", "a/b/c: failed\n"},
        {"conversions finish a/b/c", ""},
        {"conversions finish a/b/d --result d.wav", "a/b/d: finished\n"},
        {"conversions list", "RECORD  STATE     CREATED  PRODUCTION  TYPE  RESULT\n"
                             "a/b/c   failed    <time>  kolta       wav   no disk\n"
                             "a/b/d   finished  <time>  kolta             d.wav\n"},
        {"conversions tidy --older-than 2001-02-03", "0 results erased, 2 left\n"},
        {"conversions tidy --json", "{\"erased\":1,\"left\":1}\n"},
        {"conversions start a/b/c", "a/b/c: converting\n"}};
    QByteArray lines;
    QString expected;
    for (const auto& [line, output] : life) {
        lines += line + '\n';
        expected += QString::fromUtf8(output);
    }
    KoltaRun kolta({QStringLiteral("shell"), QStringLiteral("--keep-going"), QStringLiteral("--installation"),
                    QStringLiteral(KOLTA_INSTALLATION_DIR)},
                   lines);
    QString output = kolta.output().replace(m_folder.path(), QStringLiteral("@"));
    output.replace(QRegularExpression(QStringLiteral("20\\d\\d-\\d\\d-\\d\\dT[0-9:]*Z")),
                   QStringLiteral("<time>"));
    output.replace(QRegularExpression(QStringLiteral("CREATED +")), QStringLiteral("CREATED  "));
    output.replace(QRegularExpression(QStringLiteral("\\{(?!0d0d)[-0-9a-f]{36}\\}")),
                   QStringLiteral("<guid>"));
    QCOMPARE(output.split(QLatin1Char('\n')), expected.split(QLatin1Char('\n')));
    QString errors = kolta.errors().replace(m_folder.path(), QStringLiteral("@"));
    errors.remove(QRegularExpression(QStringLiteral("kolta: line [^\n]*\n")));
    QCOMPARE(errors,
             QStringLiteral("kolta: @/bad.xml, line 3: <HopRate>: expected a number, found \"fast\"\n"
                            "kolta: @/none/out.xml: No such file or directory\n"
                            "kolta: S1 refuses: There is no profile \"B\"\n"
                            "kolta: nothing is assigned to the FFP {0d0d0d0d-0000-4000-8000-00000000000e}\n"
                            "kolta: no FFP \"nobody\" runs\n"
                            "kolta: a/b/c is being converted already\n"
                            "kolta: a/b/c is not being converted\n"));
}

void TestShortTimeCommands::comparesFiles()
{
    KoltaRun text(wordsOf(QStringLiteral("profiles diff %/one.xml %/two.xml")));
    QCOMPARE(text.output(), QString::fromUtf8("  A: Frequency: 1 to 2 Hz → 1 to 3 Hz\n- B\n+ C\n"));
    QCOMPARE(text.exitCode(), 1);
    KoltaRun json(wordsOf(QStringLiteral("profiles diff --json %/one.xml %/two.xml")));
    QCOMPARE(json.output(),
             QStringLiteral("{\"first\":\"1 to 2 Hz\",\"member\":\"Frequency\",\"profile\":\"A\","
                            "\"second\":\"1 to 3 Hz\"}\n"
                            "{\"onlyIn\":1,\"profile\":\"B\"}\n{\"onlyIn\":2,\"profile\":\"C\"}\n"));
}

void TestShortTimeCommands::refuses_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("error"); ///< how it begins, behind the folder
    const auto row = [](const char* arguments, int exitCode, const char* error) {
        QTest::newRow(arguments) << exitCode << QString::fromUtf8(error);
    };
    row("profiles", 2, "ACTION is missing. Try \"kolta profiles --help\".");
    row("profiles sort", 2, "\"sort\" is no action: expected one of import, list, show, export, diff.");
    row("profiles diff a", 2, "diff: FILE is missing.");
    row("profiles list a", 2, "list: unexpected argument \"a\".");
    row("profiles list --timeout 0", 2, "--timeout wants");
    row("profiles import %/one.xml --type x", 2,
        "--type wants one of unspecified, burst, hopper, ignore, not \"x\".");
    row("profiles show VHF", 1, "there is no profile \"VHF\"");
    row("profiles import %/none.xml", 1, "%/none.xml: No such file or directory\n");
    row("profiles import %/bad.xml", 1, "%/bad.xml, line 3: <HopRate>: expected a number, found \"fast\"\n");
    row("profiles import %/twice.xml", 1,
        "%/twice.xml: <Profile>: expected a name of its own, found \"A\" twice\n");
    row("profiles import %/more.xml", 0, "%/more.xml, line 3: ");
    row("profiles list --installation /none", 1, "/none: no such folder");
    row("profiles list --server S2", 1, "there is no server \"S2\"");
    row("assignments set x --coverage 101", 2, "--coverage wants a whole number from 0 to 100");
    row("assignments set x --resource 65536", 2, "--resource wants a whole number from 0 to 65535");
    row("conversions start a/b", 2, "\"a/b\" is no record, expected SUBSYSTEM/DEVICE/RECORD.");
    row("conversions tidy --older-than soon", 2, "--older-than wants a time");
    row("conversions tidy --keep -1", 2, "--keep wants");
}

void TestShortTimeCommands::refuses()
{
    QFETCH(int, exitCode);
    QFETCH(QString, error);
    KoltaRun kolta(wordsOf(QLatin1String(QTest::currentDataTag())));
    QCOMPARE(kolta.exitCode(), exitCode);
    const QString errors = kolta.errors().replace(m_folder.path(), QStringLiteral("%"));
    QVERIFY2(errors.startsWith(QStringLiteral("kolta: ") + error), qPrintable(errors));
}

QTEST_GUILESS_MAIN(TestShortTimeCommands)
#include "tst_shorttimecommands.moc"
