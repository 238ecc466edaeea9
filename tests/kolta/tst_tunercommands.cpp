#include "program.h"
#include <support/installation.h>

namespace {

/// Per line of output the values of the wanted keys, joined by commas; what is missing is empty.
QStringList valuesOf(const QString& output, const QStringList& keys)
{
    QStringList lines;
    for (const QJsonObject& object : jsonLines(output)) {
        QStringList values;
        for (const QString& key : keys) {
            const QVariant value = object.value(key).toVariant();
            values.append(value.canConvert<QString>() ? value.toString()
                                                      : value.toStringList().join(QLatin1Char('+')));
        }
        lines.append(values.join(QLatin1Char(',')));
    }
    return lines;
}

} // namespace

/// The commands on tuner classes, as their user meets them.
class TestTunerCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void tellsProgramsAndPeople_data();
    void tellsProgramsAndPeople();
    void drawsTables();

private:
    QTemporaryDir m_odd; ///< an installation whose classes make little sense
};

void TestTunerCommands::initTestCase()
{
    // A and B enclose each other, Busy has but a tuner in use, Empty has none.
    const char* const classes =
        "<TunerClassOverview><TunerIdDefinition><Choice>3</Choice></TunerIdDefinition>"
        "<TunerClass><GUID>1</GUID><Name>A</Name><CostPenalty>-4</CostPenalty>"
        "<SuperclassGUID>2</SuperclassGUID><TunerID>EB 2</TunerID></TunerClass>"
        "<TunerClass><GUID>2</GUID><Name>B</Name><SuperclassGUID>1</SuperclassGUID>"
        "<DefaultChild>nobody</DefaultChild><TunerID>EB 1</TunerID></TunerClass>"
        "<TunerClass><GUID>3</GUID><Name>Busy</Name><TunerID>KW 2</TunerID></TunerClass>"
        "<TunerClass><GUID>4</GUID><Name>Empty</Name></TunerClass></TunerClassOverview>";
    QVERIFY(copyInstallation(words(KOLTA_INSTALLATION_DIR "-noclasses"), m_odd.path(), "tunerclasses.xml",
                             classes));
}

void TestTunerCommands::tellsProgramsAndPeople_data()
{
    QTest::addColumn<QString>("arguments"); ///< separated by bars; S and O stand for installations
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QStringList>("lines"); ///< of the keys' values
    QTest::addColumn<QString>("error");     ///< part of it
    const auto row = [](const char* arguments, int exitCode, const char* keys,
                        std::initializer_list<const char*> lines, const char* error = "") {
        QStringList texts;
        for (const char* line : lines)
            texts.append(words(line));
        QTest::newRow(arguments) << words(arguments) << exitCode << words(keys) << texts << words(error);
    };
    const char* const classKeys = "name parent depth cost pathCost free tuners defaultChild generated";
    row("classes", 0, classKeys,
        {"HF,,1,0,0,5,7,KW 2 West,false", "VHF/UHF,,1,10,10,15,19,Basic,false",
         "Basic,VHF/UHF,2,10,20,6,8,ZELM 2 Süd,false", "Basic hardware,Basic,3,20,40,2,4,ZELM 8 Turm,false",
         "Wide,VHF/UHF,2,30,40,5,6,EB 1 Nord,false",
         "Direction finding,VHF/UHF,2,100,110,4,5,DX 4 Süd,false"});
    row("classes|S", 0, classKeys,
        {"KW,,1,1,1,1,2,KW 1,true", "EB,,1,1,1,2,2,EB 1,true", "ZELM_5M,,1,1,1,4,4,ZELM 1,true",
         "ZELM_10M,ZELM_5M,2,1,2,3,3,ZELM 2,true", "ZELM_HW20M,ZELM_10M,3,1,3,2,2,ZELM 3,true",
         "ZELM_HW80M,ZELM_HW20M,4,1,4,1,1,ZELM 4,true"});
    row("classes|O", 0, "name parent pathCost free tuners generated",
        {"B,,0,2,2,false", "A,B,-4,1,1,false", "Busy,,0,0,1,false", "Empty,,0,0,0,false"});

    const char* const choiceKeys = "rank tuner cost depth ahead refusal";
    row("select|HF", 0, "tuner cost guid", {"KW 1 Süd,0,{06e82a01-2b5c-4cd1-a7ca-430e92ac3d42}"});
    row("select|HF|--explain", 0, choiceKeys,
        {"1,KW 1 Süd,0,2,name sorts first,", "2,KW 2 West,0,2,name sorts first,",
         "3,KW 4 Nord,0,2,name sorts first,", "4,KW 5 Süd,0,2,name sorts first,", "5,KW 7 Turm,0,2,,",
         ",KW 3 Turm,0,2,,not idle", ",KW 6 West,0,2,,not accessible"});
    row("select|Busy|O|--explain", 1, choiceKeys, {",KW 2,0,2,,not idle"}, "Busy qualifies: 1 not idle\n");
    row("select|Empty|O", 1, "", {}, "no tuner of class Empty qualifies: the class is empty\n");
    row("select|HF|--storage|{0}", 1, "", {}, "qualifies: 1 not accessible, 1 not idle, 5 no matching");
    row("select|Wide|--storage|C963CFE0-afae-4a3b-b909-6a04e7d80068", 0, "tuner", {"EB 1 Nord"});
    row("select|hf", 1, "", {}, "there is no tuner class \"hf\"; known: HF, VHF/UHF, Basic, Basic hard");
    row("select|root|--installation|/nowhere", 1, "", {}, "/nowhere: no such folder");

    const char* const planKeys = "request class tuner cost booked heldBy conflict planned totalCost";
    row("plan|S|ZELM_HW20M|ZELM_HW20M|ZELM_HW80M", 1, planKeys,
        {"1,ZELM_HW20M,ZELM 3,3,true,,,,", "2,ZELM_HW20M,ZELM 4,4,true,,,,", "3,ZELM_HW80M,,,false,2,,,",
         ",,,,,,,false,7"},
        "request 3 (ZELM_HW80M): ZELM 4, which it would have got, is held by request 2 (ZELM_HW20M)\n");
    row("plan|S|KW|KW|ZELM_HW80M|ZELM_HW80M|--optimal", 1, "request conflict",
        {"1,", "2,1+2", "3,", "4,3+4", ","}, "requests 3 (ZELM_HW80M) and 4 (ZELM_HW80M) cannot be");
    row("plan|B|A|O", 1, "tuner heldBy", {"EB 2,", ",1", ","}, "is held by request 1 (B)\n");
    row("plan|A|Busy|O|--optimal", 1, "served problem",
        {"true,", "false,none of the tuners of Busy can be had", ","}, "request 2 (Busy): none of the");
    row("plan|A|Busy|O|--all", 1, "served booked", {"true,true", "true,false", ","}, " is already in use.\n");
    row("plan", 2, "", {}, "CLASS is missing");
}

