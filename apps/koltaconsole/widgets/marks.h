#pragma once

#include "theme.h"

#include <QRectF>
#include <QString>

class QPainter;

namespace KoltaConsole {

/// The painted marks; each has a shape of its own, so that nothing depends on colour.
enum class Mark {
    Disc,     ///< up, running well
    Square,   ///< in use
    Box,      ///< free, ended
    Hatched,  ///< planned here
    Half,     ///< starting
    Triangle, ///< attention
    Octagon,  ///< alarm
    Cross     ///< out of reach, gone
};

/// A state as it is shown: a mark and a word.
struct Look
{
    Mark mark = Mark::Disc;
    Role role = Role::InUse; ///< of the mark
    QString word;
    bool isLoud = false; ///< the word has the mark's colour and is bold
};

constexpr int kMarkSize = 11; ///< of a mark before a word
constexpr int kMarkRoom = 18; ///< from the left of that mark to the word

/// Paints the mark into the square.
void paintMark(QPainter& painter, const QRectF& square, Mark mark, const QColor& color);

/// How many tuners are how.
struct TunerCounts
{
    int free = 0;
    int inUse = 0;
    int planned = 0;
    int out = 0;

    int all() const { return free + inUse + planned + out; }
};
/// A bar of them: in use solid, planned hatched, free light, out of reach dotted.
void paintTunerBar(QPainter& painter, const QRectF& bar, const TunerCounts& counts, bool isStale);

/// How the weight of an event, a Kolta::Event::Weight, looks.
Look eventLook(int weight);
/// How a tuner's state, a TunerBookingManager::eTunerState, looks.
Look tunerLook(int state);

} // namespace KoltaConsole
