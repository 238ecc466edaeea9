#include <koltacommon/koltaresourceobserver.h>

#include <resourcemodel/resources.h>
#include <values/tree.h>

#include <cstdio>

/// An overview goes through the other platform's value tree and model into a mirror of the library.
int main()
{
    RESOURCEMANAGEMENT::Tuner tuner;
    tuner.EditTavikResource().SetGUID(QStringLiteral("{00000000-0000-0000-0000-000000000001}"));
    tuner.SetAccessible(true);
    tuner.SetIdle(true);
    RESOURCEMANAGEMENT::ResourceOverview overview;
    overview.EditTuner().append(tuner);
    const QString path = QStringLiteral("/S1/ADMINISTRATION/Resources");
    values::Tree::Instance().Emplace<values::StringValue>(path, overview.GetXmlString());
    const Kolta::KoltaResourceObserver observer(path);
    const auto& tuners = observer.GetCurrentResources().GetTuner();
    const bool one = tuners.size() == 1 && tuners.at(0).GetIdle();
    std::puts(one ? "one tuner, free, on another platform" : "no tuner");
    return one ? 0 : 1;
}
