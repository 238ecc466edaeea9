#include <koltacommon/q9rprofiles.h>

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
        const QStringList notes =
            readProfiles(fileOf(QByteArray("<x/>").repeated(1000)), latin("f"), file).notes;
        QCOMPARE(notes.size(), 21);
        QCOMPARE(notes.last(), latin("980 more"));
    }

    void refusesBadFiles()
    {
        const ShortTimeProfiles before{{fullProfile(latin("kept"))}};
        const auto row = [&before](const char* message, const QByteArray& xml) {
            ShortTimeProfiles file = before;
            const QString error = readProfiles(xml, latin("some.xml"), file).error;
            QVERIFY2(error.startsWith(latin("some.xml") + latin(message)), qPrintable(error));
            QVERIFY(!error.contains(QLatin1Char('\n')) && file == before);
        };
        row(", line 1, column 0: <ShortTimeProfiles>: expected well-formed XML", "");
        row(", line 3, column 5: <Profile>: expected well-formed XML", fileOf("<Profile>\n<Foo")); // cut off
        row(", line 1: <Profiles>: expected the root element <ShortTimeProfiles>", "<Profiles/>");
        row(", line 1: <ShortTimeProfiles>: expected no document type",
            "<!DOCTYPE a [<!ENTITY b 'c'>]>" + fileOf("<Profile name='&b;'/>"));
        row(", line 2: <ShortTimeProfiles>: expected elements, found \"1,2\"", fileOf("<Profile/> 1,2\n"));
        row(", line 4: <Profile>: expected elements, found \"1,2 3\"", inProfile("\n1,2\n3 <ShiftRange/>"));
        row(", line 3: <ShiftRange>: expected text, found <b>", inProfile("<ShiftRange>1<b/></ShiftRange>"));
        row(", line 3: <ShiftRange>: expected at most once",
            inProfile("<ShiftRange/><HopRate/><ShiftRange/>"));
        row(", line 3: <HopRate>: expected a number, found \"1,5\"", inProfile("<HopRate>\n1,5\n</HopRate>"));
        row(", line 3: <ShiftRange>: expected a whole number as status, found \"yes\"",
            inProfile("<ShiftRange status='yes'/>"));
        row(", line 3: <HopRate>: expected a whole number as status, found \"4294967297\"",
            inProfile("<HopRate status='4294967297'/>"));
        row(", line 2: <a>: expected at most 64 levels", fileOf(QByteArray("<a>").repeated(1000000)));
        row(", line 2: <Profile>: expected at most 250000 profiles",
            fileOf(QByteArray("<Profile/>").repeated(250001)));
        row(": expected at most 64 MiB", QByteArray(64 * 1024 * 1024 + 1, ' '));
    }
    void writesWhatItReads()
    {
        ShortTimeProfiles profiles{{fullProfile(latin("a \"<&>'\n\t\r")), Profile(), fullProfile(QString())}};
        profiles.profiles[1].hopRate.value = std::numeric_limits<double>::denorm_min();
        QTemporaryDir folder;
        const QString name = folder.filePath(latin("out.xml"));
        QCOMPARE(writeProfileFile(name, profiles), QString());
        ShortTimeProfiles again;
        QVERIFY(readProfileFile(name, again).isGood() && again == profiles);
        for (const QString& bad : {QString(QChar(0)), QString(QChar(0x1f)), QString(QChar(0xd800)),
                                   QString(QChar(0xffff)), latin("\r")}) {
            Profile culprit = fullProfile(latin("culprit"));
            culprit.shiftRange.value = bad;
            profiles.profiles = {Profile(), culprit};
            QCOMPARE(writeProfileFile(name, profiles),
                     QString(name + latin(": profile 2 (\"culprit\") holds a character or a number "
                                          "that XML cannot carry")));
        }
        Profile unordered;
        unordered.hopRate.value = qQNaN();
        profiles.profiles = {unordered, Profile()};
        QVERIFY(writeProfileFile(name, profiles).contains(latin("profile 1 (\"\")")));
        ShortTimeProfiles kept = profiles;
        QVERIFY(readProfileFile(name, kept).isGood() && kept == again); // the last good file is still there
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
};

QTEST_GUILESS_MAIN(TestQ9RProfiles)
#include "tst_q9rprofiles.moc"
