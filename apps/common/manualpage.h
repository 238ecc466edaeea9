#pragma once

#include "option.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaApps {

/// A manual page in the making, of section 1. It takes plain texts, in which nothing counts as a command of
/// the text formatter.
class ManualPage
{
public:
    /// `name` as it is called by, "kolta-select" for instance; `summary` is a few words.
    ManualPage(const QString& name, const QString& summary, const QString& version);

    void addSection(const QString& title);
    /// How the program is called: its words, and what follows them.
    void addUsage(const QString& words, const QString& rest);
    void addText(const QString& text);
    /// Something and what there is to say of it; the first word of `term` stands out.
    void addEntry(const QString& term, const QString& text);
    /// An entry for each option that is not hidden.
    void addOptions(const QVector<Option>& options);
    /// The pages of these names, as the last section.
    void addReferences(const QStringList& names);

    /// Writes NAME.1 into that folder, which is made where it is missing. On failure the result is false and
    /// `error` names the file and the reason.
    bool write(const QString& folder, QString& error) const;

private:
    QString m_name;
    QString m_text;
};

} // namespace KoltaApps
