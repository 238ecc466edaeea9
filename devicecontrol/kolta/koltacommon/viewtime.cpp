#include <koltacommon/viewtime.h>

#include <utility>

namespace Kolta::ViewTime {

namespace {

Source& current()
{
    static Source source;
    return source;
}

} // namespace

void setSource(Source source)
{
    current() = std::move(source);
}

QDateTime now()
{
    return current() ? current()() : QDateTime::currentDateTime();
}

} // namespace Kolta::ViewTime
