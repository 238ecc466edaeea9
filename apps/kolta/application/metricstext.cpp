#include "metricstext.h"

namespace KoltaCli {

namespace {

/// Quotes are escaped in the values of labels only.
QByteArray escaped(const QByteArray& text, bool inQuotes)
{
    QByteArray result = text;
    result.replace('\\', "\\\\").replace('\n', "\\n");
    return inQuotes ? result.replace('"', "\\\"") : result;
}

} // namespace

void MetricsText::family(const char* name, eType type, const char* help)
{
    m_name = name;
    const QByteArray start = QByteArray(name) + ' ';
    m_text += "# HELP " + start + escaped(help, false) + '\n';
    m_text += "# TYPE " + start + (type == eCounter ? "counter" : "gauge") + '\n';
}

void MetricsText::sample(double value, const Labels& labels)
{
    m_text += m_name;
    char before = '{';
    for (const auto& [label, text] : labels) {
        m_text += before;
        m_text += QByteArray(label) + "=\"" + escaped(text.toUtf8(), true) + '"';
        before = ',';
    }
    if (!labels.isEmpty())
        m_text += '}';
    m_text += ' ' + QByteArray::number(value, 'g', 15) + '\n';
}

} // namespace KoltaCli
