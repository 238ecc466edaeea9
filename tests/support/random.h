#pragma once

#include <QRandomGenerator>
#include <QtDebug>

/// A seed of its own for each run, which is printed; the environment variable KOLTA_TEST_SEED repeats a run.
inline quint32 testSeed()
{
    bool isGiven = false;
    const quint32 given = qEnvironmentVariable("KOLTA_TEST_SEED").toUInt(&isGiven);
    const quint32 seed = isGiven ? given : QRandomGenerator::global()->generate();
    qInfo("KOLTA_TEST_SEED=%u", seed);
    return seed;
}
