#include "consoletest.h"

#include <koltaconsole/pages/shorttime/profileeditor.h>

using Kolta::ShortTimeProfile;
using namespace KoltaConsole;

/// What somebody types into the fields of a short-time profile, and what stays when nobody does.
class TestProfileFields : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fields_data()
    {
        const Rows<int, QString, QString, bool> row("field typed shown isGood");
        row("units", int(ProfileField::Frequency), "30-88 MHz", "30 – 88 MHz", true);
        row("comma", int(ProfileField::Bandwidth), "12,5-25 kHz", "12.5 – 25 kHz", true);
        row("reversed", int(ProfileField::Bandwidth), "25-16 kHz", "", false);
        row("parts of a hertz", int(ProfileField::Bandwidth), "0.4-25 Hz", "", false);
        row("parts of a baud", int(ProfileField::SymbolRate), "2.300-2.500Bd", "", false);
        row("one end", int(ProfileField::Frequency), ">20 MHz", "", false);
        row("beyond 32 bits", int(ProfileField::Shift), "1-5 GHz", "", false);
        row("raw duration", int(ProfileField::Duration), "7000-9500", "7000 – 9500", true);
        row("duration beyond 32 bits", int(ProfileField::Duration), "1-5000000000", "", false);
        row("hops", int(ProfileField::HopRate), "2 k/s", "2 k/s", true);
        row("no name", int(ProfileField::Name), " ", "", false);
    }
    void fields()
    {
        QFETCH(int, field);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(bool, isGood);
        ShortTimeProfile profile;
        const QString problem = takeField(profile, static_cast<ProfileField>(field), typed);
        QCOMPARE(problem.isEmpty(), isGood);
        QCOMPARE(fieldText(profile, static_cast<ProfileField>(field)), shown);
        QVERIFY(!isGood || takeField(profile, static_cast<ProfileField>(field), QString()).isEmpty() ==
                               (field != int(ProfileField::Name)));
    }

    /// What a server has and cannot be chosen or written here is no change, and goes along with those that
    /// are made.
    void foreign()
    {
        ShortTimeProfile profile;
        profile.name = QStringLiteral("Foreign "); // which nobody can type
        profile.useHopRate = true;
        profile.hopRate = 1.0 / 3;
        profile.useSymbolRate = true; // profiles without are equal to none
        profile.symbolRateMax = 2400;
        profile.useModulation = true;
        profile.modulation = 0;
        profile.type = static_cast<Kolta::eShortTimeProfileType>(77);
        profile.durationMin = 7; // not in use
        ProfileEditor editor(nullptr);
        editor.edit(profile);
        QVERIFY(!editor.isChanged());
        editor.line(ProfileField::Bandwidth)->setText(QStringLiteral("16-25 kHz"));
        QVERIFY(editor.isChanged());
        ShortTimeProfile wanted = profile;
        wanted.useBandwidth = true;
        wanted.bandwidthMin = 16000;
        wanted.bandwidthMax = 25000;
        QVERIFY(editor.draft() == wanted);
        ProfileEditor again(nullptr);
        again.resume(editor.written());
        QVERIFY(again.draft().useModulation && again.draft().type == profile.type);
        const auto lists = editor.findChildren<QComboBox*>();
        const auto chooseOther = [](QComboBox* list) { list->setCurrentIndex(1); };
        std::for_each(lists.begin(), lists.end(), chooseOther);
        QVERIFY(editor.draft().modulation != 0 && editor.draft().type != profile.type);
        editor.edit(ShortTimeProfile());
        for (const QComboBox* const list : lists)
            QVERIFY(list->findText(QStringLiteral("77")) < 0 &&
                    list->findText(QStringLiteral("Unknown")) < 0);
    }
};

KOLTA_CONSOLE_TEST(TestProfileFields);
#include "tst_console_profilefields.moc"
