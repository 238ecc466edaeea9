#pragma once

class QModelIndex;
class QString;

namespace KoltaConsole {

class Session;

/// Why that row of the tuners cannot be had for the order that somebody is about to give, or what it would
/// cost; of no order, who has it. A sentence.
QString whyNot(const Session& session, const QModelIndex& tuner);

} // namespace KoltaConsole
