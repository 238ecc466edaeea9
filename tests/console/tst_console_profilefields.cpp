#include "shorttimestage.h"

#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/profileimportview.h>
#include <koltaconsole/pages/shorttime/profilesview.h>

#include <koltacommon/q9rprofiles.h>

#include <QTemporaryDir>

using Kolta::ShortTimeProfile;
using namespace KoltaConsole;

/// What is typed into the fields of a short-time profile, or comes from a file, and what stays as it was.
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

    /// What a file would change is told before it does, and what cannot be read is left out.
    void import()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        const auto first = stage.profiles().data().begin()->second;
        ShortTimeProfile changed = first, fresh;
        changed.useShift = true;
        changed.shiftMax = changed.shiftMin + 4711;
        fresh.name = QStringLiteral("fresh");
        auto file = ShortTimeProfile::toQ9RProfile({changed, fresh, fresh, fresh});
        file.profiles[2].name = QStringLiteral("odd");
        file.profiles[2].bandwidthRange = {QStringLiteral("16 kHz"), 1};
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("p.xml"));
        QCOMPARE(VESK_Q9R::writeProfileFile(path, file), QString());
        const ProfileImport import = ProfileImport::read(path, stage.profiles());
        QCOMPARE(import.wanted.size(), 2);
        QCOMPARE(import.refused, 2);
        QCOMPARE(import.wanted.first().type, first.type);
        const auto before = stage.profiles().Size();
        QVERIFY(!stage.run("short-import-confirm"));
        stage.page->profiles().import().preview(path);
        QCOMPARE(stage.profiles().Size(), before);
        QVERIFY(stage.run("short-import-cancel") && !stage.run("short-import-confirm"));
        ActionTable& actions = stage.window->actions();
        QVERIFY(actions.run(*actions.requestOf(QStringLiteral("kolta profiles import ") + path)));
        file.profiles[0].shiftRange = {QStringLiteral("1,4712"), 1};
        QCOMPARE(VESK_Q9R::writeProfileFile(path, file), QString());
        QVERIFY(stage.run("short-import-confirm")); // which shows what it is now
        QCOMPARE(stage.profiles().Size(), before);
        QVERIFY(stage.run("short-import-confirm"));
        QCOMPARE(stage.profiles().Size(), before + 1);
        QCOMPARE(stage.profiles().At(first.name).shiftMax, 4712u);
        QVERIFY(!stage.profiles().Contains(QStringLiteral("odd")));
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
