#include <startup/cfgcenter.h>
#include <startup/translation.h>
#include <support/files.h>
#include <support/test.h>

using namespace Startup;

namespace {
const QString group = "Group"_s;
} // namespace

class TestCfgCenter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        ErrorHandler::Instance().setLoggingEnabled(false);
    }

    void namesAndValuesSurviveTheFile_data()
    {
        const Rows<QString, QString, QString> row("inGroup key value");
        row("plain", group, "FaultReferenceFile"_s, "/data/Vesk.sfr"_s);
        row("unicode", "Größe"_s, "Schlüssel ☂"_s, "Wert äöü 測"_s);
        row("separators", "a/b\\c"_s, "x/y\\z"_s, "C:\\data\\x, y; \"z\"=#\n"_s);
        row("percent", "%2F"_s, "%General%5C"_s, "@Invalid()"_s);
        row("general", "General"_s, "key"_s, " spaces "_s);
    }

    void namesAndValuesSurviveTheFile()
    {
        QFETCH(QString, inGroup);
        QFETCH(QString, key);
        QFETCH(QString, value);
        QVERIFY(m_center.Open(path("new/folder/kolta.ini"_s)));
        QVERIFY(m_center.SetValue(inGroup, key, value));
        QVERIFY(m_center.SetValue(inGroup, "zz"_s, 5));
        QVERIFY(QFile::copy(m_center.FileName(), path("copy.ini"_s))); // nothing may come out of a cache
        QVERIFY(m_center.Open(path("copy.ini"_s)));
        QCOMPARE(m_center.Text(inGroup, key), value);
        QCOMPARE(m_center.Keys(inGroup), QStringList({key, "zz"_s}));
        m_center.Remove(inGroup, key);
        QCOMPARE(m_center.Text(inGroup, key, "default"_s), "default"_s);
        QCOMPARE(m_center.Value(inGroup, "zz"_s).toInt(), 5);
    }

    void handWrittenFile()
    {
        QVERIFY(m_center.Open(write("hand.ini"_s, "top=1\n; a comment\n[General]\nName=Köln\n"
                                                  "[Group]\nList=a, b\nQuoted=\"a, b,c\"\nEmpty=\n")));
        QCOMPARE(m_center.Keys("General"_s), QStringList({"Name"_s, "top"_s}));
        QCOMPARE(m_center.Text(QString(), "Name"_s), "Köln"_s);
        QCOMPARE(m_center.Text(group, "List"_s), "a, b"_s);
        QCOMPARE(m_center.Text(group, "Quoted"_s), "a, b,c"_s);
        QCOMPARE(m_center.Text(group, "Empty"_s, "default"_s), QString());
        QCOMPARE(m_center.Text("group"_s, "List"_s, "exact case"_s), "exact case"_s);
    }

    void badFiles_data()
    {
        const Rows<QByteArray> row("content");
        row("a folder", QByteArray());
        row("no key", QByteArray("[Group]\njust words\n"));
        row("open section", QByteArray("[Group\nkey=1\n"));
        row("binary", QByteArray("\x7f"
                                 "ELF\0\1\2\xff\xfe\n\n\x80\n",
                                 14));
    }

    void badFiles()
    {
        QFETCH(QByteArray, content);
        QVERIFY(m_center.Open(path("good.ini"_s)) && m_center.SetValue(group, "key"_s, "good"_s));
        const QString file = content.isEmpty() ? m_directory->path() : write("bad.ini"_s, content);
        TraceRecorder traced;
        QVERIFY(!m_center.Open(file));
        QCOMPARE(traced.count(file), 1);
        QVERIFY(m_center.Keys(group).isEmpty());

        QVERIFY(!m_center.SetValue(group, "key"_s, "mine"_s));
        QCOMPARE(traced.count(file), 2);
        QCOMPARE(m_center.Text(group, "key"_s), "mine"_s);
        QCOMPARE(m_center.Keys(group), QStringList("key"_s));
        QCOMPARE(readFile(file), content); // of a folder nothing
    }

    void unwritableFileHealsLater()
    {
        const QString obstacle = write("obstacle"_s, "a file where a folder should be");
        const QString file = obstacle + "/kolta.ini"_s;
        QVERIFY(m_center.Open(file));
        TraceRecorder traced;
        QVERIFY(!m_center.SetValue(group, "key"_s, "mine"_s));
        QCOMPARE(traced.count(file), 1);
        QCOMPARE(m_center.Text(group, "key"_s), "mine"_s);
        QVERIFY(!m_center.SetValue(group, QString(), "no key"_s));

        QVERIFY(QFile::remove(obstacle));
        QVERIFY(m_center.SetValue(group, "other"_s, "written"_s));
        QVERIFY(QFile::exists(file));
        QCOMPARE(m_center.Keys(group), QStringList({"key"_s, "other"_s}));
    }

    void badTranslations()
    {
        TraceRecorder traced;
        write("kolta.qm"_s, "a more general file must not be taken instead");
        QVERIFY(!InstallTranslation("de"_s, m_directory->path()));
        QCOMPARE(traced.count(path("kolta_de.qm"_s)), 1);
        write("kolta_de.qm"_s, "not a translation");
        QVERIFY(!InstallTranslation("de"_s, m_directory->path()));
        QCOMPARE(traced.count(path("kolta_de.qm"_s)), 2);
        QVERIFY(InstallTranslation(QString(), m_directory->path()));
    }

private:
    QString path(const QString& name) const { return m_directory->filePath(name); }
    QString write(const QString& name, const QByteArray& text) const
    {
        return writeFile(path(name), text) ? path(name) : QString();
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    CfgCenter& m_center = CfgCenter::Instance();
};

KOLTA_TEST(TestCfgCenter);
#include "tst_cfgcenter.moc"
