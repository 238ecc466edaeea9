#pragma once

#include <resourcemodel/hwprocessing.h>

#include <QString>
#include <QStringList>

namespace KoltaSimulation {

/// The list of hardware processing, which clients write as well: every change of the server's own starts from
/// what stands there now.
class HardwareList
{
public:
    /// The text that takes the place of `current`, which clients may have written: entries for the MCPs
    /// `added` come unless they are listed, those of the processors `removed` go. `current` itself when it
    /// says all that. From a text that cannot be read it falls back to the last one that could, with a trace
    /// line.
    QString amend(const QString& current, const QStringList& added, const QStringList& removed);
    void clear();

private:
    void read(const QString& text);

    RESOURCEMANAGEMENT::HWProcessingOverview m_overview;
    QString m_text; ///< that m_overview was read from or written to
};

} // namespace KoltaSimulation
