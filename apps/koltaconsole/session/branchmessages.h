#pragma once

#include "linkmessage.h"

namespace distribution {
class TreeLink;
}

namespace KoltaConsole {

/// What passes between this program and the owner of a branch. `link` outlives what reads.
MessageTap messagesOf(distribution::TreeLink& link, const QString& branch);

} // namespace KoltaConsole
