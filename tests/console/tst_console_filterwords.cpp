#include <koltaconsole/widgets/filterwords.h>

#include <support/test.h>

using KoltaConsole::FilterWords;

/// What people type into a filter line, against one tuner: "KW 1 Nord", HF, 9 kHz to 30 MHz, 1 MHz wide.
class TestFilterWords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matches_data()
    {
        const Rows<QString, bool> row("words expected");
        row("nothing", "  ", true);
        row("all words, any case", "nord HF", true);
        row("one word is missing", "nord wide", false);
        row("not", "!wide", true);
        row("not, but it is", "nord !hf", false);
        row("reaches", "7.1 MHz", true);
        row("reaches with a comma", "7,1MHz", true);
        row("does not reach", "98.5 MHz", false);
        row("overlaps", "28-88 MHz", true);
        row("overlaps, with blanks", "28 MHz - 88 MHz", true);
        row("overlaps, with blanks and a comma", "20 - 88,5 MHz", true);
        row("apart, with blanks and a comma", "30,5 - 88 MHz", false);
        row("apart", "118-137 MHz", false);
        row("overlaps, in other forms", "28..88 MHz 20 to 40 MHz 20 bis 40MHz", true);
        row("apart, in another form", "30.5 to 88 MHz", false);
        row("wider", ">500 kHz", true);
        row("at least and at most", ">=1 MHz <= 1 MHz", true);
        row("wider than itself", ">1 MHz", false);
        row("too narrow", "> 20 MHz", false);
        row("narrower", "<2MHz", true);
        row("words and frequencies", "free 7.1 MHz !S3", true);
        row("a number without a unit is a text", "1", true);
        row("so is a range without one", "1-2", false);
        row("not that frequency", "!98.5MHz", true);
        row("a quoted word", "\"1 nord\" hf", true);
        row("a quoted word that is not there", "\"nord 1\"", false);
        row("not quoted, quote still open", "!\"1 nord", false);
        row("begun", "!", true);
        row("begun sign", ">", true);
        row("begun cell", "!=", true);
        row("begun cell in quotes", "=\"", true);
        row("a part of a number", "S10", false);
        row("beginning of a word", "nor fre", true);
        row("within a word", "ord", false);
        row("not quoted, beginning of a word", "!\"1 nor\"", false);
        row("a number within", "1", true);
        row("a whole cell", "=\"KW 1 Nord\" =s1", true);
        row("not a whole cell", "=nord", false);
        row("any other cell", "!=s10 !=nord !=\"kw 1\"", true);
        row("exactly", FilterWords::exactly("KW 1 Nord"_s), true);
    }
    /// Of many that are numbered, and of names within others.
    void wholeWords()
    {
        const QString search = "rx \"5  mhz\"\nvhf/uhf\ns10\nam,fm"_s;
        for (const char* const words :
             {"s", "s10", "uhf", "fm", "!s1", "!hf", "!=s1", "=s10", "10", "!0", "\"\"\"5  M"})
            QVERIFY2(FilterWords(QLatin1String(words)).matches(search, {}), words);
        QVERIFY(FilterWords(FilterWords::exactly("RX \"5  MHz\""_s)).matches(search, {}));
        QVERIFY(FilterWords(FilterWords::exactly(QString())).isEmpty());
    }
    void matches()
    {
        QFETCH(QString, words);
        QFETCH(bool, expected);
        const FilterWords::Band band{9e3, 30e6, 1e6};
        QCOMPARE(FilterWords(words).matches(QStringLiteral("kw 1 nord\nfree\nhf\ns1"), band), expected);
    }
};

KOLTA_TEST(TestFilterWords);
#include "tst_console_filterwords.moc"
