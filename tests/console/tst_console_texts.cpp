#include <koltaconsole/session/options.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/simulatedinstallation.h>
#include <koltaconsole/texts.h>

#include <koltacommon/installationevents.h>
#include <simulation/simulatedserver.h>
#include <support/test.h>

#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QXmlStreamReader>

namespace {

/// What is to be translated, as "context: text", and of that what is not.
struct Catalogue
{
    QSet<QString> texts;
    QStringList unfinished;
    QStringList withoutPlaces; ///< translations that lack a %1 of the text

    explicit Catalogue(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s is missing", qPrintable(path));
        QXmlStreamReader reader(&file);
        QString context, source;
        while (!reader.atEnd()) {
            if (reader.readNext() != QXmlStreamReader::StartElement)
                continue;
            if (reader.name() == QLatin1String("name"))
                context = reader.readElementText();
            else if (reader.name() == QLatin1String("source"))
                source = reader.readElementText();
            else if (reader.name() == QLatin1String("translation"))
                take(reader, context + QStringLiteral(": ") + source, source);
        }
    }

private:
    void take(QXmlStreamReader& reader, const QString& key, const QString& source)
    {
        texts.insert(key);
        if (reader.attributes().hasAttribute(QLatin1String("type")))
            unfinished.append(key);
        const QString text = reader.readElementText(QXmlStreamReader::IncludeChildElements);
        for (int place = 1; place < 10; ++place) {
            const QString mark = QStringLiteral("%%1").arg(place);
            if (source.contains(mark) && !text.contains(mark))
                withoutPlaces.append(key);
        }
    }
};

} // namespace

class TestTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Everything that the console and the library say is there in German, with all that is filled in.
    void germanIsComplete()
    {
        const QString source = QStringLiteral(KOLTA_SOURCE_DIR);
        const QString path = source + QStringLiteral("/apps/koltaconsole/translations/koltaconsole_de.ts");
        const Catalogue german(path);
        QVERIFY2(german.unfinished.isEmpty(), qPrintable(german.unfinished.join(QLatin1Char('\n'))));
        QVERIFY2(german.withoutPlaces.isEmpty(), qPrintable(german.withoutPlaces.join(QLatin1Char('\n'))));
        QString collector = QStandardPaths::findExecutable(QStringLiteral("lupdate"));
        if (collector.isEmpty())
            collector = QStandardPaths::findExecutable(QStringLiteral("lupdate"),
                                                       {QStringLiteral("/usr/lib/qt5/bin")});
        if (collector.isEmpty())
            QSKIP("lupdate, which finds the texts in the sources, is missing");
        const QTemporaryDir folder;
        const QString fresh = folder.filePath(QStringLiteral("fresh.ts"));
        QCOMPARE(QProcess::execute(collector, {QStringLiteral("-silent"), QStringLiteral("-I"),
                                               source + QStringLiteral("/devicecontrol/kolta"),
                                               QStringLiteral("-I"), source + QStringLiteral("/apps"),
                                               QStringLiteral("-I"), source + QStringLiteral("/platform"),
                                               source + QStringLiteral("/apps/common"),
                                               source + QStringLiteral("/apps/koltaconsole"),
                                               source + QStringLiteral("/devicecontrol/kolta/koltacommon"),
                                               source + QStringLiteral("/platform/distribution"),
                                               QStringLiteral("-ts"), fresh}),
                 0);
        const QStringList missing = (Catalogue(fresh).texts - german.texts).values();
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char('\n'))));
    }

    /// Texts of the library are looked up where they were collected.
    void eventsAreGerman()
    {
        if (!KoltaConsole::installTexts(QStringLiteral("de")))
            QSKIP("built without texts");
        const auto plain = qScopeGuard([] { KoltaConsole::installTexts(QString()); });
        KoltaConsole::Options options;
        options.servers = 1;
        options.isRemembered = false;
        QStringList told;
        QString error;
        const auto session = KoltaConsole::Session::start(options, error);
        QVERIFY2(session, qPrintable(error));
        QTRY_VERIFY(session->simulation()->isSettled());
        connect(&session->events(), &Kolta::InstallationEvents::happened, session.get(),
                [&told](const Kolta::Event& event) { told.append(event.text); });
        auto* const server = session->simulation()->server(QStringLiteral("S1"));
        const auto identity = server->resources().GetTuner().first().GetTavikResource();
        const QString expected = QStringLiteral("Tuner %1 ist unerreichbar").arg(identity.GetDisplayName());
        QVERIFY(server->setTunerAccessible(identity.GetGUID(), false));
        QVERIFY2(told.contains(expected), qPrintable(told.join(QLatin1Char('\n'))));
    }
};

KOLTA_TEST(TestTexts);
#include "tst_console_texts.moc"
