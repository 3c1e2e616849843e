#include "recorder/screens.h"

#include <QGuiApplication>
#include <QScreen>

namespace recorder {

nlohmann::ordered_json describeScreens()
{
    nlohmann::ordered_json screens = nlohmann::ordered_json::array();
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return screens;
    for (const QScreen *const screen : QGuiApplication::screens()) {
        const QRect area = screen->geometry();
        screens.push_back({{"x", area.x()},
                           {"y", area.y()},
                           {"width", area.width()},
                           {"height", area.height()},
                           {"scale", screen->devicePixelRatio()},
                           {"primary", screen == QGuiApplication::primaryScreen()}});
    }
    return screens;
}

} // namespace recorder
