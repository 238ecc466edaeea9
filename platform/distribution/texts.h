#pragma once

#include <QCoreApplication>

namespace distribution {

/// Why something did not come about, for people: in the language of the program's translation, English
/// without one. Traces and what travels are English.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(distribution::Texts)
};

} // namespace distribution
