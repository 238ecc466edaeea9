#pragma once

#include <koltacommon/linkkeeper.h>
#include <xmlmessaging/xmlmessage.h>

#include <QObject>
#include <QString>

namespace KoltaCli {

class Session;

/// Prints what a server says of its own accord, from its construction on. How its link is it tells on
/// standard error.
class Listener : public QObject
{
    Q_OBJECT

public:
    /// `count` broadcasts are enough; 0 stands for never enough.
    Listener(Session& session, bool json, int count);

    /// Runs until there is a reason to end; returns an eExitCode.
    int run();

private:
    void printBroadcast(const XmlCommon::ptrCXmlMessage& message);
    void printFault(const QString& text) const;
    void tellState(Kolta::LinkKeeper::State state) const;
    bool hasEnough() const;

    Session& m_session;
    bool m_json;
    int m_count;
    int m_broadcasts = 0;
    bool m_interrupted = false;
};

} // namespace KoltaCli
