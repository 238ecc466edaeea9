#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QUuid>

#include <optional>

namespace Kolta {

/// A server's answer to a request for a production or a move, as it stands in the value "/ReplyResource".
///
/// Its text form is "production@accepted@text": the GUID in braces, "1" or "0", and the reply's text as it
/// is; an "@" may stand in the text, because only the first two separate fields.
class KOLTA_COMMON_EXPORT ProductionRequestReply
{
public:
    ProductionRequestReply(const QUuid& production, bool accepted, const QString& text);

    /// GUID of the production, or of the request when it asked for a move.
    const QUuid& production() const noexcept { return m_production; }
    bool isAccepted() const noexcept { return m_accepted; }
    /// What the server has to say to it, a reason for instance; may be empty and may have several lines.
    const QString& text() const noexcept { return m_text; }

    QString toString() const;
    /// Reads the text form; the GUID may be without braces and in any letter case. Nothing when a field is
    /// missing, the GUID is none or null, or the second field is neither "1" nor "0".
    static std::optional<ProductionRequestReply> fromString(const QString& text);

private:
    QUuid m_production;
    bool m_accepted;
    QString m_text;
};

} // namespace Kolta
