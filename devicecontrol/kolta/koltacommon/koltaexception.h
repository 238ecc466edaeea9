#pragma once

#include <koltacommon/export.h>

#include <QByteArray>
#include <QString>

#include <exception>

namespace Kolta {

/// What the library throws where a failure cannot be told by a result.
class KOLTA_COMMON_EXPORT KoltaException : public std::exception
{
public:
    explicit KoltaException(const QString& text);

    const QString& text() const noexcept { return m_text; }
    /// text() in UTF-8.
    const char* what() const noexcept override { return m_what.constData(); }

private:
    QString m_text;
    QByteArray m_what;
};

} // namespace Kolta
