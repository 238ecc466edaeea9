#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

namespace KoltaApps {

/// How the text of an option is read.
enum class Value {
    None,    ///< the option stands alone
    Text,    ///< anything
    Whole,   ///< a whole number within its bounds; the largest int is none
    Seconds, ///< any number within its bounds
    Hertz,   ///< a frequency or a bandwidth above 0
    Choice,  ///< one of some words, in any letter case
};

/// Says what is wrong with a text, or nothing.
using Check = QString (*)(const QString& text);

/// An option of a program or of one of its commands: parsing, help, completion and manual pages come from
/// here. The texts are in UTF-8.
struct Option
{
    const char* name; ///< without dashes; a single letter stands behind one dash
    const char* help; ///< in which "{preset}", "{least}", "{most}" and "{choices}" stand for what follows
    Value value = Value::None;
    const char* valueName = ""; ///< what stands for the value in help
    QString preset = {};        ///< what holds where the option is not given
    double minimum = 0;
    double maximum = 0;
    QStringList choices = {}; ///< in a Value::Text proposals only
    Check check = nullptr;    ///< of a text
    char letter = 0;          ///< that says the same behind one dash; 0: none
    bool isHidden = false;    ///< meant for programs; help does not list it

    /// As it is typed.
    QString typed() const;
    /// All that can be typed: "-h", "--help".
    QStringList spellings() const;
    /// What help says of it, its choices included.
    QString fullHelp() const;
};

Option flag(const char* name, const char* help);
Option text(const char* name, const char* valueName, const char* help, const QString& preset = {});
Option whole(const char* name, const char* valueName, const char* help, int minimum, int maximum,
             std::optional<int> preset = {});
Option seconds(const char* name, const char* help, double minimum, double maximum, double preset);
Option hertz(const char* name, const char* help);
Option choice(const char* name, const char* valueName, const char* help, const QStringList& choices,
              const QString& preset = {});
Option checked(Option option, Check check);
/// The words are told and completed; others are as good.
Option proposed(Option option, const QStringList& words);

Option lettered(char letter, Option option);
Option hidden(Option option);

/// All that can be typed of those that are not hidden.
QStringList spellingsOf(const QVector<Option>& options);
/// "a, b, c".
QString listed(const QStringList& words);
/// A help text with the words that are possible, if any; "{choices}" says where, else they follow it.
QString withChoices(QString help, const QStringList& choices);
/// As help and messages show it: "0.1", "2147483647".
QString shownNumber(double number);

} // namespace KoltaApps
