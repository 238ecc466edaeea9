#pragma once

#include <QStringList>

#include <functional>

class QWidget;

namespace KoltaConsole {

/// Asks in a window over that of `parent`, with the names of those whom it hits; Cancel is what Enter does.
/// `then` is called when the answer is yes.
void askBefore(QWidget& parent, const QString& question, const QStringList& names, const QString& yes,
               const std::function<void()>& then);

} // namespace KoltaConsole
