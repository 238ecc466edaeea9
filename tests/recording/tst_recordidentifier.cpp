#include <recording/recordidentifier.h>
#include <support/test.h>

#include <unordered_set>

using sorel::RecordIdentifier;

class TestRecordIdentifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// All identifiers of these parts have texts and keys of their own and come back from them.
    void textsAndKeysAreUnambiguous()
    {
        const QString parts[] = {QString(), "a"_s, "A"_s, "/"_s, "%"_s, "%2F"_s, "a/%25\u00e4 "_s};
        QSet<QString> texts;
        QSet<RecordIdentifier> hashed;
        std::unordered_set<RecordIdentifier> keys;
        for (const QString& subSystem : parts) {
            for (const QString& device : parts) {
                for (const QString& record : parts) {
                    const RecordIdentifier identifier(subSystem, device, record);
                    const QString text = identifier.toString();
                    texts.insert(text);
                    hashed.insert(identifier);
                    keys.insert(identifier);
                    QVERIFY2(RecordIdentifier::fromString(text) == identifier, qPrintable(text));
                    QCOMPARE(identifier.valid(),
                             !subSystem.isEmpty() && !device.isEmpty() && !record.isEmpty());
                }
            }
        }
        QCOMPARE(texts.size(), 7 * 7 * 7);
        QCOMPARE(hashed.size(), 7 * 7 * 7);
        QCOMPARE(keys.size(), std::size_t(7 * 7 * 7));
        QCOMPARE(RecordIdentifier().toString(), QString());
        QCOMPARE(RecordIdentifier(parts[1], parts[3], parts[4]).toString(), "a/%2F/%25"_s);
    }

    void otherTextsAreInvalid()
    {
        for (const char* text :
             {"", "a", "a/b", "a/b/c/d", "a/b/%", "a/%2/c", "%2f/b/c", "a/b/%41", "a/b/c%"})
            QVERIFY2(RecordIdentifier::fromString(QString::fromLatin1(text)) == RecordIdentifier(), text);
    }
};

KOLTA_TEST(TestRecordIdentifier);
#include "tst_recordidentifier.moc"
