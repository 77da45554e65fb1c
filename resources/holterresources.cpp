#include "resources/holterresources.h"

#include <QtGlobal>

// Q_INIT_RESOURCE must be used outside any namespace.
static void registerHolterQrc()
{
    Q_INIT_RESOURCE(holter);
}

void initHolterResources()
{
    static const bool registered = (registerHolterQrc(), true);
    Q_UNUSED(registered);
}
