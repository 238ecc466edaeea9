#include <koltacommon/q9rprofiles.h>
#include <support/test.h>

#include <limits>

using namespace VESK_Q9R;

namespace {

Profile fullProfile(const QString& name)
{
    Profile profile;
    profile.name = name;
    profile.frequencyRange = {"1,2"_s, 1};
    profile.signalDurationRange = {" 3 , 4,5"_s, 0};
    profile.bandwidthRange = {QString(), -7};
    profile.symbolrateRange = {"\n<&>\"' \u00e4\u2028"_s, std::numeric_limits<qint32>::max()};
    profile.shiftRange = {" "_s, std::numeric_limits<qint32>::min()};
    profile.hopRate = {0.1, 1};
    profile.modulationType = {QString::fromUcs4(U"\U0001F4E1"), 1};
    return profile;
}

} // namespace

class TestQ9RProfiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesWhatIsTooLarge()
    {
        const ShortTimeProfiles before{{fullProfile("kept"_s)}};
        const std::pair<QByteArray, QString> files[] = {
            {"<ShortTimeProfiles>" + QByteArray("<Profile/>").repeated(250001) + "</ShortTimeProfiles>",
             "f, line 1, column 2500030: <Profile>: expected at most 250000 profiles"_s},
            {QByteArray(64 * 1024 * 1024 + 1, ' '), "f: expected at most 64 MiB"_s}};
        for (const auto& [xml, complaint] : files) {
            ShortTimeProfiles file = before;
            const QString error = readProfiles(xml, "f"_s, file).error;
            QVERIFY2(error.startsWith(complaint), qPrintable(error));
            QVERIFY(file == before);
        }
    }

    void tellsWhatWillNotBeUnderstood()
    {
        const std::pair<const char*, const char*> cases[] = {
            {"<ShiftRange status='1'> +1 ,4294967295</ShiftRange>", ""},
            {"<ShiftRange>\n</ShiftRange><ModulationType status='1'>Unknown</ModulationType>", ""},
            {"<FrequencyRange status='1'>1,18446744073709551615</FrequencyRange>", ""},
            {"<FrequencyRange status='1'>3 MHz,4</FrequencyRange>",
             "1, column 66: <FrequencyRange>: expected a "
             "whole number from 0 to 184467440737"},
            {"<ShiftRange>1,4294967296</ShiftRange>", "1, column 51: <ShiftRange>: expected a whole number"},
            {"\n<ShiftRange status='1'>\n \n  2,1</ShiftRange>",
             "4, column 3: <ShiftRange>: expected the smaller"},
            {"<ShiftRange status='1'/>", "1, column 63: <ShiftRange>: expected two whole numbers"},
            {"<ModulationType>fsk2</ModulationType>", "1, column 55: <ModulationType>: expected one of FSK2, "
                                                      "AM, PSK2A, PSK2B, PSK4A, PSK4B, PSK8A, found "
                                                      "\"fsk2\", which counts as Unknown"}};
        for (const auto& [xml, expected] : cases) {
            ShortTimeProfiles file;
            const ReadReport report = readProfiles("<ShortTimeProfiles><Profile/><Profile>" +
                                                       QByteArray(xml) + "</Profile></ShortTimeProfiles>",
                                                   "f"_s, file);
            const QString doubts = report.doubts.join(QLatin1Char('|'));
            QVERIFY2(report.isGood() && report.doubtful == (*expected ? 1 : 0), xml);
            QCOMPARE(report.doubtfulProfiles, *expected ? QVector<int>{1} : QVector<int>());
            QVERIFY2(*expected ? doubts.startsWith("line "_s + QLatin1String(expected)) : doubts.isEmpty(),
                     qPrintable(doubts));
        }
    }

    void writesWhatItReads()
    {
        ShortTimeProfiles profiles{{fullProfile("a \"<&>'\n\t\r"_s), Profile(), fullProfile(QString())}};
        profiles.profiles[1].hopRate.value = std::numeric_limits<double>::denorm_min();
        QTemporaryDir folder;
        const QString name = folder.filePath("out.xml"_s);
        QCOMPARE(writeProfileFile(name, profiles), QString());
        ShortTimeProfiles again;
        QVERIFY(readProfileFile(name, again).isGood() && again == profiles);
        for (const QString& bad : {QString(QChar(0)), QString(QChar(0x1f)), QString(QChar(0xd800)),
                                   QString(QChar(0xffff)), "\r"_s}) {
            Profile culprit = fullProfile("culprit"_s);
            culprit.shiftRange.value = bad;
            profiles.profiles = {Profile(), culprit};
            QCOMPARE(writeProfileFile(name, profiles),
                     QString(name + ": profile 2 (\"culprit\") holds a character or a number "
                                    "that XML cannot carry"_s));
        }
        Profile unordered;
        unordered.hopRate.value = qQNaN();
        profiles.profiles = {unordered, Profile()};
        QVERIFY(writeProfileFile(name, profiles).contains("profile 1 (\"\")"_s));
        ShortTimeProfiles kept = profiles;
        QVERIFY(readProfileFile(name, kept).isGood() && kept == again); // the last good file is still there
    }

    void filesThatCannotBeUsedAreNamed()
    {
        QTemporaryDir folder;
        ShortTimeProfiles file{{Profile()}};
        const QString missing = folder.filePath("missing.xml"_s);
        QVERIFY(readProfileFile(missing, file).error.startsWith(missing + ": No such file"_s));
        QCOMPARE(readProfileFile(folder.path(), file).error, folder.path() + ": expected a regular file"_s);
        QCOMPARE(readProfileFile("/dev/zero"_s, file).error, "/dev/zero: expected a regular file"_s);
        QVERIFY(writeProfileFile(missing + "/x"_s, file).startsWith(missing + "/x: "_s));
        QCOMPARE(file.profiles.size(), 1);
    }
};

KOLTA_TEST(TestQ9RProfiles);
#include "tst_q9rprofiles.moc"
