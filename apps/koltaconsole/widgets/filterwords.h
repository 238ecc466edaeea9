#pragma once

#include <QString>
#include <QVector>

namespace KoltaConsole {

/// What somebody typed into a filter line, taken apart once: words that all must fit. "!word" must not fit;
/// "98.5 MHz" wants a range that reaches it, "118-137 MHz" one that overlaps it, ">20 MHz" and "<1 MHz" a
/// bandwidth; "=word" is all that a column says. Anything else, and what stands in double quotes, is looked
/// for in all columns as hasWord() does. Within double quotes two of them stand for one.
class FilterWords
{
public:
    /// What frequencies are compared with, in Hz.
    struct Band
    {
        double from = 0.0;
        double to = 0.0;
        double bandwidth = 0.0;
    };

    FilterWords() = default;
    explicit FilterWords(const QString& text);

    /// What somebody would type who wants rows with a column that says just that.
    static QString exactly(const QString& text);

    bool isEmpty() const { return m_words.isEmpty(); }
    /// Whether there is a word about frequencies, for those who would have to fetch a band first.
    bool wantsBand() const;
    /// `search`: the row's texts in lower case, each a line.
    bool matches(const QString& search, const Band& band) const;

private:
    enum class Kind { Text, Whole, Reaches, Wider, Narrower };
    struct Word
    {
        Kind kind = Kind::Text;
        bool isNegated = false;
        QString text;
        double from = 0.0;
        double to = 0.0;

        bool fits(const QString& search, const Band& band) const;
    };
    static Word wordOf(QString text);
    void addPlain(const QString& text);

    QVector<Word> m_words;
};

} // namespace KoltaConsole
