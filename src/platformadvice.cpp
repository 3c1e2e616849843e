#include "platformadvice.h"

#include <QString>

const char *platform_advice(const QString &platform)
{
    return platform.startsWith(QLatin1String("wayland"))
        ? "lanternix: on Wayland contacts are misplaced; start lanternix -platform xcb\n"
        : nullptr;
}
