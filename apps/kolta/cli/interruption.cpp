#include "interruption.h"

namespace KoltaCli {

namespace {
bool isSet = false;
}

bool isInterrupted()
{
    return isSet;
}

void setInterrupted(bool interrupted)
{
    isSet = interrupted;
}

} // namespace KoltaCli
