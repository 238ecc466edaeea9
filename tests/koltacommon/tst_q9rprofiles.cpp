#include <koltacommon/q9rprofiles.h>

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

using namespace VESK_Q9R;

namespace {

const auto latin = [](const char* text) { return QString::fromLatin1(text); };

QByteArray fileOf(const QByteArray& content)
{
    return "<ShortTimeProfiles>\n" + content + "</ShortTimeProfiles>";
}

/// One profile with `content` on line 3.
QByteArray inProfile(const QByteArray& content)
{
    return fileOf("<Profile name='first'/><Profile name='p'>\n" + content + "</Profile>");
}

Profile fullProfile(const QString& name)
{
    Profile profile;
    profile.name = name;
    profile.frequencyRange = {latin("1,2"), 1};
    profile.signalDurationRange = {latin(" 3 , 4,5"), 0};
    profile.bandwidthRange = {QString(), -7};
    profile.symbolrateRange = {QStringLiteral("\n<&>\"' \u00e4\u2028"), std::numeric_limits<qint32>::max()};
    profile.shiftRange = {latin(" "), std::numeric_limits<qint32>::min()};
    profile.hopRate = {0.1, 1};
    profile.modulationType = {QString::fromUcs4(U"\U0001F4E1"), 1};
    return profile;
}

} // namespace

