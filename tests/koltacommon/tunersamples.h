#pragma once

#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>
#include <support/text.h>

#include <QRandomGenerator>
#include <QStringList>

/// Small installations for tests. A tuner is identified by its address, which is the name it is made with.
namespace TunerSamples {

inline RESOURCEMANAGEMENT::Tuner tuner(const QString& name, bool accessible = true, bool idle = true)
{
    RESOURCEMANAGEMENT::Tuner result;
    result.EditTavikResource().SetDisplayName(name);
    result.EditTavikResource().SetAddress(name);
    result.EditTavikResource().SetGUID("guid of %1"_s.arg(name));
    result.SetAccessible(accessible);
    result.SetIdle(idle);
    return result;
}

inline RESOURCEMANAGEMENT::TunerClass tunerClass(const QString& name, const QStringList& members,
                                                 int cost = 0, const QString& superclass = QString())
{
    RESOURCEMANAGEMENT::TunerClass result;
    result.SetGUID(name);
    result.SetName(name);
    result.SetCostPenalty(cost);
    result.SetRDC("rdc of %1"_s.arg(name));
    if (!superclass.isEmpty())
        result.SetSuperclassGUID(superclass);
    result.SetTunerID(members.toVector());
    return result;
}

inline RESOURCEMANAGEMENT::TunerClassOverview
classOverview(const QVector<RESOURCEMANAGEMENT::TunerClass>& classes)
{
    RESOURCEMANAGEMENT::TunerClassOverview overview;
    overview.SetTunerClass(classes);
    return overview;
}

/// Names that every language orders in its own way.
const QStringList displayNames{QStringLiteral("zeta"), QStringLiteral("\u00c4rla"), QStringLiteral("alfa"),
                               QStringLiteral("\u00d6land"), QStringLiteral("Beta")};

/// Classes K0, K1, ... nested at random, with costs of -1 to 2, and tuners with GUIDs that now and then occur
/// twice and properties out of a few values, so that every criterion gets to decide.
struct Installation
{
    Installation(QRandomGenerator& random, int tunerCount, int classCount)
    {
        QVector<QStringList> members(classCount);
        for (int i = 0; i < tunerCount; ++i) {
            RESOURCEMANAGEMENT::Tuner one =
                tuner("T%1"_s.arg(i), random.bounded(6) > 0, random.bounded(6) > 0);
            one.EditTavikResource().SetDisplayName(displayNames.at(random.bounded(displayNames.size())));
            if (random.bounded(4) == 0)
                one.EditTavikResource().SetGUID("guid %1"_s.arg(random.bounded(3)));
            if (random.bounded(4))
                one.SetMaxSWBandwidth(0.4 * random.bounded(-2, 8));
            if (random.bounded(3) == 0)
                one.SetMaxHWBandwidth(0.4 * random.bounded(8));
            if (random.bounded(2))
                one.SetSupportsHardwareProcessing(random.bounded(2));
            if (random.bounded(2))
                one.SetSupportsPScan(random.bounded(2));
            tuners.append(one);
            members[random.bounded(classCount)].append(one.GetTavikResource().GetAddress());
        }
        for (int i = 0; i < classCount; ++i) {
            const QString above = "K%1"_s.arg(random.bounded(classCount)); // circles included
            names.append("K%1"_s.arg(i));
            classes.append(tunerClass(names.last(), members.at(i), random.bounded(-1, 3),
                                      random.bounded(3) ? above : QString()));
        }
    }

    QVector<RESOURCEMANAGEMENT::Tuner> tuners;
    QVector<RESOURCEMANAGEMENT::TunerClass> classes;
    QStringList names;
};

} // namespace TunerSamples
