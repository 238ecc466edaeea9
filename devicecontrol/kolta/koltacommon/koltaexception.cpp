#include <koltacommon/koltaexception.h>

namespace Kolta {

KoltaException::KoltaException(const QString& text) : m_text(text), m_what(text.toUtf8()) {}

} // namespace Kolta
