#pragma once

#include <QByteArray>
#include <QPair>
#include <QString>
#include <QVector>

namespace KoltaCli {

/// Figures in the text format (version 0.0.4) that Prometheus reads: families of samples, each told by its
/// labels.
class MetricsText
{
public:
    using Labels = QVector<QPair<const char*, QString>>;
    enum eType { eGauge, eCounter };

    /// Begins a family; its samples follow. A name comes once.
    void family(const char* name, eType type, const char* help);
    void sample(double value, const Labels& labels = {});

    /// Ends with a line feed.
    const QByteArray& text() const noexcept { return m_text; }

    static const char* contentType() noexcept { return "text/plain; version=0.0.4; charset=utf-8"; }

private:
    QByteArray m_text;
    const char* m_name = "";
};

} // namespace KoltaCli