void TestTunerCommands::tellsProgramsAndPeople()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, keys);
    QFETCH(QStringList, lines);
    QFETCH(QString, error);
    QStringList list = arguments.split(QLatin1Char('|'));
    list.append(words("--json"));
    list.replaceInStrings(QRegularExpression(words("^S$")),
                          words("--installation=" KOLTA_INSTALLATION_DIR "-noclasses"));
    list.replaceInStrings(QRegularExpression(words("^O$")), words("--installation=") + m_odd.path());
    KoltaRun kolta(list);
    QCOMPARE(valuesOf(kolta.output(), keys.split(QLatin1Char(' '))), lines);
    QVERIFY2(kolta.errors().contains(error), qPrintable(kolta.errors()));
    QCOMPARE(kolta.errors().isEmpty(), error.isEmpty());
    QCOMPARE(kolta.exitCode(), exitCode);
}

void TestTunerCommands::drawsTables()
{
    const QPair<QString, QStringList> rows[] = {
        {words("classes"),
         {words("\n└─ VHF/UHF "), words("\n   │  └─ Basic hardware    20     2       4  ZELM 8 Turm "),
          words("\n   └─ Direction finding ")}},
        {words("classes|--installation|" KOLTA_INSTALLATION_DIR "-noclasses"),
         {words("S2 has no tuner classes; these are made"), words("\n         └─ ZELM_HW80M ")}},
        {words("classes|--installation|") + m_odd.path(), {words("\ntuners without a class: 5\n")}},
        {words("select|VHF/UHF|--explain"),
         {words("\n   9  EB 6 Süd       40      3   80  yes       yes       fewer enclosing classes\n"),
          words("\n      EB 4 Turm      40      3   80  yes       yes       refused: not accessible\n")}}};
    for (const auto& row : rows) {
        KoltaRun kolta(row.first.split(QLatin1Char('|')));
        QCOMPARE(kolta.exitCode(), 0);
        for (const QString& part : row.second)
            QVERIFY2(kolta.output().contains(part), qPrintable(kolta.output()));
    }
}

QTEST_GUILESS_MAIN(TestTunerCommands)
#include "tst_tunercommands.moc"