class TestQ9RProfiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sampleIsPlausible()
    {
        ShortTimeProfiles file;
        const ReadReport report =
            readProfileFile(QStringLiteral(KOLTA_INSTALLATION_DIR "/profiles.xml"), file);
        QVERIFY2(report.isGood() && report.notes.isEmpty(), qPrintable(report.error));
        QVERIFY(file.profiles.size() >= 20);
        QSet<QString> names;
        TextElement Profile::*const ranges[] = {&Profile::frequencyRange, &Profile::signalDurationRange,
                                                &Profile::bandwidthRange, &Profile::symbolrateRange,
                                                &Profile::shiftRange};
        QMap<int, int> used;
        for (const Profile& profile : qAsConst(file.profiles)) {
            names.insert(profile.name);
            for (int i = 0; i < 5; ++i) {
                const TextElement& range = profile.*ranges[i];
                const QStringList ends = range.value.split(QLatin1Char(','));
                used[i] += range.status;
                QVERIFY2(range.status == 0 || (ends.size() == 2 && ends[0].toULongLong() > 0 &&
                                               ends[0].toULongLong() <= ends[1].toULongLong()),
                         qPrintable(profile.name));
            }
            used[5] += profile.hopRate.status;
            used[6] += profile.modulationType.status;
        }
        QCOMPARE(names.size(), file.profiles.size());
        QVERIFY(used.size() == 7 && !used.values().contains(0));
    }

    void readsWhatOthersWrite()
    {
        const QByteArray xml =
            "\xEF\xBB\xBF<?xml version=\"1.0\"?><!-- x --><?y z?>\n<q:ShortTimeProfiles xmlns:q='u' "
            "a='1'>\r\n"
            "<q:Profile/><Extra><Profile name='no'/></Extra>\n"
            "<Profile name='a &amp;&#xE4;' more='1'><ModulationType status=' 1 '>F<!-- "
            "-->S<![CDATA[K&]]>2&lt;"
            "</ModulationType><HopRate>\n +1.5e2 </HopRate><FrequencyRange status=\"0\"/><Foo/>"
            "<BandwidthRange>\n1,\r\n2</BandwidthRange></Profile></q:ShortTimeProfiles>\n<!-- end -->";
        ShortTimeProfiles file;
        const ReadReport report = readProfiles(xml, latin("f"), file);
        QCOMPARE(report.error, QString());
        QCOMPARE(
            report.notes,
            (QStringList{latin("line 3: <Extra> inside <ShortTimeProfiles> is not known and was passed over"),
                         latin("line 5: <Foo> inside <Profile> is not known and was passed over")}));
        Profile expected;
        expected.name = QStringLiteral("a &\u00e4");
        expected.modulationType = {latin("FSK&2<"), 1};
        expected.hopRate = {150, 0};
        expected.bandwidthRange = {latin("\n1,\n2"), 0};
        QVERIFY((file == ShortTimeProfiles{{Profile(), expected}}));
    }

    void refusesBadFiles_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* message, const QByteArray& xml) {
            QTest::newRow(message) << xml << QLatin1String("some.xml, ") + latin(message);
        };
        row("line 1, column 0: <ShortTimeProfiles>: expected well-formed XML", "");
        row("line 1, column 1: <ShortTimeProfiles>: expected well-formed XML", "text");
        row("line 3, column 5: <Profile>: expected well-formed XML", fileOf("<Profile>\n<Foo")); // cut off
        row("line 2, column 18: <Profile>: expected well-formed XML: Opening and ending",
            fileOf("<Profile></Profil>"));
        row("line 1: <Profiles>: expected the root element <ShortTimeProfiles>", "<Profiles/>");
        row("line 1: <ShortTimeProfiles>: expected no document type",
            "<!DOCTYPE a [<!ENTITY b 'c'>]>" + fileOf("<Profile name='&b;'/>"));
        row("line 3, column 15: <ShiftRange>: expected well-formed XML: Entity 'b'",
            inProfile("<ShiftRange>&b;</ShiftRange>"));
        row("line 2: <ShortTimeProfiles>: expected elements, found \"1,2\"", fileOf("<Profile/> 1,2\n"));
        row("line 4: <Profile>: expected elements, found \"1,2 3\"", inProfile("\n1,2\n3 <ShiftRange/>"));
        row("line 3: <ShiftRange>: expected text, found <b>", inProfile("<ShiftRange>1<b/></ShiftRange>"));
        row("line 3: <ShiftRange>: expected at most once", inProfile("<ShiftRange/><HopRate/><ShiftRange/>"));
        row("line 3: <HopRate>: expected at most once", inProfile("<HopRate/><HopRate/>"));
        row("line 3: <HopRate>: expected a number, found \"1,5\"", inProfile("<HopRate>\n1,5\n</HopRate>"));
        row("line 3: <HopRate>: expected a number, found \"inf\"", inProfile("<HopRate>inf</HopRate>"));
        row("line 3: <HopRate>: expected a number, found \"1e999\"", inProfile("<HopRate>1e999</HopRate>"));
        row("line 3: <ShiftRange>: expected a whole number as status, found \"yes\"",
            inProfile("<ShiftRange status='yes'/>"));
        row("line 3: <HopRate>: expected a whole number as status, found \"\"",
            inProfile("<HopRate status=''/>"));
        row("line 3: <HopRate>: expected a whole number as status, found \"4294967297\"",
            inProfile("<HopRate status='4294967297'/>"));
        row("line 2: <a>: expected at most 64 levels", fileOf(QByteArray("<a>").repeated(1000000)));
        row("line 2: <Profile>: expected at most 250000 profiles",
            fileOf(QByteArray("<Profile/>").repeated(250001)));
        QTest::newRow("size") << QByteArray(64 * 1024 * 1024 + 1, ' ')
                              << latin("some.xml: expected at most 64 MiB");
    }
    void refusesBadFiles()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, message);
        const ShortTimeProfiles before{{fullProfile(latin("kept"))}};
        ShortTimeProfiles file = before;
        const ReadReport report = readProfiles(xml, latin("some.xml"), file);
        QVERIFY2(report.error.startsWith(message), qPrintable(report.error));
        QVERIFY(!report.error.contains(QLatin1Char('\n')) && file == before);
    }

    void notesAreFew()
    {
        ShortTimeProfiles file;
        const ReadReport report = readProfiles(fileOf(QByteArray("<x/>").repeated(1000)), latin("f"), file);
        QVERIFY(report.isGood());
        QCOMPARE(report.notes.size(), 21);
        QCOMPARE(report.notes.last(), latin("980 more"));
    }

    void writesWhatItReads()
    {
        ShortTimeProfiles profiles{{fullProfile(latin("a \"<&>'\n\t\r")), Profile(), fullProfile(QString())}};
        profiles.profiles[1].hopRate.value = std::numeric_limits<double>::denorm_min();
        QTemporaryDir folder;
        const QString name = folder.filePath(latin("out.xml"));
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(writeProfileFile(name, profiles), QString());
            ShortTimeProfiles again;
            QCOMPARE(readProfileFile(name, again).error, QString());
            QVERIFY(again == profiles);
            profiles = ShortTimeProfiles();
        }

        const ShortTimeProfiles none;
        for (const QString& bad : {QString(QChar(0)), QString(QChar(0x1f)), QString(QChar(0xd800)),
                                   QString(QChar(0xffff)), latin("\r")}) {
            profiles.profiles = {Profile(), fullProfile(latin("culprit"))};
            profiles.profiles[1].shiftRange.value = bad;
            const QString error = writeProfileFile(name, profiles);
            QCOMPARE(error, QString(name + latin(": profile 2 (\"culprit\") holds a character or a number "
                                                 "that XML cannot carry")));
        }
        profiles.profiles[1] = Profile();
        profiles.profiles[0].hopRate.value = qQNaN();
        QVERIFY(writeProfileFile(name, profiles).contains(latin("profile 1 (\"\")")));
        ShortTimeProfiles kept = profiles;
        QVERIFY(readProfileFile(name, kept).isGood() && kept == none); // the last good file is still there
    }

    void filesThatCannotBeUsedAreNamed()
    {
        QTemporaryDir folder;
        ShortTimeProfiles file{{Profile()}};
        const QString missing = folder.filePath(latin("missing.xml"));
        QVERIFY(readProfileFile(missing, file).error.startsWith(missing + latin(": No such file")));
        QCOMPARE(readProfileFile(folder.path(), file).error,
                 folder.path() + latin(": expected a regular file"));
        QCOMPARE(readProfileFile(latin("/dev/zero"), file).error,
                 latin("/dev/zero: expected a regular file"));
        QVERIFY(writeProfileFile(missing + latin("/x"), file).startsWith(missing + latin("/x: ")));
        QCOMPARE(file.profiles.size(), 1);
    }

    void mutatedFilesNeverHurt()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        QString error;
        const QByteArray good = writeProfiles({{fullProfile(latin("a")), fullProfile(latin("b"))}}, error);
        constexpr char spice[] = "<>&;/!?[]-'\"=# \n\r0x9e\x80\xff"; // and the zero at its end
        int accepted = 0;
        for (int round = 0; round < 3000; ++round) {
            QByteArray xml = good;
            for (int i = 1 + random.bounded(3); i > 0; --i) {
                const int at = random.bounded(xml.size());
                if (random.bounded(3) == 0)
                    xml.remove(at, 1 + random.bounded(20));
                else if (random.bounded(2) == 0)
                    xml.insert(at, spice[random.bounded(int(sizeof spice))]);
                else
                    xml.insert(at, xml.mid(random.bounded(xml.size()), random.bounded(40)));
            }
            ShortTimeProfiles read;
            const ReadReport report = readProfiles(xml, latin("f"), read);
            QVERIFY2(report.isGood() || read.profiles.isEmpty(), xml.constData());
            accepted += report.isGood();
        }
        QVERIFY(accepted > 0);
    }
};

QTEST_GUILESS_MAIN(TestQ9RProfiles)
#include "tst_q9rprofiles.moc"
