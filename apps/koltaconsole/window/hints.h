#pragma once

class QBoxLayout;

namespace KoltaConsole {

/// Adds lines for those who see the console for the first time, unless they have been closed once.
void addHints(QBoxLayout& layout);

} // namespace KoltaConsole
