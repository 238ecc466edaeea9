#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

class QWidget;

namespace KoltaConsole {

class ActionTable;
class Page;
class Session;

/// A page as the tab bar knows it before it is made.
struct PageEntry
{
    const char* id;    ///< for --page
    const char* title; ///< marked with QT_TRANSLATE_NOOP, context "Pages"
    Page* (*make)(Session& session, ActionTable& actions, QWidget* parent);
};

/// All pages in the order of the tabs.
const QVector<PageEntry>& pageTable();
QStringList pageIds();

} // namespace KoltaConsole
