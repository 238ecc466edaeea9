#pragma once

#include <koltaconsole/widgets/theme.h>

#include <QString>
#include <QStringList>

namespace KoltaConsole {

/// What the words of the command line ask for.
struct Options
{
    QString url;           ///< of the tree; empty while servers are simulated
    QString urlSource;     ///< where it is named, "KOLTA_TREE" for one; empty: somebody was asked
    int servers = 0;       ///< that are simulated; 0: none
    int tuners = 0;        ///< of each of them; 0: those of the sample
    int activityMs = 0;    ///< how often something happens to these; 0: never by itself
    QString vanish;        ///< the simulated server that vanishes once the page has filled
    bool isAsking = false; ///< in a window, where nothing says which installation, or one that is none
    bool isReadOnly = false;
    bool isTracing = false;
    Theme::Choice theme = Theme::Choice::System;
    QString page;       ///< name of the page that is shown first
    QString screenshot; ///< file that a picture is written to; empty: none

    bool isRemembered = true; ///< layout, filters and events; not for a picture

    /// Reads the words behind the program's name, among them one of `pages`; `exitCode` is set when the
    /// program is to end now, with `text` as its last words.
    static Options read(const QStringList& arguments, const QStringList& pages, int& exitCode, QString& text);
    /// The one that is asked for, else the one that was chosen before.
    Theme::Choice wantedTheme() const;
    /// For the next time that none is asked for.
    static void rememberTheme(Theme::Choice theme);
};

} // namespace KoltaConsole
